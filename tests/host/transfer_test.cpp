// Writes and one-shot reads, piece by piece.

#include "host/jobs/transfer.h"
#include "host/plain_text.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace velkor_host;

namespace {

const int TRIES = 3;

Items counting(int count) {
    Items items;
    for (int index = 0; index < count; ++index) {
        items.append(static_cast<quint16>(index));
    }
    return items;
}

RequestEnd done() {
    RequestEnd end;
    end.ok = true;
    end.write = true;
    end.tries = 1;
    end.endCode = 0;
    return end;
}

RequestEnd refusedOnce(int endCode) {
    RequestEnd end;
    end.write = true;
    end.tries = 1;
    end.refusals = 1;
    end.refused = true;
    end.endCode = endCode;
    return end;
}

RequestEnd silent() {
    RequestEnd end;
    end.write = true;
    end.tries = 3;
    end.silent = 3;
    return end;
}

RequestEnd switched() {
    RequestEnd end = refusedOnce(0x2203);
    end.modeChange = true;
    end.modeChangeEnd = 0;
    end.refusalBeforeModeChange = 0x2203;
    return end;
}

WriteTransfer writeOf(int count, int wordsPerFrame = 4) {
    return WriteTransfer(9, "DM", 100, counting(count), wordsPerFrame, TRIES);
}

TEST(WriteTransfer, shortOne_isOnePiece) {
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.piece().address, 100);
    EXPECT_EQ(write.piece().items, counting(3));
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Ended);
    EXPECT_EQ(write.outcome().id, 9U);
    EXPECT_EQ(write.outcome().result, WriteResult::Taken);
    EXPECT_EQ(write.outcome().taken, 3);
}

TEST(WriteTransfer, longOneWithAnOddLimit_isCutEvenly) {
    WriteTransfer write = writeOf(6, 5);
    EXPECT_EQ(write.piece().length, 4);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Piece);
    EXPECT_EQ(write.piece().address, 104);
    EXPECT_EQ(write.piece().items, (Items{4, 5}));
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Ended);
    EXPECT_EQ(write.outcome().taken, 6);
}

TEST(WriteTransfer, asLongAsAnOddLimit_isOnePiece) {
    EXPECT_EQ(writeOf(5, 5).piece().length, 5);
}

TEST(WriteTransfer, longestFrame_isNeverExceeded) {
    EXPECT_EQ(WriteTransfer(1, "DM", 0, counting(600), 1000, TRIES).piece().length, 502);
    EXPECT_EQ(WriteTransfer(1, "DM_bit", 0, counting(2000), 5000, TRIES).piece().length, 1006);
    EXPECT_EQ(WriteTransfer(1, "DM_bit", 0, counting(2000), 64, TRIES).piece().length, 64);
}

TEST(WriteTransfer, refusedAtEveryTry_isRefusedWithAllOfThemCounted) {
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(refusedOnce(0x2102)), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(refusedOnce(0x2102)), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(refusedOnce(0x2102)), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Refused);
    EXPECT_EQ(write.outcome().last.tries, 3);
    EXPECT_EQ(write.outcome().last.refusals, 3);
    EXPECT_EQ(write.outcome().last.endCode, 0x2102);
}

TEST(WriteTransfer, refusedThenTaken_isTaken) {
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(refusedOnce(0x2102)), NextStep::Piece);
    EXPECT_EQ(write.piece().address, 100);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Taken);
}

TEST(WriteTransfer, silenceOnceAndRefusedAfterwards_isUnknown) {
    RequestEnd half = refusedOnce(0x2102);
    half.tries = 2;
    half.silent = 1;
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(half), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(refusedOnce(0x2102)), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Unknown);
    EXPECT_EQ(write.outcome().unknown, 3);
}

TEST(WriteTransfer, refusedInTheSecondPiece_keepsWhatIsTaken) {
    WriteTransfer write = writeOf(10);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Piece);
    for (int attempt = 0; attempt < TRIES; ++attempt) {
        write.pieceEnded(refusedOnce(0x1103));
    }
    EXPECT_EQ(write.outcome().result, WriteResult::Refused);
    EXPECT_EQ(write.outcome().taken, 4);
    EXPECT_EQ(write.outcome().unknown, 0);
}

TEST(WriteTransfer, notAnswered_isUnknownForThatPieceAlone) {
    WriteTransfer write = writeOf(10);
    write.pieceEnded(done());
    EXPECT_EQ(write.pieceEnded(silent()), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Unknown);
    EXPECT_EQ(write.outcome().taken, 4);
    EXPECT_EQ(write.outcome().unknown, 4);
}

TEST(WriteTransfer, modeSwitched_isWrittenOnceMoreForEachPiece) {
    WriteTransfer write = writeOf(8);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Piece);
    EXPECT_EQ(write.piece().address, 100);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Piece);
    EXPECT_EQ(write.piece().address, 104);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Ended);
    EXPECT_TRUE(write.outcome().modeSwitched);
    EXPECT_EQ(write.outcome().result, WriteResult::Taken);
}

TEST(WriteTransfer, silentSinceTheModeWasSwitched_isNoRefusalAfterIt) {
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(silent()), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Unknown);
    EXPECT_FALSE(write.outcome().last.refused);
    EXPECT_FALSE(write.outcome().last.refusedAfterModeChange);
    EXPECT_EQ(write.outcome().last.endCode, 0x2203);
}

TEST(WriteTransfer, refusedSinceTheModeWasSwitched_isSaid) {
    WriteTransfer write = writeOf(3);
    write.pieceEnded(switched());
    write.pieceEnded(switched());
    EXPECT_TRUE(write.outcome().last.refusedAfterModeChange);
}

TEST(WriteTransfer, modeSwitchedTwiceForOnePiece_isRefused) {
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Refused);
}

TEST(WriteTransfer, modeChangeRefused_isTriedAgainWithTheWriteAndNotForEver) {
    RequestEnd end = switched();
    end.modeChangeEnd = 0x3001;
    WriteTransfer write = writeOf(3);
    int handedOver = 1;
    while (write.pieceEnded(end) == NextStep::Piece) {
        ASSERT_LT(++handedOver, 10);
    }
    EXPECT_EQ(handedOver, 3); // its tries
    EXPECT_EQ(write.outcome().result, WriteResult::Refused);
    EXPECT_FALSE(write.outcome().modeSwitched);
}

TEST(WriteTransfer, modeChangesThatCouldNotBeSent_areCountedTogether) {
    RequestEnd end = refusedOnce(0x2203);
    end.modeChangeUnsent = 2;
    end.sendError = ENETUNREACH;
    end.answeredBefore = 700;
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(end), NextStep::Piece);
    end.answeredBefore = 5; // by the refusal of the first
    write.pieceEnded(end);
    EXPECT_EQ(write.outcome().last.modeChangeUnsent, 4);
    EXPECT_EQ(write.outcome().last.answeredBefore, 700);
}

TEST(WriteTransfer, modeChangeThatWorksTheSecondTime_isWritten) {
    RequestEnd end = switched();
    end.modeChangeEnd = 0x2201;
    WriteTransfer write = writeOf(3);
    EXPECT_EQ(write.pieceEnded(end), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(switched()), NextStep::Piece);
    EXPECT_EQ(write.pieceEnded(done()), NextStep::Ended);
    EXPECT_EQ(write.outcome().result, WriteResult::Taken);
    EXPECT_TRUE(write.outcome().modeSwitched);
}

TEST(WriteTransfer, cancelledBeforeItWasSent_isNotSent) {
    WriteTransfer write = writeOf(3);
    write.cancel(std::nullopt);
    EXPECT_EQ(write.outcome().result, WriteResult::NotReached);
    EXPECT_EQ(write.outcome().last.tries, 0);
    EXPECT_TRUE(write.outcome().last.closed);
    EXPECT_EQ(plain(requestText(write.outcome().last)), "DM 100 (3 words)");
}

TEST(WriteTransfer, roundTripOfARefusedPiece_isOfItsFirstTry) {
    WriteTransfer write = writeOf(3);
    RequestEnd first = refusedOnce(0x2102);
    first.roundTrip = 11;
    RequestEnd second = done();
    second.roundTrip = 22;
    write.pieceEnded(first);
    write.pieceEnded(second);
    EXPECT_EQ(write.outcome().last.roundTrip, 11);
}

TEST(WriteTransfer, cancelledWithAFrameInFlight_isUnknown) {
    RequestEnd underWay;
    underWay.tries = 1;
    WriteTransfer write = writeOf(10);
    write.pieceEnded(done());
    write.cancel(underWay);
    EXPECT_EQ(write.outcome().result, WriteResult::Unknown);
    EXPECT_EQ(write.outcome().taken, 4);
    EXPECT_EQ(write.outcome().unknown, 4);
    EXPECT_TRUE(write.outcome().last.closed);
}

TEST(WriteTransfer, cancelledBetweenTwoPieces_isNotSentBehindWhatIsTaken) {
    WriteTransfer write = writeOf(10);
    write.pieceEnded(done());
    write.cancel(std::nullopt);
    EXPECT_EQ(write.outcome().result, WriteResult::NotReached);
    EXPECT_EQ(write.outcome().taken, 4);
}

TEST(WriteTransfer, cancelledBetweenTwoAttempts_isRefusedSoFar) {
    WriteTransfer write = writeOf(3);
    write.pieceEnded(switched());
    write.cancel(std::nullopt);
    EXPECT_EQ(write.outcome().result, WriteResult::Refused);
    EXPECT_EQ(write.outcome().last.refusalBeforeModeChange, 0x2203);
}

TEST(WriteTransfer, writtenBits_areBitsOfTheWordsThatHoldThem) {
    const WrittenItems bits = WriteTransfer(1, "CIO_bit", 14, counting(4), 64, TRIES).written();
    EXPECT_EQ(plain({bits.words}), "CIO 0+2");
    EXPECT_EQ(bits.firstBit, 14);
    EXPECT_EQ(bits.bits, 4);
    const WrittenItems words = WriteTransfer(1, "DM", 14, counting(4), 64, TRIES).written();
    EXPECT_EQ(plain({words.words}), "DM 14+4");
    EXPECT_EQ(words.bits, 0);
}

TEST(WriteTransfer, takenBack_isNotReachedAndSaysSo) {
    WriteTransfer write = writeOf(3);
    EXPECT_FALSE(write.begun());
    write.takeBack();
    EXPECT_EQ(write.outcome().result, WriteResult::NotReached);
    EXPECT_TRUE(write.outcome().last.takenBack);
    EXPECT_FALSE(write.outcome().last.closed);
    EXPECT_EQ(write.outcome().last.tries, 0);
}

TEST(WriteTransfer, pieceThatIsToBeTriedAgain_hasBegun) {
    WriteTransfer write = writeOf(3);
    write.pieceEnded(switched());
    EXPECT_TRUE(write.begun());
}

TEST(ReadTransfer, longOne_isReadInPieces) {
    ReadTransfer read(3, "DM", 100, 6, 5);
    EXPECT_EQ(read.piece().length, 4);
    EXPECT_EQ(read.pieceEnded(done(), counting(4)), NextStep::Piece);
    EXPECT_EQ(read.piece().address, 104);
    EXPECT_EQ(read.piece().length, 2);
    EXPECT_EQ(read.pieceEnded(done(), {8, 9}), NextStep::Ended);
    EXPECT_TRUE(read.outcome().ok);
    EXPECT_EQ(read.outcome().items, (Items{0, 1, 2, 3, 8, 9}));
}

TEST(ReadTransfer, bits_areAskedForAsWords) {
    ReadTransfer read(3, "CIO_bit", 3 * 16 + 15, 2, 64);
    EXPECT_EQ(plain(read.piece().reg), "CIO");
    EXPECT_EQ(read.piece().address, 3);
    EXPECT_EQ(read.piece().length, 2);
    EXPECT_EQ(read.pieceEnded(done(), {0x8000, 0x0001}), NextStep::Ended);
    EXPECT_EQ(read.outcome().items, (Items{1, 1}));
}

TEST(ReadTransfer, cancelled_saysThatTheLineWasClosed) {
    ReadTransfer unsent(3, "DM", 100, 6, 4);
    unsent.cancel(std::nullopt);
    EXPECT_FALSE(unsent.outcome().ok);
    EXPECT_TRUE(unsent.outcome().last.closed);
    EXPECT_EQ(plain(requestText(unsent.outcome().last)), "DM 100 (4 words)");
    ReadTransfer behindAPiece(3, "DM", 100, 6, 4);
    behindAPiece.pieceEnded(done(), counting(4));
    behindAPiece.cancel(std::nullopt);
    EXPECT_FALSE(behindAPiece.outcome().last.ok);
    EXPECT_EQ(plain(requestText(behindAPiece.outcome().last)), "DM 104 (2 words)");
}

TEST(ReadTransfer, failedPiece_isNoResult) {
    ReadTransfer read(3, "DM", 100, 6, 4);
    read.pieceEnded(done(), counting(4));
    EXPECT_EQ(read.pieceEnded(silent(), {}), NextStep::Ended);
    EXPECT_FALSE(read.outcome().ok);
    EXPECT_TRUE(read.outcome().items.isEmpty());
    EXPECT_EQ(read.outcome().last.silent, 3);
}

} // namespace

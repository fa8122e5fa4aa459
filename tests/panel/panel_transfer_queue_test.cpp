#include "panel/transfer_queue.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

Settled done() {
    Settled settled;
    settled.ok = true;
    return settled;
}

Settled refused(int endCode = 0x2101) {
    Settled settled;
    settled.write = true;
    settled.refused = true;
    settled.endCode = endCode;
    return settled;
}

Settled unanswered() {
    Settled settled;
    settled.write = true;
    settled.silent = 3;
    settled.perhaps = true;
    return settled;
}

/// The mode was changed for it, and the driver failed it all the same.
Settled modeChanged(bool acknowledged) {
    Settled settled = refused(0x2203);
    settled.modeChange = true;
    settled.acknowledged = acknowledged;
    settled.perhaps = acknowledged;
    return settled;
}

class PanelTransferQueue : public testing::Test {
protected:
    /// The piece goes to the driver and ends.
    TransferQueue::Next end(const Settled& settled) {
        m_queue.handedOver();
        return m_queue.pieceEnded(settled, &m_end);
    }

    int address() const { return m_queue.piece() == nullptr ? -1 : m_queue.piece()->address; }

    TransferQueue m_queue;
    TransferEnd m_end;
};

std::string lengths(const QVector<Piece>& pieces) {
    std::string text;
    for (const Piece& piece : pieces) {
        text += std::to_string(piece.address) + ":" + std::to_string(piece.length) + " ";
    }
    return text;
}

TEST(PanelPieces, longRead_isCutBetweenValuesOfTwoWords) {
    EXPECT_EQ(lengths(readPieces({"DM", 10, 3}, 3)), "10:3 ");
    EXPECT_EQ(lengths(readPieces({"DM", 10, 7}, 3)), "10:2 12:2 14:2 16:1 ");
    EXPECT_EQ(lengths(readPieces({"DM", 10, 2}, 1)), "10:1 11:1 ");
}

TEST(PanelPieces, longWrite_isCutByWhatAFrameCarries) {
    EXPECT_EQ(lengths(writePieces("DM", 0, Items(600, 1), 503)), "0:502 502:98 ");
    EXPECT_EQ(lengths(writePieces("CIO_bit", 5, Items(7, 1), 3)), "5:3 8:3 11:1 ");
    const QVector<Piece> pieces = writePieces("DM", 0, {1, 2, 0x0403}, 2);
    ASSERT_EQ(pieces.size(), 2);
    EXPECT_TRUE(pieces.at(1).write);
    EXPECT_EQ(pieces.at(1).data, QByteArray::fromHex("0304")); // low byte first
}

TEST_F(PanelTransferQueue, piecesThatAreDone_followEachOtherToTheEnd) {
    EXPECT_EQ(m_queue.piece(), nullptr);
    m_queue.add(writePieces("DM", 100, Items(6, 1), 2));
    EXPECT_EQ(address(), 100);
    EXPECT_EQ(end(done()), TransferQueue::Next::Piece);
    EXPECT_EQ(address(), 102);
    EXPECT_FALSE(m_queue.isHandedOver());
    EXPECT_EQ(end(done()), TransferQueue::Next::Piece);
    EXPECT_EQ(end(done()), TransferQueue::Next::Ended);
    EXPECT_TRUE(m_end.ok);
    EXPECT_EQ(m_end.address, 100);
    EXPECT_EQ(m_end.length, 6);
    EXPECT_EQ(m_end.done, 6);
    EXPECT_EQ(m_queue.size(), 0);
}

TEST_F(PanelTransferQueue, pieceThatFails_endsItsTransferAndNoOther) {
    m_queue.add(writePieces("DM", 100, Items(6, 1), 2));
    m_queue.add(readPieces({"HR", 7, 1}, 2));
    end(done());
    EXPECT_EQ(end(refused()), TransferQueue::Next::Ended);
    EXPECT_FALSE(m_end.ok);
    EXPECT_EQ(m_end.done, 2);
    EXPECT_EQ(m_end.perhaps, 0);
    EXPECT_EQ(m_end.last.endCode, 0x2101);
    EXPECT_EQ(address(), 7); // DM 104 is not sent any more
    EXPECT_EQ(end(done()), TransferQueue::Next::Ended);
    EXPECT_TRUE(m_end.ok);
    EXPECT_FALSE(m_end.write);
}

TEST_F(PanelTransferQueue, writeWithoutAnswer_isPerhapsDone) {
    m_queue.add(writePieces("DM", 100, Items(5, 1), 2));
    end(done());
    end(unanswered());
    EXPECT_EQ(m_end.done, 2);
    EXPECT_EQ(m_end.perhaps, 2);
}

TEST_F(PanelTransferQueue, changeOfMode_handsThePieceOverOnceMore) {
    m_queue.add(writePieces("DM", 100, Items(2, 1), 2));
    EXPECT_EQ(end(modeChanged(false)), TransferQueue::Next::Again);
    EXPECT_EQ(address(), 100);
    EXPECT_EQ(end(done()), TransferQueue::Next::Ended);
    EXPECT_TRUE(m_end.ok);
}

TEST_F(PanelTransferQueue, secondChangeOfMode_isAFailure) {
    m_queue.add(writePieces("DM", 100, Items(4, 1), 2));
    end(modeChanged(false));
    EXPECT_EQ(end(modeChanged(false)), TransferQueue::Next::Ended);
    EXPECT_FALSE(m_end.ok);
    EXPECT_EQ(m_end.perhaps, 0);
}

/// The driver fails such a write whatever the PLC has answered to its resends.
TEST_F(PanelTransferQueue, secondChangeOfModeThatThePlcAcknowledged_isWritten) {
    m_queue.add(writePieces("DM", 100, Items(4, 1), 2));
    end(modeChanged(false));
    EXPECT_EQ(end(modeChanged(true)), TransferQueue::Next::Piece);
    EXPECT_EQ(end(refused()), TransferQueue::Next::Ended); // no credit of the piece before
    EXPECT_FALSE(m_end.ok);
    EXPECT_EQ(m_end.done, 2);
    EXPECT_EQ(m_end.perhaps, 0);
}

TEST_F(PanelTransferQueue, acknowledgedAndThenWithoutAnswer_isWritten) {
    m_queue.add(writePieces("DM", 100, Items(2, 1), 2));
    EXPECT_EQ(end(modeChanged(true)), TransferQueue::Next::Again);
    EXPECT_EQ(end(unanswered()), TransferQueue::Next::Ended);
    EXPECT_TRUE(m_end.ok);
}

TEST_F(PanelTransferQueue, nothingToTransfer_isNoTransfer) {
    m_queue.add({});
    EXPECT_EQ(m_queue.size(), 0);
    EXPECT_EQ(m_queue.piece(), nullptr);
}

} // namespace

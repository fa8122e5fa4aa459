#include "panel/output/outcome_text.h"

#include "host/failed_outcomes.h"
#include "panel/text.h"

#include <velkor/host/line.h>

#include <gtest/gtest.h>

using namespace panel;
using namespace failed_outcomes;

namespace {

TEST(InterruptedText, downloadNotCompared_wasDownloaded) {
    EXPECT_EQ(interruptedText(downloadNotCompared()),
              QStringList({"ended by a signal before the download was compared; the PLC has "
                           "acknowledged every block of it"}));
}

TEST(InterruptedText, downloadThatAskedForAMode_saysSo) {
    RecipeOutcome outcome = failedDownload();
    outcome.modeUnknown = true;
    EXPECT_EQ(interruptedText(outcome).last(),
              "the PLC was asked to change to MONITOR mode; whether it has is unknown");
    outcome.modeSwitched = true;
    EXPECT_EQ(interruptedText(outcome).last(), "the PLC was switched to MONITOR mode");
}

/// As a row of CSV, where each field shows.
std::string row(const WriteOutcome& outcome, const QString& name = QString()) {
    return plain(recordLine(OutputFormat::Csv, writeColumns(),
                            writeRecord(outcome, LineSettings(), "left", name)));
}

TEST(WriteRecord, taken_hasEndCodeAndNoReason) {
    WriteOutcome taken = failedWrite(WriteResult::Taken, 6, 0);
    taken.last.ok = true;
    taken.last.endCode = 0;
    EXPECT_EQ(row(taken, "level"), "left,level,DM,100,6,taken,0000 normal,6,0,");
}

TEST(WriteRecord, refusedPiece_countsWhatWasWrittenBefore) {
    WriteOutcome refused = failedWrite(WriteResult::Refused, 2, 0);
    refused.last.refusals = 3;
    refused.last.refused = true;
    refused.last.endCode = 0x2101;
    EXPECT_EQ(row(refused), "left,,DM,100,6,refused,2101 read-only,2,0,the PLC refused: end code "
                            "2101 read-only (3 tries)");
}

TEST(WriteRecord, unansweredPiece_isUnknownWithoutAnEndCode) {
    WriteOutcome unknown = failedWrite(WriteResult::Unknown, 2, 2);
    unknown.last.silent = 3;
    EXPECT_TRUE(QString::fromStdString(row(unknown))
                    .startsWith("left,,DM,100,6,unknown,,2,2,no usable answer from "))
        << row(unknown);
}

TEST(WriteRecord, closedBeforeItWasSent_isNotReached) {
    WriteOutcome closed = failedWrite(WriteResult::NotReached, 0, 0);
    closed.reg = "CIO_bit";
    closed.address = 53;
    closed.last = RequestEnd();
    closed.last.closed = true;
    EXPECT_EQ(row(closed), "left,,CIO_bit,3.5,6,not reached,,0,0,not sent: the line was closed");
}

TEST(ModeChangeNotes, secondChangeForTheSameWords_isNotToldAsAnotherWrite) {
    RequestEnd end;
    end.write = true;
    end.reg = "DM";
    end.address = 100;
    end.length = 2;
    end.modeChange = true;
    end.modeChangeEnd = 0;
    end.refusalBeforeModeChange = 0x2206;
    ModeChangeNotes notes("writing once more", true);
    EXPECT_EQ(plain(notes.of(end)),
              "DM 100 (2 words) was refused (2206 wrong mode: the PLC is in RUN mode); the driver "
              "has asked for MONITOR mode, writing once more");
    EXPECT_EQ(plain(notes.of(end)), "");
    end.address = 102; // the next piece
    EXPECT_NE(plain(notes.of(end)), "");
    ModeChangeNotes whole("starting once more", false);
    EXPECT_NE(plain(whole.of(end)), "");
    end.address = 104; // nothing starts a third time
    EXPECT_EQ(plain(whole.of(end)), "");
    end.modeChangeEnd = -1;
    EXPECT_EQ(plain(notes.of(end)), "");
}

} // namespace

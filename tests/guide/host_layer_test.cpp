// The code of docs/host-layer.md, run on loopback.

#include "host_layer_code.inc"

#include "host/line_fixture.h"

#include <QtCore/QTimer>

namespace {

class HostLayerPage : public LineFixture {
protected:
    void SetUp() override {
        ASSERT_EQ(line.open().toStdString(), "");
        ASSERT_EQ(line.setTags(tankTags()).toStdString(), "");
    }
    bool waitFor(const char* text) const {
        return waitUntil([&] { return said.contains(QString::fromLatin1(text)); });
    }
    Say say() {
        return [this](const QString& text) { said.append(text); };
    }

    Line line{settings()};
    QStringList said;
};

TEST_F(HostLayerPage, tags_areShownInTheirUnits) {
    plc.set(100, 706);
    plc.set(102, 1);
    showTags(line, say());
    EXPECT_TRUE(waitFor("level: 70.6 l"));
    EXPECT_TRUE(waitFor("times: 1 0 0 s"));
    plc.set(100, 1900);
    EXPECT_TRUE(waitFor("level: 190.0 l (high)"));
}

TEST_F(HostLayerPage, whatWasTyped_isWrittenWithinTheLimits) {
    tellOutcomes(line, say());
    writeTyped(line, "level", "70.6", say());
    EXPECT_TRUE(waitFor("level: written: DM 100 (1 word)"));
    EXPECT_EQ(plc.dm(100), 706);
    said.clear();
    writeTyped(line, "level", "190", say());
    writeTyped(line, "level", "70.65", say());
    writeTyped(line, "leve1", "70.6", say());
    ASSERT_EQ(said.size(), 3);
    EXPECT_EQ(said.at(0).toStdString(), "190 lies outside the limits of level, 20 to 180 l");
    EXPECT_TRUE(said.at(1).startsWith("\"70.65\" cannot be written exactly"));
    EXPECT_EQ(said.at(2).toStdString(), "there is no tag leve1");
    EXPECT_EQ(line.pending(), 0);
    EXPECT_EQ(plc.dm(100), 706);
}

TEST_F(HostLayerPage, writeThatWaitsTooLong_isTakenBack) {
    ASSERT_TRUE(waitUntil([&] { return line.allFresh(); }));
    tellOutcomes(line, say());
    plc.answering = false;
    line.write("DM", 100, {300});
    ASSERT_TRUE(waitUntil([&] { return plc.count("0102") > 0; }));
    writeWithin(line, tankTags().first(), {400}, 0);
    EXPECT_TRUE(
        waitFor("level: not written: DM 100 (1 word): not sent: the host has taken it back"));
    EXPECT_EQ(plc.dm(100), 0);
}

TEST_F(HostLayerPage, oneShotRead_isToldWithItsUnit) {
    plc.set(100, 500);
    readNow(line, tankTags().first(), say());
    EXPECT_TRUE(waitFor("level is 50.0 l"));
}

TEST_F(HostLayerPage, recipe_goesFromOneLineToTheOther) {
    LoopbackPlc second;
    LineSettings others = settings();
    others.plc = second.endpoint();
    Line other(others);
    ASSERT_EQ(other.open().toStdString(), "");
    plc.set(100, 706);
    plc.set(103, 5);
    copyRecipe(line, other, say());
    EXPECT_TRUE(waitFor("downloaded: 3 variables, read back and equal"));
    EXPECT_TRUE(said.contains("uploaded: 3 variables"));
    EXPECT_TRUE(said.contains("8 of 8 words written"));
    EXPECT_TRUE(said.contains("8 of 8 words compared"));
    EXPECT_EQ(second.dm(100), 706);
    EXPECT_EQ(second.dm(103), 5);
}

TEST_F(HostLayerPage, programThatWaits_endsWhenAllIsDone) {
    QTimer::singleShot(0, &application, [this] { writeAndQuit(line, tankTags().first(), {300}); });
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(plc.dm(100), 300);
    EXPECT_FALSE(line.isOpen());
}

TEST_F(HostLayerPage, closeAndTell_tellsAWriteThatWasNotAnswered) {
    tellOutcomes(line, say());
    plc.answering = false;
    writeTyped(line, "level", "70.6", say());
    line.closeAndTell();
    ASSERT_EQ(said.size(), 1);
    EXPECT_TRUE(said.first().startsWith("level: ")) << qPrintable(said.first());
    EXPECT_EQ(line.pending(), 0);
}

} // namespace

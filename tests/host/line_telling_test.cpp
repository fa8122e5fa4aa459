// How long an outcome is pending, and what a line tells of its tags beside their values.

#include "host/line_fixture.h"

#include <memory>

using namespace velkor_host;

namespace {

class LineTelling : public LineFixture {
protected:
    void open() { ASSERT_EQ(line->open().toStdString(), ""); }

    std::unique_ptr<Line> line = std::make_unique<Line>(settings());
};

TEST_F(LineTelling, outcomeThatIsBeingTold_isNotPendingAnyMore) {
    open();
    QVector<int> pending;
    line->onWrite = [&](const WriteOutcome&) { pending.append(line->pending()); };
    EXPECT_NE(line->write("DM", 1, {1}), 0U);
    EXPECT_NE(line->write("DM", 2, {2}), 0U);
    line->close();
    ASSERT_TRUE(waitUntil([&] { return line->pending() == 0; }));
    EXPECT_EQ(pending, (QVector<int>{1, 0}));
}

TEST_F(LineTelling, outcomesNobodyListensFor_areNotPendingForEver) {
    open();
    EXPECT_NE(line->read("DM", 1, 1), 0U);
    line->close();
    EXPECT_EQ(line->pending(), 1);
    EXPECT_TRUE(waitUntil([&] { return line->pending() == 0; }));
}

TEST_F(LineTelling, status_ofAnIndexThatIsNone_isNotReadAndSaysWhy) {
    open();
    EXPECT_EQ(line->setTags({wordTag(5)}).toStdString(), "");
    for (int round = 0; round < 2; ++round) {
        for (const int index : {-1, 1, 1000000}) {
            const TagStatus& status = line->status(index);
            EXPECT_EQ(status.state, TagState::NotRead);
            EXPECT_FALSE(status.value().has_value());
            EXPECT_EQ(status.reason.toStdString(),
                      "no such tag: the index is outside the list of tags");
        }
        line->close();
    }
}

TEST_F(LineTelling, onTags_comesWhenOnlyPendingChanges) {
    open();
    EXPECT_EQ(line->setTags({wordTag(5)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    bool pendingTold = false;
    line->onTags = [&](const QVector<int>&) {
        pendingTold = pendingTold || (line->status(0).pending && line->status(0).value());
    };
    plc.answering = false;
    EXPECT_NE(line->write("DM", 5, {0}), 0U);
    EXPECT_TRUE(waitUntil([&] { return pendingTold; }));
}

} // namespace

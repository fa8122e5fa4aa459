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

TEST_F(LineTelling, onPending_comesWithTheOldValueAndOnTagsWithTheNew) {
    open();
    const Tag tag = wordTag(5);
    EXPECT_EQ(line->setTags({tag}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    QVector<bool> pending;
    QVector<Items> values;
    line->onPending = [&](const QVector<int>& changed) {
        EXPECT_EQ(changed, QVector<int>{0});
        pending.append(line->status(0).pending);
    };
    line->onTags = [&](const QVector<int>&) { values.append(line->status(0).lastRead()); };
    plc.answering = false;
    EXPECT_NE(line->write(tag, {7}), 0U);
    ASSERT_TRUE(waitUntil([&] { return !pending.isEmpty(); }));
    EXPECT_EQ(pending, QVector<bool>{true});
    EXPECT_EQ(line->status(0).value(), Items{0});
    EXPECT_TRUE(values.isEmpty()) << "nothing to show has changed";
    plc.answering = true;
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return !line->status(0).pending && !values.isEmpty(); }));
    EXPECT_EQ(values.last(), Items{7});
}

TEST_F(LineTelling, notes_comeBackWithTheOutcomes) {
    open();
    QStringList told;
    line->onWrite = [&](const WriteOutcome& outcome) { told.append(outcome.note); };
    line->onRead = [&](const ReadOutcome& outcome) { told.append(outcome.note); };
    line->onRecipe = [&](const RecipeOutcome& outcome) { told.append(outcome.note); };
    Tag level = wordTag(3);
    level.name = "level";
    const QVector<RecipeVariable> recipe{recipeVariable(level, {1})};
    EXPECT_NE(line->write("DM", 1, {1}, nullptr, "by the operator"), 0U);
    EXPECT_NE(line->write("DM", 2, {1}), 0U);
    EXPECT_NE(line->read("DM", 1, 1, nullptr, "at start"), 0U);
    EXPECT_NE(line->write(level, {5}), 0U);
    EXPECT_NE(line->read(level), 0U);
    EXPECT_NE(line->download(recipe, false, nullptr, "down"), 0U);
    EXPECT_NE(line->upload(recipe, nullptr, "up"), 0U);
    ASSERT_TRUE(waitUntil([&] { return line->pending() == 0 && told.size() == 7; }));
    EXPECT_EQ(told,
              (QStringList{"by the operator", "", "at start", "level", "level", "down", "up"}));
}

TEST_F(LineTelling, notesOfWhatWasClosedOut_comeBackToo) {
    open();
    plc.answering = false;
    QStringList told;
    line->onWrite = [&](const WriteOutcome& outcome) { told.append(outcome.note); };
    EXPECT_NE(line->write("DM", 1, {1}, nullptr, "sent"), 0U);
    EXPECT_NE(line->write("DM", 2, {1}, nullptr, "waiting"), 0U);
    line->closeAndTell();
    EXPECT_EQ(told, (QStringList{"sent", "waiting"}));
}

TEST_F(LineTelling, readOfATag_givesItsItems) {
    open();
    plc.set(3, 33);
    plc.set(4, 44);
    Items items;
    line->onRead = [&](const ReadOutcome& outcome) { items = outcome.items; };
    EXPECT_NE(line->read(wordTag(3, 2)), 0U);
    ASSERT_TRUE(waitUntil([&] { return !items.isEmpty(); }));
    EXPECT_EQ(items, (Items{33, 44}));
    QString fault;
    EXPECT_EQ(line->read(wordTag(3, 1, "XX"), &fault), 0U);
    EXPECT_TRUE(fault.startsWith("\"XX\" is no register")) << qPrintable(fault);
}

TEST_F(LineTelling, writeOfMoreThanTheTagHas_isNotQueued) {
    open();
    Tag level = wordTag(3, 2);
    level.name = "level";
    QString fault;
    EXPECT_EQ(line->write(level, {1, 2, 3}, &fault), 0U);
    EXPECT_EQ(fault.toStdString(), "level has 2 words or bits; more are given: 3");
    EXPECT_EQ(line->pending(), 0);
    EXPECT_NE(line->write(level, {1}, &fault), 0U);
    EXPECT_EQ(fault.toStdString(), "");
}

TEST_F(LineTelling, tagIndex_isOfTheFirstTagOfTheName) {
    open();
    QVector<Tag> tags{wordTag(1), wordTag(2), wordTag(3)};
    tags[1].name = "level";
    tags[2].name = "level";
    EXPECT_EQ(line->tagIndex("level"), -1);
    EXPECT_EQ(line->setTags(tags).toStdString(), "");
    EXPECT_EQ(line->tagIndex("level"), 1);
    EXPECT_EQ(line->tagIndex("Level"), -1);
    line->close();
    EXPECT_EQ(line->tagIndex("level"), 1);
}

TEST_F(LineTelling, allFresh_withoutTags_isTrue) {
    EXPECT_TRUE(line->allFresh());
    open();
    EXPECT_TRUE(line->allFresh());
}

TEST_F(LineTelling, closedLine_showsNoValueAndNoReason) {
    open();
    plc.answering = false;
    EXPECT_EQ(line->setTags({wordTag(5)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return !line->status(0).reason.isEmpty(); }));
    line->close();
    EXPECT_EQ(line->status(0).state, TagState::NotRead);
    EXPECT_EQ(line->status(0).reason.toStdString(), "");
}

// --- closeAndTell() -----------------------------------------------------------------------------

TEST_F(LineTelling, takeBack_ofWhatWaits_isToldAndNeverSent) {
    open();
    plc.answering = false;
    QVector<quint64> told;
    line->onWrite = [&](const WriteOutcome& outcome) {
        told.append(outcome.id);
        const bool takenBack = outcome.last.takenBack;
        EXPECT_EQ(outcome.result, takenBack ? WriteResult::NotReached : WriteResult::Taken);
        EXPECT_EQ(outcome.note.toStdString(), takenBack ? "late" : "");
    };
    line->onRead = [&](const ReadOutcome& outcome) {
        told.append(outcome.id);
        EXPECT_FALSE(outcome.ok);
        EXPECT_TRUE(outcome.last.takenBack);
    };
    const quint64 underWay = line->write("DM", 1, {1});
    ASSERT_TRUE(waitUntil([&] { return plc.count("0102") > 0; }));
    const quint64 write = line->write("DM", 2, {2}, nullptr, "late");
    const quint64 read = line->read("DM", 3, 1);
    const quint64 after = line->write("DM", 4, {4});
    EXPECT_FALSE(line->takeBack(underWay)) << "it may have been executed";
    EXPECT_FALSE(line->takeBack(after + 1));
    EXPECT_TRUE(line->takeBack(read));
    EXPECT_TRUE(line->takeBack(write));
    EXPECT_FALSE(line->takeBack(write)) << "twice";
    EXPECT_TRUE(told.isEmpty()) << "told from inside the call";
    plc.answering = true;
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return line->pending() == 0; }));
    EXPECT_EQ(told, (QVector<quint64>{read, write, underWay, after}));
    EXPECT_EQ(plc.dm(2), 0);
    EXPECT_EQ(plc.dm(4), 4);
    EXPECT_FALSE(line->takeBack(underWay)) << "it has ended";
}

TEST_F(LineTelling, takeBack_ofAWriteToATag_isPendingNoLonger) {
    open();
    const Tag tag = wordTag(5);
    EXPECT_EQ(line->setTags({tag}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    plc.answering = false;
    const int polls = plc.count("0101");
    ASSERT_TRUE(waitUntil([&] { return plc.count("0101") > polls; }));
    const quint64 id = line->write(tag, {7});
    EXPECT_TRUE(line->status(0).pending);
    EXPECT_TRUE(line->takeBack(id)) << "it waits for the poll that is not answered";
    EXPECT_FALSE(line->status(0).pending);
    EXPECT_EQ(line->pending(), 1) << "its outcome";
    ASSERT_TRUE(waitUntil([&] { return line->pending() == 0; }));
    EXPECT_EQ(plc.count("0102"), 0);
}

TEST_F(LineTelling, takeBack_ofARecipeOrOnAClosedLine_doesNothing) {
    open();
    plc.answering = false;
    const quint64 recipe = line->download({{"DM", 10, 1, {1}}});
    EXPECT_FALSE(line->takeBack(recipe));
    const quint64 write = line->write("DM", 1, {1});
    line->close();
    EXPECT_FALSE(line->takeBack(write));
    EXPECT_EQ(line->pending(), 2);
}

TEST_F(LineTelling, closeAndTell_tellsEachOutcomeOnceBeforeItReturns) {
    open();
    plc.answering = false;
    QVector<quint64> told;
    QVector<WriteResult> results;
    line->onWrite = [&](const WriteOutcome& outcome) {
        told.append(outcome.id);
        results.append(outcome.result);
        EXPECT_FALSE(line->isOpen());
        EXPECT_EQ(line->write("DM", 9, {9}), 0U) << "a closed line takes nothing";
    };
    line->onRead = [&](const ReadOutcome& outcome) { told.append(outcome.id); };
    line->onRecipe = [&](const RecipeOutcome& outcome) { told.append(outcome.id); };
    QVector<quint64> asked;
    asked.append(line->write("DM", 1, {1}));
    asked.append(line->read("DM", 1, 1));
    asked.append(line->download({{"DM", 10, 1, {1}}}));
    asked.append(line->write("DM", 2, {2}));
    line->closeAndTell();
    EXPECT_EQ(told, asked);
    EXPECT_EQ(results, (QVector<WriteResult>{WriteResult::Unknown, WriteResult::NotReached}));
    EXPECT_EQ(line->pending(), 0);
    line->closeAndTell();
    QCoreApplication::processEvents();
    EXPECT_EQ(told, asked) << "told twice";
}

TEST_F(LineTelling, closeAndTell_tellsWhatAnEarlierCloseHasLeft) {
    open();
    int told = 0;
    int tags = 0;
    line->onWrite = [&](const WriteOutcome&) { ++told; };
    EXPECT_EQ(line->setTags({wordTag(5)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    line->onTags = [&](const QVector<int>&) {
        EXPECT_EQ(line->status(0).state, TagState::NotRead);
        ++tags;
    };
    EXPECT_NE(line->write("DM", 1, {1}), 0U);
    line->close();
    EXPECT_EQ(told, 0);
    line->closeAndTell();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(tags, 1);
}

TEST_F(LineTelling, closeAndTell_insideANotice_tellsTheRestThere) {
    open();
    QVector<quint64> told;
    line->onWrite = [&](const WriteOutcome& outcome) {
        told.append(outcome.id);
        if (told.size() == 1) {
            line->closeAndTell();
            EXPECT_EQ(told.size(), 3);
        }
    };
    QVector<quint64> asked;
    for (int word = 0; word < 3; ++word) {
        asked.append(line->write("DM", word, {1}));
    }
    ASSERT_TRUE(waitUntil([&] { return told.size() == 3; }));
    EXPECT_EQ(told, asked);
    EXPECT_EQ(line->pending(), 0);
}

TEST_F(LineTelling, closeAndTell_whoseListenerDestroysTheLine_tellsNothingMore) {
    open();
    plc.answering = false;
    int told = 0;
    line->onWrite = [&](const WriteOutcome&) {
        ++told;
        line.reset();
    };
    EXPECT_NE(line->write("DM", 1, {1}), 0U);
    EXPECT_NE(line->write("DM", 2, {1}), 0U);
    line->closeAndTell();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(line, nullptr);
}

} // namespace

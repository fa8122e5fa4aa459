// When a line tells what, and that a host may do anything from inside.

#include "host/line_notice_fixture.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <algorithm>
#include <memory>

using namespace line_notice_fixture;

namespace {

class EachNotice : public LineNotice, public testing::WithParamInterface<Kind> {};

TEST_P(EachNotice, closingTheLine_endsItAndItOpensAgain) {
    open();
    int told = 0;
    on(GetParam(), [&] {
        ++told;
        line->close();
    });
    everything();
    ASSERT_TRUE(waitUntil([&] { return told > 0; }));
    EXPECT_FALSE(line->isOpen());
    on(GetParam(), [] {});
    open();
    EXPECT_TRUE(waitUntil([&] { return line->allFresh(); }));
}

TEST_P(EachNotice, destroyingTheLine_tellsNothingAnyMore) {
    open();
    int told = 0;
    everything();
    on(GetParam(), [&] {
        ++told;
        line.reset();
    });
    ASSERT_TRUE(waitUntil([&] { return told > 0; }));
    // A second line's exchange shows that the events of the first one have been handled.
    line = std::make_unique<Line>(settings());
    open();
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    EXPECT_TRUE(waitUntil([&] { return line->allFresh(); }));
    EXPECT_EQ(told, 1);
}

TEST_P(EachNotice, reopeningTheLine_goesOnWithTheTags) {
    open();
    int told = 0;
    on(GetParam(), [&] {
        if (++told == 1) {
            line->close();
            EXPECT_EQ(line->open().toStdString(), "");
        }
    });
    everything();
    ASSERT_TRUE(waitUntil([&] { return told > 0; }));
    EXPECT_TRUE(waitUntil([&] { return line->allFresh() && line->pending() == 0; }));
}

TEST_P(EachNotice, handingOverMore_isDone) {
    open();
    int told = 0;
    quint64 id = 0;
    QVector<quint64> written;
    on(GetParam(), [&] {
        if (++told == 1) {
            id = line->write("DM", 700, {77});
        }
    });
    if (GetParam() != Kind::Write) {
        line->onWrite = [&](const WriteOutcome& outcome) { written.append(outcome.id); };
    }
    everything();
    ASSERT_TRUE(waitUntil([&] { return told > 0 && line->pending() == 0; }));
    EXPECT_NE(id, 0U);
    EXPECT_EQ(plc.dm(700), 77);
    if (GetParam() != Kind::Write) {
        EXPECT_TRUE(waitUntil([&] { return written.contains(id); }));
    }
}

TEST_P(EachNotice, nestedEventLoop_keepsPolling) {
    open();
    int told = 0;
    int depth = 0;
    int scansInside = 0;
    const auto nest = [&] {
        if (++told > 1) {
            return;
        }
        ++depth;
        EXPECT_TRUE(waitUntil([&] { return scansInside > 2; }));
        --depth;
    };
    on(GetParam(), nest);
    if (GetParam() == Kind::Scan) {
        line->onScan = [&] {
            scansInside += depth;
            nest();
        };
    } else {
        line->onScan = [&] { scansInside += depth; };
    }
    everything();
    ASSERT_TRUE(waitUntil([&] { return told > 0 && depth == 0; }));
    EXPECT_GT(scansInside, 2);
    EXPECT_TRUE(waitUntil([&] { return line->pending() == 0 && line->allFresh(); }));
}

TEST_P(EachNotice, destroyingTheLineInANestedEventLoop_isSafe) {
    open();
    int told = 0;
    on(GetParam(), [&] {
        ++told;
        QEventLoop nested;
        QTimer::singleShot(0, &nested, [&] {
            line.reset();
            nested.quit();
        });
        nested.exec();
    });
    everything();
    ASSERT_TRUE(waitUntil([&] { return told > 0 && !line; }));
    EXPECT_EQ(told, 1);
}

TEST_P(EachNotice, replacingTheListener_fromInside_isSafe) {
    open();
    int first = 0;
    int second = 0;
    const auto big = std::make_shared<QByteArray>(1000, 'x');
    on(GetParam(), [&, big] {
        ++first;
        on(GetParam(), [&] { ++second; });
        EXPECT_EQ(big->size(), 1000); // what this listener holds is still there
    });
    everything();
    ASSERT_TRUE(waitUntil([&] { return first > 0 && line->pending() == 0; }));
    EXPECT_EQ(first, 1);
}

INSTANTIATE_TEST_SUITE_P(Kinds, EachNotice, testing::ValuesIn(KINDS));

TEST_F(LineNotice, everyCall_returnsBeforeAnyNotice) {
    bool inside = false;
    int told = 0;
    for (const Kind kind : KINDS) {
        on(kind, [&] {
            EXPECT_FALSE(inside);
            ++told;
        });
    }
    inside = true;
    open();
    everything();
    const quint64 recipe = line->download({variable(600, {5})});
    line->giveUpRecipe(recipe);
    inside = false;
    ASSERT_TRUE(waitUntil([&] { return line->allFresh() && line->pending() == 0; }));
    inside = true;
    everything();
    line->close();
    EXPECT_EQ(line->open().toStdString(), "");
    line->close();
    inside = false;
    const int before = told;
    ASSERT_TRUE(waitUntil([&] { return told > before; }));
}

TEST_F(LineNotice, close_tellsOnceWhatIsNotSettled) {
    open();
    plc.answering = false;
    QMap<quint64, WriteOutcome> writes;
    QMap<quint64, ReadOutcome> reads;
    QMap<quint64, RecipeOutcome> recipes;
    int told = 0;
    line->onWrite = [&](const WriteOutcome& outcome) {
        writes[outcome.id] = outcome;
        ++told;
    };
    line->onRead = [&](const ReadOutcome& outcome) {
        reads[outcome.id] = outcome;
        ++told;
    };
    line->onRecipe = [&](const RecipeOutcome& outcome) {
        recipes[outcome.id] = outcome;
        ++told;
    };
    const quint64 sent = line->write("DM", 1, {1, 2});
    const quint64 waiting = line->write("DM", 3, {3});
    const quint64 read = line->read("DM", 1, 1);
    const quint64 recipe = line->download({variable(10, {1})});
    EXPECT_EQ(line->pending(), 4);
    ASSERT_TRUE(waitUntil([&] { return plc.count("0102") == 1; }));
    line->close();
    EXPECT_EQ(line->pending(), 4);
    EXPECT_EQ(told, 0);
    ASSERT_TRUE(waitUntil([&] { return line->pending() == 0; }));
    EXPECT_EQ(told, 4);
    EXPECT_EQ(writes[sent].result, WriteResult::Unknown);
    EXPECT_EQ(writes[sent].taken, 0);
    EXPECT_EQ(writes[sent].unknown, 2);
    EXPECT_EQ(writes[waiting].result, WriteResult::NotReached);
    EXPECT_EQ(writes[waiting].last.tries, 0);
    EXPECT_FALSE(reads[read].ok);
    EXPECT_EQ(recipes[recipe].result, RecipeResult::GivenUp);
    ASSERT_EQ(recipes[recipe].blocks.size(), 1);
    EXPECT_EQ(recipes[recipe].blocks.first().state, RecipeBlock::NotMoved);
    plc.answering = true;
    plc.answerLast(); // nobody is there to take it
    open();
    EXPECT_NE(line->read("DM", 1, 1), 0U);
    ASSERT_TRUE(waitUntil([&] { return told > 4; }));
    EXPECT_EQ(told, 5);
}

TEST_F(LineNotice, close_tagsGoBackToNotReadAndThatIsTold) {
    open();
    plc.set(5, 55);
    EXPECT_EQ(line->setTags({wordTag(5), wordTag(6)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    QVector<int> told;
    line->onTags = [&](const QVector<int>& changed) { told = changed; };
    line->close();
    EXPECT_EQ(line->status(0).state, TagState::NotRead);
    EXPECT_FALSE(line->status(0).value().has_value());
    EXPECT_TRUE(line->status(0).lastRead().isEmpty());
    EXPECT_FALSE(line->allFresh());
    EXPECT_EQ(line->tags().size(), 2);
    ASSERT_TRUE(waitUntil([&] { return !told.isEmpty(); }));
    EXPECT_EQ(told, (QVector<int>{0, 1}));
    open();
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    EXPECT_EQ(line->status(0).value(), Items{55});
}

TEST_F(LineNotice, destructor_tellsNothing) {
    open();
    plc.answering = false;
    int told = 0;
    line->onWrite = [&](const WriteOutcome&) { ++told; };
    line->onTags = [&](const QVector<int>&) { ++told; };
    EXPECT_NE(line->write("DM", 1, {1}), 0U);
    line.reset();
    plc.answering = true;
    line = std::make_unique<Line>(settings());
    open();
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    EXPECT_TRUE(waitUntil([&] { return line->allFresh(); }));
    EXPECT_EQ(told, 0);
}

TEST_F(LineNotice, setTags_inANotice_tellsNothingOfTheOldList) {
    open();
    plc.set(1, 11);
    plc.set(2, 22);
    bool replaced = false;
    int scans = 0;
    // The request that ends the scan is told before the scan's end.
    line->onRequest = [&](const RequestEnd&) {
        if (!replaced) {
            replaced = true;
            EXPECT_EQ(line->setTags({wordTag(2)}).toStdString(), "");
        }
    };
    line->onTags = [&](const QVector<int>& changed) {
        if (replaced) {
            EXPECT_EQ(changed, QVector<int>{0});
            EXPECT_EQ(line->status(0).value(), Items{22});
        }
    };
    line->onScan = [&] {
        if (replaced && ++scans == 1) {
            EXPECT_TRUE(line->allFresh()) << "the end of a scan of the old list was told";
        }
    };
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return scans > 0; }));
}

TEST_F(LineNotice, setTags_whileABlockIsInFlight_showsNoValueOfTheOldList) {
    open();
    plc.set(1, 11);
    plc.set(2, 22);
    plc.answering = false;
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return plc.frames().size() == 1; }));
    const quint64 id = line->write("DM", 9, {99});
    EXPECT_EQ(line->setTags({wordTag(2)}).toStdString(), "");
    bool written = false;
    line->onWrite = [&](const WriteOutcome& outcome) {
        written = outcome.id == id && outcome.result == WriteResult::Taken;
    };
    line->onTags = [&](const QVector<int>&) { EXPECT_NE(line->status(0).lastRead(), Items{11}); };
    plc.answering = true;
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return written && line->allFresh(); }));
    EXPECT_EQ(line->status(0).value(), Items{22});
}

TEST_F(LineNotice, onTags_indicesAscendAndComeOnce) {
    open();
    QVector<int> heard;
    line->onTags = [&](const QVector<int>& changed) {
        EXPECT_TRUE(std::is_sorted(changed.begin(), changed.end()));
        EXPECT_EQ(std::adjacent_find(changed.begin(), changed.end()), changed.end());
        heard += changed;
    };
    EXPECT_EQ(line->setTags({wordTag(300), wordTag(5), wordTag(4), wordTag(5)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return heard.size() >= 4; })); // that each of them is known
    heard.clear();
    plc.set(5, 50);
    ASSERT_TRUE(waitUntil([&] { return heard.size() >= 2; }));
    EXPECT_EQ(heard, (QVector<int>{1, 3}));
}

} // namespace

// Operations and faults as they come, by a seed: whatever happens, each thing handed over is told
// once, and what is told is so.

#include "host/simulated_line.h"

#include <cerrno>
#include <map>
#include <random>
#include <set>

using namespace velkor_host;

namespace {

const int STEPS = 1500;
const int WRITE_AREA = 10000; ///< DM from here on is written by single writes
const int RECIPE_AREA = 20000;

class RandomLine {
public:
    /// `unsentPercent`: frames that the system does not take.
    explicit RandomLine(unsigned seed, const LineSettings& settings, int unsentPercent = 0)
        : m_random(seed), m_unsentPercent(unsentPercent), m_line(settings) {
        m_line.fate = [this](const QByteArray& frame, int) { return fate(frame); };
        m_line.onTags = [this](const QVector<int>& changed) { look(changed); };
    }

    void run() {
        newTags();
        for (int step = 0; step < STEPS && !testing::Test::HasFailure(); ++step) {
            operate();
            m_line.run(upTo(15000));
        }
        m_faults = false;
        m_line.machine.refusals.clear();
        ASSERT_TRUE(m_line.settle());
        m_line.run(1000000); // what is late arrives
        expectEachToldOnce();
        for (const WriteOutcome& outcome : m_line.writes) {
            judge(outcome);
        }
        newTags();
        EXPECT_TRUE(m_line.runUntil([this] { return m_line.core->board().allFresh(); }, 10000000));
        expectTheNextRecipeIsWhole();
    }

private:
    int upTo(int most) { return static_cast<int>(m_random() % static_cast<unsigned>(most + 1)); }
    bool chance(int percent) { return upTo(99) < percent; }

    Fate fate(const QByteArray& frame) {
        Fate fate;
        if (!m_faults) {
            return fate;
        }
        fate.sendError = chance(m_unsentPercent) ? ENETUNREACH : 0;
        fate.loseRequest = chance(4);
        fate.loseReply = chance(4);
        fate.requests = chance(4) ? 2 : 1;
        fate.replies = chance(4) ? 2 : 1;
        // Within the 255 exchanges after which a service ID comes again.
        fate.requestDelay = chance(4) ? upTo(120000) : 0;
        fate.replyDelay = chance(4) ? upTo(120000) : 0;
        fate.copyDelay = upTo(60000);
        fate.cutReplyTo = chance(3) ? upTo(20) : -1;
        const int codes[] = {0x1003, 0x2102, 0x1103, 0x0204};
        fate.endCode = chance(5) ? codes[upTo(3)] : 0;
        if (m_line.settings.allowModeChange && isWriteFrame(frame) && chance(2)) {
            m_line.machine.core.setMode(plc::Mode::Run);
        }
        return fate;
    }

    void operate() {
        switch (upTo(9)) {
        case 0:
        case 1:
        case 2:
            write();
            break;
        case 3:
            m_ids.insert(m_line.read("DM", upTo(100), 1 + upTo(30)));
            break;
        case 4:
            if (chance(20)) {
                recipe();
            }
            break;
        case 5:
            if (chance(20)) {
                m_line.core->giveUpRecipe(m_lastRecipe);
                m_line.collect();
            }
            break;
        case 6:
            if (chance(20)) {
                newTags();
            }
            break;
        case 7:
            m_line.machine.refusals.clear();
            if (chance(50)) {
                const int bad = upTo(60);
                m_line.machine.refusals.push_back({0x82, bad, bad + upTo(2), 0x1103});
            }
            break;
        case 8:
            m_line.machine.setDm(upTo(60), upTo(65535));
            break;
        default:
            break;
        }
    }

    /// Every word written carries the number of its write.
    void write() {
        const int count = 1 + upTo(11);
        const quint16 mark = static_cast<quint16>(m_written.size() + 1);
        const quint64 id = m_line.write("DM", WRITE_AREA + upTo(20), Items(count, mark));
        m_ids.insert(id);
        m_written[id] = mark;
    }

    void recipe() {
        const QVector<RecipeVariable> variables{
            variable("DM", RECIPE_AREA, Items(1 + upTo(40), 1)),
            variable("DM", RECIPE_AREA + 41, Items(1 + upTo(10), 2))};
        m_lastRecipe =
            chance(60) ? m_line.download(variables, chance(50)) : m_line.upload(variables);
        m_ids.insert(m_lastRecipe);
    }

    void newTags() {
        QVector<Tag> tags;
        for (int index = 1 + upTo(12); index > 0; --index) {
            tags.append(chance(30) ? tagAt("DM_bit", upTo(900), 1 + upTo(20), ValueType::Bool)
                                   : tagAt("DM", upTo(60), 1 + upTo(20)));
        }
        m_line.setTags(tags);
    }

    /// What is not fresh has no value; what is has one of its length, and not an old one.
    void look(const QVector<int>& changed) {
        for (const int index : changed) {
            const TagStatus& tag = m_line.status(index);
            const int items = m_line.core->board().tags().at(index).itemCount();
            ASSERT_EQ(tag.value().has_value(), tag.state == TagState::Fresh);
            if (tag.state == TagState::Fresh) {
                ASSERT_EQ(tag.value()->size(), items);
                ASSERT_GE(tag.readAt, 0);
                ASSERT_TRUE(tag.reason.isEmpty());
            } else if (tag.state != TagState::NotRead) {
                ASSERT_FALSE(tag.reason.isEmpty());
            }
        }
    }

    void expectEachToldOnce() {
        std::multiset<quint64> told;
        for (const WriteOutcome& outcome : m_line.writes) {
            told.insert(outcome.id);
        }
        for (const ReadOutcome& outcome : m_line.reads) {
            told.insert(outcome.id);
            EXPECT_EQ(outcome.items.size(), outcome.ok ? outcome.count : 0);
        }
        for (const RecipeOutcome& outcome : m_line.recipes) {
            told.insert(outcome.id);
        }
        EXPECT_EQ(told, std::multiset<quint64>(m_ids.begin(), m_ids.end()));
    }

    /// The words that the PLC has executed of a write.
    std::set<int> executedOf(quint16 mark) const {
        std::set<int> words;
        for (const Machine::Write& write : m_line.machine.writes) {
            for (std::size_t item = 0; item < write.values.size(); ++item) {
                if (write.word >= WRITE_AREA && write.word < RECIPE_AREA &&
                    write.values.at(item) == mark) {
                    words.insert(write.word + static_cast<int>(item));
                }
            }
        }
        return words;
    }

    void judge(const WriteOutcome& outcome) {
        const std::set<int> executed = executedOf(m_written.at(outcome.id));
        const int known = outcome.taken + outcome.unknown;
        for (int item = 0; item < outcome.count; ++item) {
            const bool done = executed.count(outcome.address + item) > 0;
            if (item < outcome.taken) {
                EXPECT_TRUE(done) << "write " << outcome.id << " item " << item;
            } else if (item >= known) {
                EXPECT_FALSE(done) << "write " << outcome.id << " item " << item;
            }
        }
        EXPECT_EQ(outcome.result == WriteResult::Taken, outcome.taken == outcome.count);
        EXPECT_EQ(outcome.result == WriteResult::Unknown, outcome.unknown > 0);
        if (m_unsentPercent == 0) {
            EXPECT_NE(outcome.result, WriteResult::NotReached);
        }
    }

    void expectTheNextRecipeIsWhole() {
        m_line.recipes.clear();
        m_line.machine.writes.clear();
        m_line.download({variable("DM", RECIPE_AREA, counting(50, 3000))});
        ASSERT_TRUE(m_line.settle());
        EXPECT_EQ(m_line.recipes.at(0).result, RecipeResult::Done);
        for (int word = 0; word < 50; ++word) {
            EXPECT_EQ(m_line.machine.dm(RECIPE_AREA + word), 3000 + word);
        }
    }

    std::mt19937 m_random;
    int m_unsentPercent;
    SimulatedLine m_line;
    bool m_faults = true;
    std::set<quint64> m_ids;
    std::map<quint64, quint16> m_written;
    quint64 m_lastRecipe = 0;
};

class LineRandom : public testing::TestWithParam<unsigned> {};

TEST_P(LineRandom, operationsAndFaults_whatIsToldIsSo) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = GetParam() % 2 == 0 ? 8 : 31;
    settings.refusedRetryMs = 500;
    settings.allowModeChange = GetParam() % 3 == 0;
    RandomLine line(GetParam(), settings);
    line.run();
}

/// So many frames are not sent that whole requests are not.
TEST_P(LineRandom, framesThatCannotBeSent_whatIsToldIsSo) {
    LineSettings settings = lineSettings();
    settings.allowModeChange = GetParam() % 3 == 0;
    RandomLine line(GetParam(), settings, 40);
    line.run();
}

INSTANTIATE_TEST_SUITE_P(Seeds, LineRandom, testing::Range(1U, 33U));

} // namespace

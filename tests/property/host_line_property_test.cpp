// What holds of a line of the host layer whatever is asked of it, over good lines and bad: what is
// told of a write is so, and what is shown is what the PLC holds, there and not long ago.

#include "host/simulated_line.h"
#include "model/random.h"

#include <algorithm>
#include <map>

using namespace velkor_host;

namespace {

const int STEPS = 500;
const int WORDS = 64; ///< of DM: polled, written, and changed by the PLC itself

/// Word n of DM holds a number whose lowest six bits are n, so that none passes for another's, and
/// whose others are new each time: for a good while at least.
class HostLineStory {
public:
    HostLineStory(unsigned seed, const LineSettings& settings)
        : m_random(seed), m_refusing(seed % 2 == 1), m_line(settings) {
        for (int word = 0; word < WORDS; ++word) {
            change(word);
        }
        m_line.machine.onWrite = [this](const Machine::Write& write) {
            for (std::size_t item = 0; item < write.values.size(); ++item) {
                note(write.word + static_cast<int>(item), write.values[item]);
            }
            // Where its reply is lost, the refusal of the next try is not the whole truth.
            if (m_refusing && m_bad && m_random.percent(15)) {
                m_line.machine.refusals = {{0x82, write.word, write.word, 0x2101, false, true}};
            }
        };
        m_line.fate = [this](const QByteArray&, int) { return fate(); };
        m_line.onTags = [this](const QVector<int>&) { look(); };
        m_line.onRequest = [this](const RequestEnd& end) { noteRequest(end); };
        m_line.onWrite = [this](const WriteOutcome& outcome) { noteUnknown(outcome); };
    }

    void tell() {
        newTags();
        for (int step = 0; step < STEPS && !testing::Test::HasFailure(); ++step) {
            operate();
            m_line.run(m_random.below(30000));
            look();
        }
        m_bad = false;
        m_dead = false;
        m_line.machine.refusals.clear();
        ASSERT_TRUE(m_line.settle());
        m_line.run(1000000); // what is late arrives
        judgeWrites();
        m_line.close();
        EXPECT_EQ(m_line.writes.size(), m_written.size());
    }

    int freshSeen() const { return m_freshSeen; }
    int longFreshSeen() const { return m_longFreshSeen; }
    int perhapsSeen() const { return m_perhapsSeen; }
    int results(WriteResult result) const {
        return static_cast<int>(std::count_if(
            m_line.writes.begin(), m_line.writes.end(),
            [result](const WriteOutcome& outcome) { return outcome.result == result; }));
    }

private:
    struct Held {
        qint64 since;
        int value;
    };

    static int numbered(int number, int word) { return ((number % 1024) << 6) | word; }
    void note(int word, int value) {
        m_history[static_cast<std::size_t>(word)].push_back({m_line.clock.time, value});
    }
    void change(int word) {
        const int value = numbered(512 + m_changes++ % 512, word);
        m_line.machine.setDm(word, value);
        note(word, value);
    }

    /// When a word was asked for that has been read, and when a write to it ended.
    void noteRequest(const RequestEnd& end) {
        const qint64 now = m_line.clock.time;
        for (int word = end.address; end.ok && word < end.address + end.length; ++word) {
            (end.write ? m_taken : m_read)[word] = end.write ? now : now - end.waited;
        }
    }
    void noteUnknown(const WriteOutcome& outcome) {
        for (int item = 0; item < outcome.unknown; ++item) {
            m_unknown[outcome.address + outcome.taken + item] = m_line.clock.time;
        }
    }

    Fate fate() {
        Fate fate;
        fate.loseRequest = m_dead;
        if (m_bad && !m_dead) {
            fate.loseRequest = m_random.percent(5);
            fate.loseReply = m_random.percent(5);
            fate.requests = !m_refusing && m_random.percent(5) ? 2 : 1;
            fate.requestDelay = m_random.percent(5) ? m_random.below(120000) : 0;
            fate.replyDelay = m_random.percent(5) ? m_random.below(120000) : 0;
            fate.copyDelay = m_random.below(60000);
            fate.cutReplyTo = m_random.percent(3) ? m_random.below(20) : -1;
        }
        return fate;
    }

    void operate() {
        const int what = m_random.below(10);
        for (int changes = 6; changes > 0; --changes) {
            change(m_random.below(WORDS));
        }
        if (what < 3) {
            write();
        } else if (what == 5 && m_random.percent(15)) {
            m_dead = !m_dead;
        } else if (what == 6 && m_random.percent(15)) {
            newTags();
        } else if (what == 7 && m_random.percent(30)) {
            m_bad = !m_bad;
        } else if (what == 8 && m_random.percent(30)) {
            refuse();
        }
    }

    void write() {
        const int count = m_random.between(1, m_random.percent(10) ? WORDS : 12);
        const int address = m_random.below(WORDS - count + 1);
        Items items;
        ++m_number; // never so many in a story that one comes again
        for (int item = 0; item < count; ++item) {
            items.append(static_cast<quint16>(numbered(m_number, address + item)));
        }
        m_written[m_line.write("DM", address, items)] = items;
    }

    /// Some words are not to be written, or not to be read, until this is called again.
    void refuse() {
        m_line.machine.refusals.clear();
        if (m_random.percent(60)) {
            const int first = m_random.below(WORDS);
            const bool reads = !m_refusing || m_random.percent(30);
            m_line.machine.refusals.push_back({0x82, first, first + 1, 0x1103, reads, !reads});
        }
    }

    void newTags() {
        QVector<Tag> tags;
        for (int left = m_random.between(1, 8); left > 0; --left) {
            const int longest = m_random.percent(20) ? WORDS : 12;
            const int count = m_random.between(1, longest);
            const int address = m_random.below(WORDS - count + 1);
            tags.append(m_random.percent(25)
                            ? tagAt("DM_bit", 16 * address, 16 * count, ValueType::Bool)
                            : tagAt("DM", address, count));
        }
        m_scanEnds = {m_line.clock.time};
        m_scansBefore = m_line.scans;
        m_line.setTags(tags);
    }

    /// Microseconds: as docs/host-layer.md says, and what lies between two looks at the age.
    qint64 staleAfter() {
        if (m_line.scans != m_scansBefore) {
            m_scansBefore = m_line.scans;
            m_scanEnds.push_back(m_line.clock.time);
        }
        qint64 longest = m_line.clock.time - m_scanEnds.back();
        const std::size_t few = 6;
        const std::size_t first = m_scanEnds.size() > few ? m_scanEnds.size() - few : 0;
        for (std::size_t scan = first + 1; scan < m_scanEnds.size(); ++scan) {
            longest = std::max(longest, m_scanEnds[scan] - m_scanEnds[scan - 1]);
        }
        const qint64 betweenLooks = 300000;
        return std::max({qint64(1000000), qint64(m_line.settings.scanMs) * 5000, 3 * longest}) +
               betweenLooks;
    }

    bool heldLately(int word, int value, int mask, qint64 since) const {
        const std::vector<Held>& history = m_history[static_cast<std::size_t>(word)];
        for (std::size_t at = 0; at < history.size(); ++at) {
            const bool until = at + 1 == history.size() || history[at + 1].since >= since;
            if (until && (history[at].value & mask) == value) {
                return true;
            }
        }
        return false;
    }

    void look() {
        const qint64 since = m_line.clock.time - staleAfter();
        const QVector<Tag>& tags = m_line.core->board().tags();
        for (int index = 0; index < tags.size(); ++index) {
            const std::optional<Items> value = m_line.status(index).value();
            ASSERT_EQ(value.has_value(), m_line.status(index).state == TagState::Fresh);
            if (m_line.status(index).reason.startsWith("perhaps written")) {
                ++m_perhapsSeen;
                lookAtPerhaps(tags.at(index), m_line.status(index).readAt);
            }
            if (value) {
                ++m_freshSeen;
                lookAt(tags.at(index), *value, since);
                lookAtWrites(tags.at(index), m_line.status(index).pending);
            }
        }
    }

    void lookAt(const Tag& tag, const Items& value, qint64 since) const {
        const bool bits = tag.bitRegister();
        ASSERT_EQ(value.size(), tag.itemCount());
        for (int item = 0; item < value.size(); ++item) {
            const int place = tag.address + item;
            const int mask = bits ? 1 << (place % 16) : 0xFFFF;
            ASSERT_TRUE(heldLately(bits ? place / 16 : place, value.at(item) * (bits ? mask : 1),
                                   mask, since))
                << tag.name.toStdString() << ", item " << item << " shows " << value.at(item);
        }
    }

    /// A fresh value was read since a write to its words ended without an answer; one that is not
    /// pending, since one was taken.
    void lookAtWrites(const Tag& tag, bool pending) {
        const WordRange words =
            wordsHolding(tag.reg, tag.bitRegister(), tag.address, tag.itemCount());
        m_longFreshSeen += words.length > m_line.settings.wordsPerFrame ? 1 : 0;
        for (int word = words.address; word < words.end(); ++word) {
            ASSERT_GE(m_read[word], m_unknown[word]) << "word " << word;
            if (!pending) {
                ASSERT_GE(m_read[word], m_taken[word]) << "word " << word;
            }
        }
    }

    /// One of its words was perhaps written since it was read.
    void lookAtPerhaps(const Tag& tag, qint64 readAt) {
        const WordRange words =
            wordsHolding(tag.reg, tag.bitRegister(), tag.address, tag.itemCount());
        qint64 last = -1;
        for (int word = words.address; word < words.end(); ++word) {
            last = std::max(last, m_unknown[word]);
        }
        ASSERT_GT(last, readAt) << "DM " << words.address << ", " << words.length << " words";
    }

    bool executed(int word, int value) const {
        return std::any_of(m_line.machine.writes.begin(), m_line.machine.writes.end(),
                           [&](const Machine::Write& write) {
                               const int at = word - write.word;
                               return at >= 0 && at < static_cast<int>(write.values.size()) &&
                                      write.values[static_cast<std::size_t>(at)] == value;
                           });
    }

    void judgeWrites() {
        std::map<quint64, int> told;
        for (const WriteOutcome& outcome : m_line.writes) {
            ASSERT_EQ(++told[outcome.id], 1) << "write " << outcome.id;
            const Items& items = m_written.at(outcome.id);
            const int known = outcome.taken + outcome.unknown;
            ASSERT_EQ(outcome.result == WriteResult::Taken, outcome.taken == items.size());
            ASSERT_EQ(outcome.result == WriteResult::Unknown, outcome.unknown > 0);
            for (int item = 0; item < items.size(); ++item) {
                if (item < outcome.taken || item >= known) {
                    ASSERT_EQ(executed(outcome.address + item, items.at(item)),
                              item < outcome.taken)
                        << "write " << outcome.id << ", item " << item << ", "
                        << writeResultName(outcome.result).toStdString();
                }
            }
        }
        ASSERT_EQ(told.size(), m_written.size());
    }

    model::Random m_random;
    /// Whether writes are refused now and then. If not, the line doubles requests: of a doubled one
    /// the PLC may take one copy and refuse the other, and nobody can know.
    const bool m_refusing;
    SimulatedLine m_line;
    std::vector<Held> m_history[WORDS];
    std::map<quint64, Items> m_written; ///< by id
    std::map<int, qint64> m_read;       ///< by word
    std::map<int, qint64> m_taken;      ///< by word
    std::map<int, qint64> m_unknown;    ///< by word
    int m_changes = 0;
    int m_number = 0; ///< of the write last made
    bool m_bad = true;
    bool m_dead = false;
    std::vector<qint64> m_scanEnds = {0};
    int m_scansBefore = 0;
    int m_freshSeen = 0;
    int m_longFreshSeen = 0; ///< of tags longer than a frame
    int m_perhapsSeen = 0;
};

TEST(HostLineProperty, anyStory_writesAreToldAsTheyWereAndTagsShowWhatThePlcHoldsThere) {
    int fresh = 0;
    int longFresh = 0;
    int perhaps = 0;
    std::map<WriteResult, int> results;
    for (unsigned seed = 1; seed <= 60 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        LineSettings settings = lineSettings();
        settings.wordsPerFrame = seed % 2 == 0 ? 8 : 31;
        settings.retries = 1 + static_cast<int>(seed % 3);
        settings.refusedRetryMs = 500;
        HostLineStory story(seed, settings);
        story.tell();
        fresh += story.freshSeen();
        longFresh += story.longFreshSeen();
        perhaps += story.perhapsSeen();
        for (const WriteResult result :
             {WriteResult::Taken, WriteResult::Refused, WriteResult::Unknown}) {
            results[result] += story.results(result);
        }
    }
    EXPECT_GT(fresh, 10000); // that there was something to judge
    EXPECT_GT(longFresh, 1000);
    EXPECT_GT(perhaps, 100);
    EXPECT_GT(results[WriteResult::Taken], 1000);
    EXPECT_GT(results[WriteResult::Refused], 50);
    EXPECT_GT(results[WriteResult::Unknown], 50);
}

} // namespace

#include "same_results.h"

#include "poll_keys.h"
#include "textbook_driver.h"

#include <cstring>
#include <random>
#include <tuple>
#include <vector>

namespace {

const int HOST_TAG = 7;
const int WORDS = 1000;
const int REPLY_HEAD = 14;
const int SERVICE_ID = 9;

typedef std::tuple<int, int, QString, int> Change;
std::vector<Change> changes;

int recordChange(int tag, int station, QString regName, int address) {
    changes.push_back(Change(tag, station, regName, address));
    return 0;
}

std::vector<Change> takeChanges() {
    std::vector<Change> taken;
    taken.swap(changes);
    return taken;
}

/// Every other word is asked for by its bits.
QList<KEY_ADDRESS> mixedKeys(bool shuffled) {
    QList<KEY_ADDRESS> keys = wordKeys(WORDS, shuffled);
    for (KEY_ADDRESS& key : keys) {
        if (key.addr % 2 == 1) {
            key.regName = QLatin1String("DM_bit");
            key.addr *= 16;
            key.len = 16;
        }
    }
    return keys;
}

class Comparison {
public:
    explicit Comparison(const DriverEntries& entries)
        : m_driver(entries), m_textbook(HOST_TAG, wordsPerBlock, recordChange) {
        bindDriver(m_driver, m_memory);
        m_driver.setAddrValueChangeCallBack(recordChange);
    }

    std::string merge(QList<KEY_ADDRESS> keys) {
        QList<KEY_ADDRESS> same = keys;
        m_blocks = m_driver.addrMerge(keys);
        if (m_textbook.addrMerge(same) != m_blocks) {
            return "the number of blocks differs";
        }
        for (int i = 0; i < m_blocks; ++i) {
            const KEY_ADDRESS& a = keys.at(i);
            const KEY_ADDRESS& b = same.at(i);
            if (a.regName != b.regName || a.addr != b.addr || a.len != b.len) {
                return "block " + std::to_string(i) + " differs";
            }
        }
        return std::string();
    }

    /// One poll of everything, with replies of bytes below `range`.
    std::string poll(int range) {
        for (int i = 0; i < m_blocks; ++i) {
            FRAME_PRO mine = FRAME_PRO();
            FRAME_PRO theirs = FRAME_PRO();
            if (m_driver.getSendFrame(mine) != 1 || m_textbook.getSendFrame(theirs) != 1 ||
                std::memcmp(mine.frame, theirs.frame, sizeof mine.frame) != 0 ||
                mine.rcvLen != theirs.rcvLen) {
                return "frame " + std::to_string(i) + " differs";
            }
            QByteArray reply = replyTo(mine, range);
            QString message;
            if (m_driver.dealRcvFrame(&reply, &message) != REPLY_ACCEPTED) {
                return "the driver refused a reply";
            }
            const std::vector<Change> told = takeChanges();
            if (m_textbook.dealRcvFrame(reply) != REPLY_ACCEPTED || takeChanges() != told) {
                return "the calls after reply " + std::to_string(i) + " differ";
            }
        }
        return values();
    }

private:
    QByteArray replyTo(const FRAME_PRO& frame, int range) {
        QByteArray reply(REPLY_HEAD + 2 * frame.var.len, '\0');
        reply[SERVICE_ID] = static_cast<char>(frame.frame[SERVICE_ID]);
        for (int i = REPLY_HEAD; i < reply.size(); ++i) {
            reply[i] = static_cast<char>(m_chance() % static_cast<unsigned>(range));
        }
        return reply;
    }

    std::string values() {
        std::vector<unsigned char> mine(2 * WORDS);
        std::vector<unsigned char> theirs(2 * WORDS);
        m_driver.getData(1, QLatin1String("DM"), 0, WORDS, mine.data());
        m_textbook.getData(1, QLatin1String("DM"), 0, WORDS, theirs.data());
        return mine == theirs ? std::string() : "the values differ";
    }

    const DriverEntries& m_driver;
    LentMemory m_memory;
    TextbookDriver m_textbook;
    std::mt19937 m_chance{1};
    int m_blocks = 0;
};

} // namespace

std::string differenceFromTextbook(const DriverEntries& entries) {
    Comparison comparison(entries);
    for (bool shuffled : {false, true}) {
        for (const QList<KEY_ADDRESS>& keys : {wordKeys(WORDS, shuffled), mixedKeys(shuffled)}) {
            std::string difference = comparison.merge(keys);
            for (int range : {1, 256, 2}) {
                if (difference.empty()) {
                    difference = comparison.poll(range);
                }
            }
            if (!difference.empty()) {
                return difference + (shuffled ? " (keys shuffled)" : " (keys in order)");
            }
        }
    }
    return std::string();
}

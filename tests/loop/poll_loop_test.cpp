/// Polling: scattered tags of all registers, changes and their notices, condition reads in between.

#include "loop/loop_fixture.h"

#include <algorithm>
#include <random>

namespace {

class PollLoop : public LoopFixture {
protected:
    /// `count` tags over all seven areas, words and bits mixed, none inside another.
    std::vector<Tag> scatteredTags(int count) {
        struct Place {
            const char* name;
            int next, size;
            bool bits;
        };
        Place places[] = {{"CIO", 0, 6144, true}, {"WR", 0, 512, true},  {"HR", 0, 1536, true},
                          {"AR", 448, 960, true}, {"T", 0, 4096, false}, {"C", 0, 4096, false},
                          {"DM", 0, 32768, true}};
        std::vector<Tag> tags;
        while (static_cast<int>(tags.size()) < count) {
            Place& place = places[tags.size() % 7];
            place.next += upTo(place.size / 160);
            const int words = 1 + upTo(3);
            if (place.next + words > place.size) {
                ADD_FAILURE() << place.name << " is full";
                break;
            }
            if (place.bits && upTo(2) == 0) { // from anywhere in the first word to the last one
                const int first = place.next * 16 + upTo(16);
                const int last = (place.next + words - 1) * 16 + 15;
                tags.push_back({std::string(place.name) + "_bit", first, last - first + 1});
            } else {
                tags.push_back({place.name, place.next, words});
            }
            place.next += words;
        }
        std::shuffle(tags.begin(), tags.end(), random);
        return tags;
    }

    void fillPlc() {
        for (const plc::AreaFacts& area : plc::areaTable()) {
            for (std::uint32_t word = 0; word < area.size; ++word) {
                plc.memory().setWord(area.area, word, static_cast<std::uint16_t>(random()));
            }
        }
    }

    int plcBit(const Tag& tag, int i) const {
        const auto bit = static_cast<unsigned int>(tag.addr + i);
        return plc.memory().bit(areaOf(tag.regName), bit / 16U, bit % 16U) ? 1 : 0;
    }

    /// How many items of the tags the host does not see as the PLC has them.
    int wrongItems(const std::vector<Tag>& tags) {
        int wrong = 0;
        for (const Tag& tag : tags) {
            for (int i = 0; i < tag.len; ++i) {
                const char* name = tag.regName.c_str();
                const bool right = isBitName(tag.regName)
                                       ? hostBit(name, tag.addr + i) == plcBit(tag, i)
                                       : hostWord(name, tag.addr + i) ==
                                             plcWord(areaOf(tag.regName), tag.addr + i);
                wrong += right ? 0 : 1;
            }
        }
        return wrong;
    }

    int upTo(int limit) { return static_cast<int>(random() % static_cast<unsigned int>(limit)); }

    std::mt19937 random{1234};
};

TEST_F(PollLoop, fiveHundredScatteredTags_oneRound_bringsEveryValue) {
    const std::vector<Tag> tags = scatteredTags(500);
    ASSERT_EQ(500U, tags.size());
    fillPlc();
    const int blocks = poll(tags);
    EXPECT_LT(blocks, 250) << "merging saves little";
    EXPECT_GT(wrongItems(tags), 0);
    goodTurns(blocks);
    EXPECT_EQ(0, wrongItems(tags));
}

TEST_F(PollLoop, fiveHundredScatteredTags_changedInThePlc_followInTheNextRound) {
    const std::vector<Tag> tags = scatteredTags(500);
    const int blocks = poll(tags);
    for (int round = 0; round < 5; ++round) {
        fillPlc();
        goodTurns(blocks);
        ASSERT_EQ(0, wrongItems(tags)) << "round " << round;
    }
}

TEST_F(PollLoop, fiveHundredScatteredTags_eachChange_isToldOnceAndOthersAreNot) {
    const std::vector<Tag> tags = scatteredTags(500);
    const int blocks = poll(tags);
    goodTurns(blocks);
    EXPECT_TRUE(takeNotices().empty()) << "all zero still";
    fillPlc();
    std::vector<Notice> expected;
    for (const Tag& tag : tags) {
        for (int i = 0; i < tag.len; ++i) {
            const bool set = isBitName(tag.regName)
                                 ? plcBit(tag, i) != 0
                                 : plcWord(areaOf(tag.regName), tag.addr + i) != 0;
            if (set) {
                expected.push_back({7, 1, tag.regName, tag.addr + i});
            }
        }
    }
    goodTurns(blocks);
    EXPECT_THAT(takeNotices(), ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(PollLoop, timersAndCountersOfOneNumber_areKeptApart) {
    setPlcWord(plc::Area::Timer, 5, 0x1111);
    setPlcWord(plc::Area::Counter, 5, 0x2222);
    goodTurns(poll({{"T", 5, 1}, {"C", 5, 1}}));
    EXPECT_EQ(0x1111, hostWord("T", 5));
    EXPECT_EQ(0x2222, hostWord("C", 5));
}

TEST_F(PollLoop, firstAndLastAddressOfEveryWordRegister_areReadAsTheyAre) {
    const Tag lasts[] = {{"CIO", 6143, 1}, {"WR", 511, 1}, {"HR", 1535, 1}, {"AR", 959, 1},
                         {"T", 4095, 1},   {"C", 4095, 1}, {"DM", 32767, 1}};
    std::vector<Tag> tags;
    int value = 0x0101;
    for (const Tag& last : lasts) {
        for (const int addr : {0, last.addr}) {
            setPlcWord(areaOf(last.regName), addr, value++);
            tags.push_back({last.regName, addr, 1});
        }
    }
    goodTurns(poll(tags));
    value = 0x0101;
    for (const Tag& tag : tags) {
        EXPECT_EQ(value++, hostWord(tag.regName.c_str(), tag.addr)) << tag.regName << tag.addr;
    }
}

TEST_F(PollLoop, conditionReadDuringPolling_bringsItsWordsAndItsEnd) {
    poll({{"DM", 0, 1}, {"DM", 1000, 1}});
    for (int i = 0; i < 130; ++i) {
        setPlcWord(plc::Area::Holding, 100 + i, 3 * i);
    }
    goodTurns(2);
    takeNotices();
    conditionRead({"HR", 100, 130});
    goodTurns(3);
    EXPECT_EQ((std::vector<Notice>{{-1, -1, "-1", 0}}), takeNotices());
    for (int i = 0; i < 130; ++i) {
        ASSERT_EQ(3 * i, hostWord("HR", 100 + i));
    }
}

TEST_F(PollLoop, serviceIdsGoingRound_pollingNeverStumbles) {
    const int blocks = poll({{"DM", 0, 1}, {"DM", 1000, 1}, {"HR", 0, 1}});
    ASSERT_EQ(3, blocks);
    for (int i = 1; i <= 1000; ++i) {
        setPlcWord(plc::Area::Dm, 1000, i);
        goodTurns(3);
        ASSERT_EQ(i, hostWord("DM", 1000));
    }
}

TEST_F(PollLoop, newTagsWhileAReadIsOnItsWay_areReadAllTheSame) {
    poll({{"DM", 0, 1}, {"DM", 1000, 1}});
    setPlcWord(plc::Area::Work, 7, 0x0707);
    ASSERT_TRUE(ask());
    const plc::Bytes late = askPlc();
    const int blocks = poll({{"WR", 7, 1}, {"HR", 0, 1}});
    EXPECT_EQ(1, reply(late));
    goodTurns(blocks);
    EXPECT_EQ(0x0707, hostWord("WR", 7));
}

} // namespace

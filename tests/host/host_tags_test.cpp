// Which line a callback of a driver belongs to.

#include "host/driver/host_tags.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using namespace velkor_host;

namespace {

class Listener : public ChangeListener {
public:
    void valueChanged(const QString& reg, int address) override {
        heard.push_back(reg.toStdString() + " " + std::to_string(address));
    }
    std::vector<std::string> heard;
};

TEST(HostTags, callback_reachesItsListenerAlone) {
    Listener one;
    Listener other;
    const int first = takeHostTag(&one);
    const int second = takeHostTag(&other);
    EXPECT_NE(first, second);
    EXPECT_GT(first, 0);
    EXPECT_EQ(hearDriver(second, 1, "DM", 100), 0);
    EXPECT_TRUE(one.heard.empty());
    EXPECT_EQ(other.heard, std::vector<std::string>{"DM 100"});
    giveBackHostTag(first);
    giveBackHostTag(second);
}

TEST(HostTags, givenBack_isHeardByNobody) {
    Listener one;
    const int tag = takeHostTag(&one);
    giveBackHostTag(tag);
    giveBackHostTag(tag);
    hearDriver(tag, 1, "DM", 100);
    EXPECT_TRUE(one.heard.empty());
}

TEST(HostTags, noticesOfTheDriver_areNoChangesOfWords) {
    Listener one;
    const int tag = takeHostTag(&one);
    hearDriver(0, -1, "LW", 122022);
    hearDriver(-1, -1, "-1", 0);
    hearDriver(tag, -1, "RWI", 3);
    EXPECT_TRUE(one.heard.empty());
    giveBackHostTag(tag);
}

TEST(HostTags, takenFromSeveralThreads_areAllDifferent) {
    Listener listener;
    std::vector<std::vector<int>> taken(4);
    std::vector<std::thread> threads;
    threads.reserve(taken.size());
    for (std::vector<int>& mine : taken) {
        threads.emplace_back([&mine, &listener] {
            for (int count = 0; count < 500; ++count) {
                mine.push_back(takeHostTag(&listener));
                hearDriver(-5, 1, "DM", 1);
            }
        });
    }
    std::set<int> all;
    for (std::size_t index = 0; index < threads.size(); ++index) {
        threads[index].join();
        all.insert(taken[index].begin(), taken[index].end());
    }
    EXPECT_EQ(all.size(), 2000U);
    for (const int tag : all) {
        giveBackHostTag(tag);
    }
}

} // namespace

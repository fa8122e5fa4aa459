// Whatever comes, the PLC answers in form or not at all.
#include <gtest/gtest.h>

#include <random>

#include "plc/frames.h"
#include "plc/trace.h"

namespace {

// Random bytes; more often than not behind a header and a command that the PLC knows, and then
// often with an address and a count that could be right.
class Frames {
public:
    plc::Bytes next() {
        plc::Bytes frame;
        if (below(10) > 0) {
            frame = {0x80, 0, 2, 0, byteOf({0, 1, 1, 9}), 0, 0, 5, 0, byte()};
            const std::uint16_t command = kCommands[below(10)];
            frame.push_back(static_cast<std::uint8_t>(command >> 8U));
            frame.push_back(static_cast<std::uint8_t>(command & 0xFFU));
        }
        if (below(2) > 0) {
            const std::uint8_t area =
                byteOf({0x30, 0x33, 0x02, 0xB0, 0xB3, 0x82, 0x89, 0x09, 0xA0, 0x44});
            const std::uint8_t count = byteOf({0, 1, 2, 8});
            frame.insert(frame.end(), {area, byteOf({0, 0, 1, 2, 0x80}), byte(),
                                       byteOf({0, 15, 16}), byteOf({0, 0, 0, 4}), count});
            frame.insert(frame.end(), byteOf({0, 0, 2, count, 2 * count}), byte());
        } else {
            frame.insert(frame.end(), below(20) > 0 ? below(12) : below(2100), byte());
        }
        return frame;
    }

private:
    static constexpr std::uint16_t kCommands[10] = {0x0101, 0x0102, 0x0103, 0x0104, 0x0401,
                                                    0x0402, 0x0501, 0x0601, 0x0701, 0x0999};

    unsigned below(unsigned end) { return static_cast<unsigned>(generator_() % end); }
    std::uint8_t byte() { return static_cast<std::uint8_t>(below(256)); }
    std::uint8_t byteOf(const std::vector<int>& choice) {
        return static_cast<std::uint8_t>(choice[below(static_cast<unsigned>(choice.size()))]);
    }

    std::mt19937 generator_{1};
};

TEST(PlcRandomFrames, handle_anything_repliesInFormOrNotAtAll) {
    plc::Core core;
    Frames frames;
    for (int i = 0; i < 100000; ++i) {
        const plc::Bytes request = frames.next();
        const bool expected =
            core.classify(request) == plc::Reception::Command && (request[0] & 0x01U) == 0;
        const auto reply = core.handle(request);
        ASSERT_EQ(reply.has_value(), expected) << plc_test::text(request);
        if (!reply) {
            continue;
        }
        ASSERT_GE(reply->size(), 14U);
        ASSERT_LE(reply->size(), 2012U) << plc_test::text(request);
        ASSERT_EQ((*reply)[0], 0xC0);
        ASSERT_EQ((*reply)[8], request[5]);
        ASSERT_EQ((*reply)[9], request[9]);
        ASSERT_EQ((*reply)[10], request[10]);
        ASSERT_EQ((*reply)[11], request[11]);
        const bool normal = (*reply)[12] == 0 && (*reply)[13] == 0;
        ASSERT_TRUE(normal || reply->size() == 14U) << plc_test::text(request);
    }
    // The frames reach both sides of the checks, or the test above says little.
    EXPECT_GT(core.counters().errorReplies, 2000U);
    EXPECT_GT(core.counters().replies - core.counters().errorReplies, 2000U);
}

TEST(PlcRandomFrames, describe_anything_isOneLine) {
    Frames frames;
    for (int i = 0; i < 20000; ++i) {
        const plc::Bytes frame = frames.next();
        ASSERT_EQ(plc::describeRequest(frame).find('\n'), std::string::npos);
        ASSERT_EQ(plc::describeReply(frame).find('\n'), std::string::npos);
    }
}

} // namespace

#include "panel/watch/screen_source.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;
using namespace velkor_host;

namespace {

TagStatus failingSince(qint64 since, const char* reason) {
    TagStatus status;
    status.state = TagState::Stale;
    status.since = since;
    status.reason = QString::fromUtf8(reason);
    return status;
}

TEST(ReasonSince, stateOfThePlc_hasLastedSoLong) {
    EXPECT_EQ(
        plain(reasonSince(
            failingSince(1000000, "port unreachable: nothing listens on 127.0.0.1:9600"), 3600000)),
        "port unreachable for 2.6 s: nothing listens on 127.0.0.1:9600");
    EXPECT_EQ(plain(reasonSince(failingSince(1000000, "not refreshed"), 3600000)),
              "not refreshed for 2.6 s");
}

TEST(ReasonSince, triesOfOneRequest_areNotToldAsThoseOfTheWholeSilence) {
    EXPECT_EQ(plain(reasonSince(
                  failingSince(1000000, "no answer: 1 try of 500 ms to 127.0.0.1:9600"), 4700000)),
              "no answer for 3.7 s; last request: 1 try of 500 ms to 127.0.0.1:9600");
}

TEST(ReasonSince, noReasonOrNoTime_isLeftAsItIs) {
    EXPECT_EQ(plain(reasonSince(TagStatus(), 1000000)), "");
    EXPECT_EQ(plain(reasonSince(failingSince(-1, "no answer: 1 try"), 1000000)),
              "no answer: 1 try");
}

} // namespace

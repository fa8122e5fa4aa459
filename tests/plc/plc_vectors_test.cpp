// The hand-written frames of tests/vectors/plc_*.txt. In such a file '#' begins a comment line,
// '>' a request and '<' the reply to the request before it; a request without one gets no reply.
// A file is one conversation with a PLC of node 10 in MONITOR mode whose memory is all 0.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "plc/frames.h"

namespace {

struct Exchange {
    int line = 0;
    std::string request;
    std::string reply = "no reply";
};

std::vector<Exchange> read(const std::filesystem::path& file) {
    std::vector<Exchange> exchanges;
    std::ifstream in(file);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (line[0] == '>') {
            exchanges.push_back({number, line.substr(1), "no reply"});
        } else if (line[0] == '<' && !exchanges.empty()) {
            exchanges.back().reply = plc_test::text(plc_test::hex(line.substr(1)));
        } else {
            ADD_FAILURE() << file << ":" << number << ": neither '#', '>' nor '<'";
        }
    }
    return exchanges;
}

std::vector<std::filesystem::path> vectorFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(VELKOR_PLC_VECTORS)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("plc_", 0) == 0 && entry.path().extension() == ".txt") {
            files.push_back(entry.path());
        }
    }
    return files;
}

TEST(PlcVectors, handle_everyConversation_isAsWritten) {
    const auto files = vectorFiles();
    ASSERT_GE(files.size(), 3U);
    for (const auto& file : files) {
        plc::Options options;
        options.node = 10;
        options.mode = plc::Mode::Monitor;
        plc::Core core(options);
        const auto exchanges = read(file);
        EXPECT_FALSE(exchanges.empty()) << file;
        for (const Exchange& exchange : exchanges) {
            const auto reply = core.handle(plc_test::hex(exchange.request));
            EXPECT_EQ(reply ? plc_test::text(*reply) : "no reply", exchange.reply)
                << file << ":" << exchange.line;
        }
    }
}

} // namespace

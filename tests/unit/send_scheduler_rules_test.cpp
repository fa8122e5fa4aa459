/// Thousands of turns of mixed traffic against the scheduling rules, written down once more in the
/// plainest way: what must go out, byte for byte, and what a reply or a failure does to the lists.

#include "support/exchange.h"

#include <algorithm>
#include <deque>
#include <map>
#include <random>

namespace {

struct Request {
    bool bit;
    int addr;
    int len;
    Bytes data; ///< as the host gave it: words low byte first
};

/// The rules, with lists of its own. All words are DM's, all bits CIO's.
class Rules {
public:
    std::deque<Request> writes;
    std::deque<Request> conditionReads;
    std::deque<Request> cyclicReads;
    std::vector<Request> blocks;
    bool download = false;
    bool upload = false;

    /// The frame that must go out, or nothing.
    Bytes next() {
        if (!inFlight_.empty()) {
            return inFlight_;
        }
        if (download || upload) {
            pickRecipe();
        } else {
            pickFromLists();
        }
        if (kind_ != 0) {
            inFlight_ = kind_ == 2 || kind_ == 5 ? writeFrame() : readFrame();
        }
        return inFlight_;
    }

    void end(bool well) {
        inFlight_.clear();
        if (kind_ == 2) {
            if (!writes.empty()) {
                writes.pop_front();
            }
        } else if (kind_ == 3) {
            well ? popFront(conditionReads) : conditionReads.clear();
        } else if (kind_ == 4) {
            if (cyclicReads.size() >= 2) {
                cyclicReads.push_back(cyclicReads.front());
                cyclicReads.pop_front();
            }
        } else {
            endBlock(well);
        }
    }

    int kind() const { return kind_; }
    bool currentIsRead() const { return kind_ == 3 || kind_ == 4 || kind_ == 6; }
    int words() const { return current_.len; }

private:
    static void popFront(std::deque<Request>& list) {
        if (!list.empty()) {
            list.pop_front();
        }
    }

    void pickRecipe() {
        if (index_ < blocks.size()) {
            current_ = blocks[index_];
            kind_ = download ? 5 : 6;
        } // else the request made last goes out again; kind 0 has none
    }

    void pickFromLists() {
        if (!writes.empty() && burst_ < 5) {
            take(writes.front(), 2, burst_ + 1);
        } else if (!conditionReads.empty() && burst_ < 3) {
            take(conditionReads.front(), 3, burst_ + 1);
        } else if (!cyclicReads.empty()) {
            take(cyclicReads.front(), 4, 0);
        } else {
            kind_ = 0;
            burst_ = 0;
        }
    }

    void take(const Request& request, int kind, int burst) {
        current_ = request;
        kind_ = kind;
        burst_ = burst;
    }

    void endBlock(bool well) {
        if (well && ++index_ < blocks.size()) {
            return;
        }
        index_ = 0;
        (kind_ == 5 ? download : upload) = false;
    }

    Bytes header(int code) {
        sid_ = sid_ == 254 ? 0 : sid_ + 1;
        return {0x80, 0, 2, 0, 1, 0, 0, 10, 0, byteOf(sid_), 1, byteOf(code)};
    }

    Bytes readFrame() {
        Bytes frame = header(1);
        append(frame, {0x82, byteOf(current_.addr / 256), byteOf(current_.addr), 0,
                       byteOf(current_.len / 256), byteOf(current_.len)});
        return frame;
    }

    Bytes writeFrame() {
        Bytes frame = header(2);
        const int word = current_.bit ? current_.addr / 16 : current_.addr;
        append(frame, {byteOf(current_.bit ? 0x30 : 0x82), byteOf(word / 256), byteOf(word),
                       byteOf(current_.bit ? current_.addr % 16 : 0), byteOf(current_.len / 256),
                       byteOf(current_.len)});
        for (std::size_t i = 0; i < current_.data.size(); ++i) {
            frame.push_back(current_.data[current_.bit ? i : i ^ 1U]);
        }
        return frame;
    }

    static unsigned char byteOf(int value) { return static_cast<unsigned char>(value % 256); }
    static void append(Bytes& frame, const Bytes& more) {
        frame.insert(frame.end(), more.begin(), more.end());
    }

    Bytes inFlight_;
    Request current_ = {};
    int kind_ = 0;
    int burst_ = 0;
    std::size_t index_ = 0;
    int sid_ = 0;
};

class SchedulerRules : public Exchange, public ::testing::WithParamInterface<unsigned int> {
protected:
    SchedulerRules() : random(GetParam()) {
        intf_SetDriverPropertyPage(QLatin1String("6,0,1,0,0,10,0"));
    }

    int upTo(int limit) { return static_cast<int>(random() % static_cast<unsigned int>(limit)); }
    bool oneIn(int n) { return upTo(n) == 0; }

    void addWrite() {
        const bool bit = oneIn(3);
        Request request = {bit, nextAddress(), 1 + upTo(20), {}};
        for (int i = 0; i < (bit ? request.len : 2 * request.len); ++i) {
            request.data.push_back(static_cast<unsigned char>(bit ? upTo(2) : upTo(256)));
        }
        rules.writes.push_back(request);
        Bytes data = request.data;
        intf_setData(1, QLatin1String(bit ? "CIO_bit" : "DM"), request.addr, request.len,
                     data.data(), 0);
    }

    void addConditionRead() {
        const Request request = {false, nextAddress(), 1 + upTo(20), {}};
        rules.conditionReads.push_back(request);
        conditionRead("DM", request.addr, request.len);
    }

    /// Never the same twice in a row of many, so that no request replaces an equal one.
    int nextAddress() { return address = (address + 32) % 8192; }

    void newCyclicReads() {
        QList<KEY_ADDRESS> keys;
        rules.cyclicReads.clear();
        for (int i = upTo(5); i > 0; --i) {
            const Request request = {false, 30000 - 100 * i, 1 + upTo(3), {}};
            rules.cyclicReads.push_back(request);
            keys.append(makeKey("DM", request.addr, request.len));
        }
        intf_addrMerge(keys);
    }

    void newRecipe(int blockCount) {
        QVector<_RCP_VAR_PRO> variables;
        rules.blocks.clear();
        for (int i = 0; i < blockCount; ++i) {
            Request block = {false, 20000 + 100 * i, 1 + upTo(8), {}};
            const int offset = upTo(4000);
            for (int word = 0; word < block.len; ++word) {
                const unsigned short value =
                    recipeBuffer[static_cast<std::size_t>(offset) + static_cast<std::size_t>(word)];
                block.data.push_back(static_cast<unsigned char>(value % 256));
                block.data.push_back(static_cast<unsigned char>(value / 256));
            }
            rules.blocks.push_back(block);
            variables.append(recipeVariable("DM", block.addr, block.len, offset));
        }
        intf_setRcpAddress(variables);
    }

    void hostActs() {
        for (int i = oneIn(14) ? upTo(9) : 0; i > 0; --i) {
            addWrite();
        }
        for (int i = oneIn(14) ? upTo(6) : 0; i > 0; --i) {
            addConditionRead();
        }
        if (oneIn(100)) {
            newCyclicReads();
        }
        if (oneIn(25)) {
            hostBlock[60115] = 1;
            rules.download = true;
        }
        if (oneIn(25)) {
            hostBlock[60116] = 1;
            rules.upload = true;
        }
    }

    /// A reply that is not the one: empty, too short, too long, or another service ID.
    Bytes badReply() {
        Bytes reply = goodReply();
        switch (upTo(4)) {
        case 0:
            return {};
        case 1:
            reply.pop_back();
            return reply;
        case 2:
            reply.push_back(0);
            return reply;
        default:
            reply[9] = static_cast<unsigned char>(reply[9] + 1);
            return reply;
        }
    }

    /// Uploaded words stay as they were in the buffer only if the PLC sends the same: zeros would
    /// change what a later download carries, so the recipe buffer is restored after each upload.
    Bytes goodReply() const {
        const int sid = out.frame[9];
        return rules.currentIsRead()
                   ? readReply(sid, Words(static_cast<std::size_t>(rules.words()), 0))
                   : endCodeReply(sid, 1, 2);
    }

    /// Some bad replies, then the good one or the last bad one.
    void replyInSomeWay() {
        const int bad = oneIn(5) ? 1 + upTo(3) : 0;
        const Bytes sent = sentBytes(out);
        for (int i = 1; i <= bad; ++i) {
            const unsigned int result = deal(badReply());
            ASSERT_EQ(i < 3 ? 8U : 2U, result);
            if (i == 3) {
                rules.end(false);
                return;
            }
            ASSERT_EQ(1U, ask());
            ASSERT_EQ(sent, sentBytes(out));
        }
        ASSERT_EQ(1U, deal(goodReply()));
        rules.end(true);
        recipeBuffer = recipeValues;
    }

    std::mt19937 random;
    Rules rules;
    int address = 0;
    std::vector<unsigned short> recipeValues;
    std::map<int, int> served; ///< turns by kind
};

TEST_P(SchedulerRules, getSendFrame_mixedTraffic_followsTheRulesTurnByTurn) {
    for (std::size_t i = 0; i < recipeBuffer.size(); ++i) {
        recipeBuffer[i] = static_cast<unsigned short>(i * 7919U);
    }
    recipeValues = recipeBuffer;
    newCyclicReads();
    newRecipe(3);
    int serviceIdWraps = 0;
    for (int turnNumber = 0; turnNumber < 2000; ++turnNumber) {
        SCOPED_TRACE(turnNumber);
        hostActs();
        ASSERT_LT(rules.writes.size() + rules.conditionReads.size(), 200U)
            << "the rules here know nothing of full lists and equal requests";
        const Bytes expected = rules.next();
        const unsigned int result = ask();
        ASSERT_EQ(expected.empty() ? 0U : 1U, result);
        ASSERT_EQ(rules.kind(), driver.requestKind);
        ++served[rules.kind()];
        if (result == 1U) {
            ASSERT_EQ(expected, sentBytes(out));
            serviceIdWraps += out.frame[9] == 0 ? 1 : 0;
            ASSERT_NO_FATAL_FAILURE(replyInSomeWay());
        }
        ASSERT_EQ(rules.download ? 1 : 0, downloadByte());
        ASSERT_EQ(rules.upload ? 1 : 0, uploadByte());
        if (!rules.download && !rules.upload && oneIn(15)) {
            newRecipe(oneIn(6) ? 0 : 1 + upTo(4));
        }
        if (oneIn(40)) { // the host gives up a transfer that has no block and would starve it
            hostBlock[60115] = hostBlock[60116] = 0;
            rules.download = rules.upload = false;
        }
    }
    EXPECT_GE(serviceIdWraps, 3);
    for (const int kind : {2, 3, 4, 5, 6}) {
        EXPECT_GE(served[kind], 20) << "kind " << kind;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, SchedulerRules, ::testing::Range(1U, 9U));

} // namespace

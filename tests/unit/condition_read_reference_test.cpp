/// intf_addConditionRead against a plain account of the same rules, on ranges and queues by chance,
/// and on ranges that are far longer than what can remain of them.

#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <algorithm>
#include <cstdint>
#include <random>

namespace {

const std::size_t queueCap = 513;

/// A queued request as far as a test can tell it from another.
struct Queued {
    int type, station;
    Range range;
    int firstDataByte; ///< shows whether a waiting request was replaced whole

    bool operator==(const Queued& other) const {
        return type == other.type && station == other.station && range == other.range &&
               firstDataByte == other.firstDataByte;
    }
};

std::ostream& operator<<(std::ostream& out, const Queued& one) {
    return out << "type " << one.type << " station " << one.station << " " << one.range << " data "
               << one.firstDataByte;
}

Queued queuedOf(const VARIABLE& request) {
    return Queued{request.type, request.station, rangeOf(request), request.data[0]};
}

// The plain account: every piece in turn.

int narrow(std::int64_t value) {
    return static_cast<int>(static_cast<std::uint32_t>(value));
}

bool endsInBit(const std::string& name) {
    return name.size() >= 4 && name.compare(name.size() - 4, 4, "_bit") == 0;
}

/// One piece of a key, of which the range counts bits for a "_bit" name, as a request.
Queued asRequest(Range piece, int station, int type) {
    if (endsInBit(piece.regName)) {
        piece.regName = piece.regName.substr(0, piece.regName.find('_'));
        piece.addr = piece.addr / 16;
        piece.len = piece.len / 16 + (piece.len % 16 != 0 ? 1 : 0);
    }
    return Queued{type, station, piece, 0};
}

std::vector<Range> cut(const Range& key, int limit) {
    if (key.len <= limit) {
        return {key};
    }
    std::vector<Range> pieces;
    for (std::int64_t done = 0; done < key.len; done += limit) {
        const std::int64_t left = key.len - done;
        pieces.push_back(Range{key.regName, narrow(key.addr + done),
                               static_cast<int>(std::min<std::int64_t>(left, limit))});
    }
    return pieces;
}

void put(std::vector<Queued>& queue, const Queued& request) {
    for (std::size_t i = queue.size(); i-- > 1;) {
        if (queue[i].range.addr == request.range.addr && queue[i].station == request.station &&
            queue[i].range == request.range) {
            queue[i] = request;
            return;
        }
    }
    if (queue.size() < queueCap) {
        queue.push_back(request);
    } else {
        queue.back() = request;
    }
}

/// Chance, the same in each run of the tests.
class Chance {
public:
    int below(int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); }
    bool oneIn(int bound) { return below(bound) == 0; }
    template <class Choices> typename Choices::value_type of(const Choices& choices) {
        return choices[static_cast<std::size_t>(below(static_cast<int>(choices.size())))];
    }

private:
    std::mt19937 random{20481U};
};

/// A request to lie in the queue already: mostly one that a piece of the key will equal, or nearly.
Queued waitingFor(Chance& chance, const std::vector<Range>& pieces, int station, int type) {
    Queued request = asRequest(chance.of(pieces), station, type);
    switch (chance.below(8)) {
    case 0:
        request.range.addr = narrow(std::int64_t{request.range.addr} + chance.below(5) - 2);
        break;
    case 1:
        request.range.len += 1;
        break;
    case 2:
        request.station += 1;
        break;
    case 3:
        request.range = Range{"HR", chance.below(100), 1};
        break;
    default:
        break;
    }
    request.firstDataByte = 0x55;
    return request;
}

class ConditionReadReference : public FreshDriver {
protected:
    static void queue(const Queued& waiting) {
        VARIABLE request = makeRequest(waiting.range.regName.c_str(), waiting.range.addr,
                                       waiting.range.len, waiting.station);
        request.type = waiting.type;
        request.data[0] = static_cast<unsigned char>(waiting.firstDataByte);
        driver.conditionReadList.append(request);
    }

    static std::vector<Queued> queued() {
        std::vector<Queued> all;
        for (const VARIABLE& request : driver.conditionReadList) {
            all.push_back(queuedOf(request));
        }
        return all;
    }

    /// One call on a queue by chance, compared whole with the plain account.
    void compareOnce(Chance& chance);
};

void ConditionReadReference::compareOnce(Chance& chance) {
    const int limit = chance.of(std::vector<int>{1, 2, 3, 7, 15, 16, 17, 31, 33, 64, 100});
    const std::string name = chance.of(std::vector<std::string>{"DM", "CIO_bit", "WR_bit"});
    const int start =
        chance.of(std::vector<int>{0, -700, 5, -40, 1000, highestInt - 600, lowestInt});
    const int addr = narrow(std::int64_t{start} + chance.below(40));
    const int pieceCount = chance.of(std::vector<int>{1, 3, 30, 600, 1200});
    const Range key = {name, addr, pieceCount * limit - chance.below(limit)};
    const std::vector<Range> pieces = cut(key, limit);

    init(3, limit);
    std::vector<Queued> expected;
    const int waiting = chance.of(std::vector<int>{0, 1, 2, 40, 500, 511, 512, 513, 513, 513});
    for (int i = 0; i < waiting; ++i) {
        expected.push_back(waitingFor(chance, pieces, 1, i));
        queue(expected.back());
    }
    const int type = 9000;
    for (const Range& piece : pieces) {
        put(expected, asRequest(piece, 1, type));
    }

    SCOPED_TRACE(::testing::Message() << key << " by " << limit << ", " << waiting << " waiting");
    ASSERT_EQ(intf_addConditionRead(makeKey(name.c_str(), key.addr, key.len), type), 1);
    ASSERT_EQ(queued(), expected);
    ASSERT_EQ(queuedOf(driver.conditionKey), asRequest(pieces.back(), 1, type));
}

TEST_F(ConditionReadReference, addConditionRead_rangesAndQueuesByChance_sameAsEveryPieceInTurn) {
    Chance chance;
    for (int round = 0; round < 400; ++round) {
        compareOnce(chance);
        if (HasFatalFailure()) {
            FAIL() << "in round " << round;
        }
    }
}

// Ranges that would take the better part of an hour piece by piece: the program's time limit ends
// a driver that does so. At one item a piece the queue keeps the first 512 pieces and the last.

TEST_F(ConditionReadReference, addConditionRead_allWordsThereAre_endsWithFirstPiecesAndLast) {
    init(3, 1);
    EXPECT_EQ(intf_addConditionRead(makeKey("DM", 0, highestInt), 9), 1);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(511)), (Range{"DM", 511, 1}));
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"DM", 2147483646, 1}));
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"DM", 2147483646, 1}));
}

TEST_F(ConditionReadReference, addConditionRead_allBitsThereAre_endsWithFirstWordsAndLast) {
    init(3, 1);
    EXPECT_EQ(intf_addConditionRead(makeKey("CIO_bit", 0, highestInt), 9), 1);
    // Sixteen pieces a word. The first lies at the head, which is never replaced, so word 0 is
    // queued again behind it; the last bit is bit 2147483646, in word 134217727.
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(1)), (Range{"CIO", 0, 1}));
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(511)), (Range{"CIO", 510, 1}));
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"CIO", 134217727, 1}));
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"CIO", 134217727, 1}));
}

TEST_F(ConditionReadReference, addConditionRead_hugeRangeOnAFullQueue_stillReplacesWhatItMeets) {
    init(3, 1);
    for (int i = 0; i < 513; ++i) {
        queue(Queued{i, 1, Range{"DM", i * 4000000, 1}, 0x55});
    }
    EXPECT_EQ(intf_addConditionRead(makeKey("DM", 2, 2000000000), 9), 1);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    for (int i = 0; i < 513; ++i) {
        // Words 2 to 2000000001: those of elements 1 to 500. The last word takes the last place.
        const bool met = i >= 1 && i <= 500;
        const Queued asItWas = {i, 1, Range{"DM", i * 4000000, 1}, 0x55};
        const Queued replaced = {9, 1, Range{"DM", i * 4000000, 1}, 0};
        const Queued last = {9, 1, Range{"DM", 2000000001, 1}, 0};
        EXPECT_EQ(queuedOf(driver.conditionReadList.at(i)),
                  i == 512 ? last : (met ? replaced : asItWas));
    }
}

TEST_F(ConditionReadReference,
       addConditionRead_hugeRangeWhoseLastPieceWaits_lastPlaceIsTheOneBefore) {
    init(3, 1);
    for (int i = 0; i < 512; ++i) {
        queue(Queued{i, 1, Range{"HR", i, 1}, 0x55});
    }
    driver.conditionReadList[7] = makeRequest("DM", 2000000000, 1);
    EXPECT_EQ(intf_addConditionRead(makeKey("DM", 1, 2000000000), 9), 1);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(driver.conditionReadList.at(7).type, 9);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"DM", 1999999999, 1}));
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"DM", 2000000000, 1}));
}

// A word register's request may come of 16 bit addresses, and word 0's of 31. Waiting words that a
// jump must not pass over: one met at its last bit only, and one below 0, met from 15 bits before.

TEST_F(ConditionReadReference, addConditionRead_bitsThatMeetAWordAtItsLastBit_replaceIt) {
    init(3, 16);
    for (int i = 0; i < 513; ++i) {
        queue(Queued{i, 1, Range{"HR", i, 1}, 0x55});
    }
    driver.conditionReadList[7] = makeRequest("CIO", 5000, 1);
    // Pieces of 16 bits from bits 15, 31, 47, ...: one for each of the words 0 to 9999.
    EXPECT_EQ(intf_addConditionRead(makeKey("CIO_bit", 15, 160000), 9), 1);
    EXPECT_EQ(driver.conditionReadList.at(7).type, 9);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"CIO", 9999, 1}));
}

TEST_F(ConditionReadReference,
       addConditionRead_bitsThatEndInAWaitingWordBelow0_lastPlaceIsTheWordBefore) {
    init(3, 1);
    for (int i = 0; i < 513; ++i) {
        queue(Queued{i, 1, Range{"HR", i, 1}, 0x55});
    }
    driver.conditionReadList[7] = makeRequest("CIO", -5, 1);
    // Bits -2000 to -82. Divided by 16 and cut towards 0, bits -95 to -80 lie in word -5.
    EXPECT_EQ(intf_addConditionRead(makeKey("CIO_bit", -2000, 1919), 9), 1);
    EXPECT_EQ(driver.conditionReadList.at(7).type, 9);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"CIO", -6, 1}));
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"CIO", -5, 1}));
}

} // namespace

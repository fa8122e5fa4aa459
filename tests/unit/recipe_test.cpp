#include "scan/recipe.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"
#include "unit/naive_merge.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

namespace {

const int ours = 7; ///< the host tag that the fixture gives the driver
const int theirs = 8;

_RCP_VAR_PRO makeVariable(const char* regName, int addr, int len, int rcpOffset, int tag = ours) {
    _RCP_VAR_PRO variable = _RCP_VAR_PRO();
    variable.hostTag = tag;
    variable.station = 3;
    variable.regName = QLatin1String(regName);
    variable.addr = addr;
    variable.len = len;
    variable.rcpOffset = rcpOffset;
    return variable;
}

std::vector<int> offsetsOf(const QVector<_RCP_VAR_PRO>& records) {
    std::vector<int> offsets;
    for (const _RCP_VAR_PRO& record : records) {
        offsets.push_back(record.rcpOffset);
    }
    return offsets;
}

class RecipeAddresses : public FreshDriver {
protected:
    static int set(const std::vector<_RCP_VAR_PRO>& variables) {
        QVector<_RCP_VAR_PRO> vector;
        for (const _RCP_VAR_PRO& variable : variables) {
            vector.append(variable);
        }
        return intf_setRcpAddress(vector);
    }
};

TEST_F(RecipeAddresses, intf_setRcpAddress_neighboursAndOneApart_twoBlocksAndTheirFirsts) {
    EXPECT_EQ(set({makeVariable("DM", 100, 2, 0), makeVariable("DM", 102, 3, 2),
                   makeVariable("DM", 200, 1, 5)}),
              3);
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 5}, Range{"DM", 200, 1}));
    EXPECT_THAT(offsetsOf(driver.rcpVector), ElementsAre(0, 5));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 2));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_sameVariablesInAnotherOrder_sameBlocks) {
    EXPECT_EQ(set({makeVariable("DM", 200, 1, 5), makeVariable("DM", 102, 3, 2),
                   makeVariable("DM", 100, 2, 0)}),
              3);
    EXPECT_THAT(rangesOf(driver.rcpVarVector),
                ElementsAre(Range{"DM", 100, 2}, Range{"DM", 102, 3}, Range{"DM", 200, 1}));
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 5}, Range{"DM", 200, 1}));
    EXPECT_THAT(offsetsOf(driver.rcpVector), ElementsAre(0, 5));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 2));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_oneWordApart_neverBridged) {
    set({makeVariable("DM", 100, 2, 0), makeVariable("DM", 103, 1, 2)});
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 2}, Range{"DM", 103, 1}));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 1));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_tooLongTogether_twoBlocks) {
    set({makeVariable("DM", 100, 40, 0), makeVariable("DM", 140, 40, 40)});
    EXPECT_THAT(rangesOf(driver.rcpVector),
                ElementsAre(Range{"DM", 100, 40}, Range{"DM", 140, 40}));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 1));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_exactlyAFrame_oneBlock) {
    set({makeVariable("DM", 100, 40, 0), makeVariable("DM", 140, 24, 40)});
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 64}));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_otherOwners_neitherCountedNorKept) {
    EXPECT_EQ(set({makeVariable("DM", 100, 1, 0, theirs), makeVariable("DM", 200, 1, 1),
                   makeVariable("DM", 201, 1, 2, 0)}),
              1);
    EXPECT_THAT(rangesOf(driver.rcpVarVector), ElementsAre(Range{"DM", 200, 1}));
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 200, 1}));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_noVariableIsOurs_allEmptyAndReturns0) {
    set({makeVariable("DM", 100, 1, 0)});
    EXPECT_EQ(set({makeVariable("DM", 100, 1, 0, theirs)}), 0);
    EXPECT_TRUE(driver.rcpVarVector.isEmpty());
    EXPECT_TRUE(driver.rcpVector.isEmpty());
    EXPECT_TRUE(driver.rcpBlockFirst.isEmpty());
}

TEST_F(RecipeAddresses, intf_setRcpAddress_emptyVector_allEmptyAndReturns0) {
    set({makeVariable("DM", 100, 1, 0)});
    EXPECT_EQ(set({}), 0);
    EXPECT_TRUE(driver.rcpVarVector.isEmpty());
    EXPECT_TRUE(driver.rcpVector.isEmpty());
    EXPECT_TRUE(driver.rcpBlockFirst.isEmpty());
}

TEST_F(RecipeAddresses, intf_setRcpAddress_secondCall_replacesEverything) {
    set({makeVariable("DM", 100, 1, 0), makeVariable("WR", 1, 1, 1)});
    EXPECT_EQ(set({makeVariable("HR", 9, 2, 4)}), 1);
    EXPECT_THAT(rangesOf(driver.rcpVarVector), ElementsAre(Range{"HR", 9, 2}));
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"HR", 9, 2}));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_duringATransfer_leavesRcpIndexAlone) {
    driver.rcpIndex = 5;
    set({makeVariable("DM", 100, 1, 0)});
    EXPECT_EQ(driver.rcpIndex, 5);
}

TEST_F(RecipeAddresses, intf_setRcpAddress_anyVariables_noCallbackNoMonitorMarkNoRead) {
    set({makeVariable("DM", 100, 3, 0)});
    EXPECT_THAT(takeNotices(), IsEmpty());
    EXPECT_TRUE(driver.dataAreaList.isEmpty());
    EXPECT_TRUE(driver.readList.isEmpty());
}

TEST_F(RecipeAddresses, intf_setRcpAddress_hostAtWork_marksRequestsAndFrameStayAsTheyAre) {
    MessageRecorder debugLines;
    QList<KEY_ADDRESS> polled = {makeKey("DM", 100, 2), makeKey("DM_bit", 1621, 1)};
    intf_addrMerge(polled);
    unsigned char value[] = {0x34, 0x12};
    intf_setData(1, QLatin1String("DM"), 101, 1, value, 0);
    intf_addConditionRead(makeKey("HR", 5, 1), 0);
    FRAME_PRO inFlight = FRAME_PRO();
    ASSERT_EQ(intf_getSendFrame(inFlight), 1U);
    hostBlock[60116] = 1;
    takeNotices();
    set({makeVariable("DM", 100, 3, 0), makeVariable("HR", 5, 1, 3)});
    set({});
    EXPECT_THAT(takeNotices(), IsEmpty());
    EXPECT_THAT(cachedWords(), ElementsAre("DM 100", "DM 101"));
    EXPECT_EQ(cached(1, "DM", 100).wordMonitor, 1);
    EXPECT_EQ(cached(1, "DM", 101).bitMonitor, 0x20);
    EXPECT_EQ(cached(1, "DM", 101).wordMonitor, 1);
    EXPECT_EQ(cached(1, "DM", 101).writePending, 1);
    EXPECT_THAT(rangesOf(driver.readList), ElementsAre(Range{"DM", 100, 2}));
    EXPECT_THAT(rangesOf(driver.writeList), ElementsAre(Range{"DM", 101, 1}));
    EXPECT_THAT(rangesOf(driver.conditionReadList), ElementsAre(Range{"HR", 5, 1}));
    EXPECT_EQ(driver.frameQueue.size(), 1);
    EXPECT_EQ(driver.requestKind, 2);
    EXPECT_EQ(hostBlock[60115], 0);
    EXPECT_EQ(hostBlock[60116], 1);
}

TEST_F(RecipeAddresses, intf_setRcpAddress_keptVariables_areWholeCopies) {
    _RCP_VAR_PRO variable = makeVariable("DM", 100, 3, 17);
    variable.station = -4;
    variable.spare = 99;
    set({variable});
    const _RCP_VAR_PRO& kept = driver.rcpVarVector.at(0);
    EXPECT_EQ(kept.hostTag, ours);
    EXPECT_EQ(kept.station, -4);
    EXPECT_EQ(rangeOf(kept), (Range{"DM", 100, 3}));
    EXPECT_EQ(kept.rcpOffset, 17);
    EXPECT_EQ(kept.spare, 99);
}

TEST_F(RecipeAddresses, intf_setRcpAddress_block_hasItsFirstVariablesStationAndOffset) {
    _RCP_VAR_PRO first = makeVariable("DM", 100, 2, 50);
    _RCP_VAR_PRO second = makeVariable("DM", 102, 1, 10);
    first.station = 1;
    first.spare = 99;
    second.station = 2;
    set({second, first});
    ASSERT_EQ(driver.rcpVector.size(), 1);
    EXPECT_EQ(driver.rcpVector.at(0).station, 1);
    EXPECT_EQ(driver.rcpVector.at(0).rcpOffset, 50);
    EXPECT_EQ(driver.rcpVector.at(0).hostTag, 0);
    EXPECT_EQ(driver.rcpVector.at(0).spare, 0);
}

TEST_F(RecipeAddresses, intf_setRcpAddress_innerVariable_cutsTheBlockBack) {
    set({makeVariable("DM", 100, 10, 0), makeVariable("DM", 105, 2, 10)});
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 7}));
    EXPECT_THAT(rangesOf(driver.rcpVarVector),
                ElementsAre(Range{"DM", 100, 10}, Range{"DM", 105, 2}));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_equalNameAndAddress_keepTheHostsOrder) {
    set({makeVariable("DM", 100, 5, 1), makeVariable("DM", 100, 2, 2),
         makeVariable("DM", 90, 1, 3)});
    EXPECT_THAT(offsetsOf(driver.rcpVarVector), ElementsAre(3, 1, 2));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_weightTieAcrossNames_hostsOrderDecides) {
    set({makeVariable("WR", 0, 1, 1), makeVariable("CIO", 65535, 1, 2)});
    EXPECT_THAT(offsetsOf(driver.rcpVarVector), ElementsAre(1, 2));
    set({makeVariable("CIO", 65536, 1, 2), makeVariable("WR", 0, 1, 1)});
    EXPECT_THAT(offsetsOf(driver.rcpVarVector), ElementsAre(1, 2));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_bitNames_keptAndSortedAsTheyAre) {
    set({makeVariable("CIO", 0, 1, 1), makeVariable("DM_bit", 100, 10, 2),
         makeVariable("XX", 5, 1, 3), makeVariable("DM_bit", 110, 5, 4)});
    EXPECT_THAT(rangesOf(driver.rcpVector),
                ElementsAre(Range{"XX", 5, 1}, Range{"DM_bit", 100, 15}, Range{"CIO", 0, 1}));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 1, 3));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_negativeWeight_comparedUnsignedAndSortsLast) {
    set({makeVariable("XX", -1, 1, 1), makeVariable("DM", 100, 1, 2)});
    EXPECT_THAT(offsetsOf(driver.rcpVarVector), ElementsAre(2, 1));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_variableLongerThanAFrame_neitherSplitNorRefused) {
    set({makeVariable("DM", 100, 600, 0)});
    EXPECT_THAT(rangesOf(driver.rcpVector), ElementsAre(Range{"DM", 100, 600}));
}

TEST_F(RecipeAddresses, intf_setRcpAddress_randomVariables_sameBlocksAsTheNaiveMerge) {
    std::mt19937 random(8151U);
    const auto below = [&random](unsigned bound) { return static_cast<int>(random() % bound); };
    static const char* const names[] = {"DM", "DM", "CIO", "WR", "T", "C", "XX", "DM_bit"};
    for (int round = 0; round < 200; ++round) {
        std::vector<_RCP_VAR_PRO> variables;
        std::vector<naive::Key> kept;
        const int count = 1 + below(30);
        for (int i = 0; i < count; ++i) {
            const int tag = i > 0 && below(5) == 0 ? theirs : ours;
            variables.push_back(makeVariable(names[below(8)], below(150), 1 + below(12), i, tag));
            const _RCP_VAR_PRO& last = variables.back();
            if (tag == ours) {
                kept.push_back(naive::Key{last.regName.toStdString(), last.addr, last.len, 3, i});
            }
        }
        naive::bubbleSort(kept);
        std::vector<int> blockFirst;
        const std::vector<naive::Key> blocks = naive::merge(kept, 2, 64, blockFirst);

        ASSERT_EQ(set(variables), static_cast<int>(kept.size())) << round;

        std::vector<int> keptMarks;
        keptMarks.reserve(kept.size());
        for (const naive::Key& key : kept) {
            keptMarks.push_back(key.mark);
        }
        std::vector<Range> blockRanges;
        std::vector<int> blockMarks;
        for (const naive::Key& block : blocks) {
            blockRanges.push_back(Range{block.regName, block.addr, block.len});
            blockMarks.push_back(block.mark);
        }
        ASSERT_EQ(offsetsOf(driver.rcpVarVector), keptMarks) << round;
        ASSERT_EQ(rangesOf(driver.rcpVector), blockRanges) << round;
        ASSERT_EQ(offsetsOf(driver.rcpVector), blockMarks) << round;
        ASSERT_THAT(driver.rcpBlockFirst, ElementsAreArray(blockFirst)) << round;
    }
}

// A block as a request

class RecipeRequest : public FreshDriver {
protected:
    RecipeRequest() {
        for (std::size_t i = 0; i < recipeBuffer.size(); ++i) {
            recipeBuffer[i] = static_cast<unsigned short>(0x1000 + i);
        }
        std::memset(request.data, 0xEE, sizeof request.data);
        request.type = 41;
        request.station = 42;
        request.regName = QLatin1String("old");
        request.addr = 43;
        request.len = 44;
    }

    /// How many bytes from the start of the request's data equal the buffer from `rcpOffset` on,
    /// when all others are zero; -1 when they are not.
    int copiedBytes(int rcpOffset) const {
        const unsigned char* buffer =
            reinterpret_cast<const unsigned char*>(recipeBuffer.data() + rcpOffset);
        int copied = 0;
        while (copied < VELKOR_DATA_SIZE && request.data[copied] != 0 &&
               request.data[copied] == buffer[copied]) {
            ++copied;
        }
        for (int i = copied; i < VELKOR_DATA_SIZE; ++i) {
            if (request.data[i] != 0) {
                return -1;
            }
        }
        return copied;
    }

    /// The buffer without a zero byte in it, so that copied bytes can be told from cleared ones.
    void fillWithoutZeros() {
        for (std::size_t i = 0; i < recipeBuffer.size(); ++i) {
            const unsigned low = 1U + static_cast<unsigned>(i) % 251U;
            const unsigned high = 1U + static_cast<unsigned>(i) % 241U;
            recipeBuffer[i] = static_cast<unsigned short>(high * 256U + low);
        }
    }

    VARIABLE request = VARIABLE();
};

TEST_F(RecipeRequest, rcpAddrToVar_withData_setsRangeAndKeepsType) {
    rcpAddrToVar(makeVariable("DM", 100, 5, 0), request, 1);
    EXPECT_EQ(request.type, 41);
    EXPECT_EQ(request.station, 3);
    EXPECT_EQ(rangeOf(request), (Range{"DM", 100, 5}));
}

TEST_F(RecipeRequest, rcpAddrToVar_withoutData_setsRangeAndClearsData) {
    rcpAddrToVar(makeVariable("DM", 100, 5, 0), request, 0);
    EXPECT_EQ(request.type, 41);
    EXPECT_EQ(request.station, 3);
    EXPECT_EQ(rangeOf(request), (Range{"DM", 100, 5}));
    EXPECT_THAT(request.data, Each(0));
}

TEST_F(RecipeRequest, rcpAddrToVar_withData_copiesTheBlocksWordsFromItsOffsetInHostOrder) {
    rcpAddrToVar(makeVariable("DM", 100, 3, 20), request, 1);
    unsigned short words[3];
    std::memcpy(words, request.data, sizeof words);
    EXPECT_THAT(words, ElementsAre(0x1014, 0x1015, 0x1016));
    for (int i = 6; i < VELKOR_DATA_SIZE; ++i) {
        ASSERT_EQ(request.data[i], 0) << i;
    }
}

TEST_F(RecipeRequest, rcpAddrToVar_anyNonzeroFlag_copies) {
    fillWithoutZeros();
    for (int flag : {1, 2, -1, 256}) {
        rcpAddrToVar(makeVariable("DM", 100, 4, 9), request, flag);
        EXPECT_EQ(copiedBytes(9), 8) << flag;
    }
}

TEST_F(RecipeRequest, rcpAddrToVar_512Words_copiesThemAll) {
    fillWithoutZeros();
    rcpAddrToVar(makeVariable("DM", 100, 512, 7), request, 1);
    EXPECT_EQ(copiedBytes(7), 1024);
}

TEST_F(RecipeRequest, rcpAddrToVar_moreThan512Words_copies1024BytesAndKeepsTheLength) {
    fillWithoutZeros();
    const int lastOffset = static_cast<int>(recipeBuffer.size()) - 512; // no byte behind to read
    for (int len : {513, 600, 1073741824, highestInt}) {
        rcpAddrToVar(makeVariable("DM", 100, len, lastOffset), request, 1);
        EXPECT_EQ(copiedBytes(lastOffset), 1024) << len;
        EXPECT_EQ(request.len, len);
    }
}

TEST_F(RecipeRequest, rcpAddrToVar_lengthZeroOrNegative_copiesNothingAndKeepsTheLength) {
    fillWithoutZeros();
    for (int len : {0, -1, -512, -1073741824, lowestInt}) {
        std::memset(request.data, 0xEE, sizeof request.data);
        rcpAddrToVar(makeVariable("DM", 100, len, 0), request, 1);
        EXPECT_THAT(request.data, Each(0)) << len;
        EXPECT_EQ(request.len, len);
    }
}

TEST_F(RecipeRequest, rcpAddrToVar_withoutData_doesNotLookAtTheOffset) {
    rcpAddrToVar(makeVariable("DM", 100, 600, highestInt), request, 0);
    EXPECT_THAT(request.data, Each(0));
}

} // namespace

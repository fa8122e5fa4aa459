// Runs of addresses of one register, as text and as number.

#include "driver/host_interface.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

struct CopyRow {
    const char* regName;
    int start, count, step;
    int result;
    std::vector<std::string> texts;
    std::vector<int> values;
};

const std::vector<CopyRow> copyRows = {
    {"DM", 100, 3, 10, 1, {"100", "110", "120"}, {100, 110, 120}},
    {"DM", 32760, 3, 5, 2, {"32760", "32765", "32767"}, {32760, 32765, 32767}},
    {"CIO_bit", 1614, 3, 1, 1, {"100.14", "100.15", "101.0"}, {1614, 1615, 1616}},
    {"CIO_bit", 98303, 2, 1, 2, {"6143.15", "6143.15"}, {98303, 98303}},
    {"CIO_bit", 1605, 1, 1, 1, {"100.5"}, {1605}},
    {"CIO_bit", 9, 2, 1, 1, {"0.9", "0.10"}, {9, 10}},
    // The maximum itself is no cut.
    {"DM", 32767, 1, 1, 1, {"32767"}, {32767}},
    {"DM", 32768, 1, 1, 2, {"32767"}, {32767}},
    {"CIO", 6142, 3, 1, 2, {"6142", "6143", "6143"}, {6142, 6143, 6143}},
    {"WR", 511, 2, 1, 2, {"511", "511"}, {511, 511}},
    {"HR", 1535, 2, 1, 2, {"1535", "1535"}, {1535, 1535}},
    {"AR", 959, 2, 1, 2, {"959", "959"}, {959, 959}},
    {"T", 4095, 2, 1, 2, {"4095", "4095"}, {4095, 4095}},
    {"C", 4095, 2, 1, 2, {"4095", "4095"}, {4095, 4095}},
    {"WR_bit", 8191, 2, 1, 2, {"511.15", "511.15"}, {8191, 8191}},
    {"HR_bit", 24575, 2, 1, 2, {"1535.15", "1535.15"}, {24575, 24575}},
    {"AR_bit", 15359, 2, 1, 2, {"959.15", "959.15"}, {15359, 15359}},
    {"DM_bit", 524287, 2, 1, 2, {"32767.15", "32767.15"}, {524287, 524287}},
    // Once cut, the result stays 2 though later addresses lie within.
    {"DM", 32768, 3, -1, 2, {"32767", "32767", "32766"}, {32767, 32767, 32766}},
    // Steps of 0 and below.
    {"DM", 7, 3, 0, 1, {"7", "7", "7"}, {7, 7, 7}},
    {"DM", 99999, 2, 0, 2, {"32767", "32767"}, {32767, 32767}},
    {"DM", 20, 3, -10, 1, {"20", "10", "0"}, {20, 10, 0}},
    // Counts below 1 give nothing.
    {"DM", 100, 0, 1, 1, {}, {}},
    {"DM", 100, -1, 1, 1, {}, {}},
    {"DM", 99999, INT_MIN, 1, 1, {}, {}},
    // The minimum is not checked.
    {"AR_bit", 0, 2, 1, 1, {"0.0", "0.1"}, {0, 1}},
    // Below 0 the texts show the number unsigned, word and bit apart (truncated toward zero).
    {"DM", 0, 2, -1, 1, {"0", "4294967295"}, {0, -1}},
    {"CIO_bit", -1, 1, 0, 1, {"0.4294967295"}, {-1}},
    {"CIO_bit", -16, 1, 0, 1, {"4294967295.0"}, {-16}},
    {"CIO_bit", -17, 1, 0, 1, {"4294967295.4294967295"}, {-17}},
    {"CIO_bit", INT_MIN, 1, 0, 1, {"4160749568.0"}, {INT_MIN}}, // 2^32 - 2^27
    // Steps that leave the 32-bit range: beyond the maximum is cut, below it the low bits count.
    {"DM", 0, 3, INT_MAX, 2, {"0", "32767", "32767"}, {0, 32767, 32767}},
    {"DM", INT_MAX, 3, INT_MAX, 2, {"32767", "32767", "32767"}, {32767, 32767, 32767}},
    {"CIO_bit", INT_MAX, 2, INT_MAX, 2, {"6143.15", "6143.15"}, {98303, 98303}},
    {"DM", INT_MIN, 3, INT_MAX, 2, {"2147483648", "4294967295", "32767"}, {INT_MIN, -1, 32767}},
    {"DM", INT_MIN, 2, -1, 1, {"2147483648", "2147483647"}, {INT_MIN, INT_MAX}},
    {"DM", 0, 3, INT_MIN, 1, {"0", "2147483648", "0"}, {0, INT_MIN, 0}},
    {"DM",
     5,
     5,
     INT_MIN,
     1,
     {"5", "2147483653", "5", "2147483653", "5"},
     {5, -2147483643, 5, -2147483643, 5}},
};

const char* const unknownNames[] = {"", "XX", "dm", "DM ", " DM", "CIO_BIT", "CIO_bit ", "DM,"};

std::vector<std::string> asStrings(const QVector<QString>& texts) {
    std::vector<std::string> result;
    for (const QString& text : texts) {
        result.push_back(text.toStdString());
    }
    return result;
}

std::vector<int> asInts(const QVector<int>& values) {
    return std::vector<int>(values.begin(), values.end());
}

} // namespace

TEST(MultiCopy, multiCopy_rows_textsValuesAndResult) {
    for (const CopyRow& row : copyRows) {
        SCOPED_TRACE(::testing::Message() << row.regName << " start " << row.start << " count "
                                          << row.count << " step " << row.step);
        QVector<QString> texts;
        QVector<int> values;
        EXPECT_EQ(intf_multiCopy(QLatin1String(row.regName), row.start, row.count, row.step, texts,
                                 values),
                  row.result);
        EXPECT_EQ(asStrings(texts), row.texts);
        EXPECT_EQ(asInts(values), row.values);
    }
}

TEST(MultiCopy, multiCopy_vectorsNotEmpty_appended) {
    QVector<QString> texts(1, QLatin1String("kept"));
    QVector<int> values(2, 9);
    EXPECT_EQ(intf_multiCopy(QLatin1String("T"), 1, 2, 1, texts, values), 1);
    EXPECT_EQ(asStrings(texts), (std::vector<std::string>{"kept", "1", "2"}));
    EXPECT_EQ(asInts(values), (std::vector<int>{9, 9, 1, 2}));
}

TEST(MultiCopy, multiCopy_unknownName_0AndNothingAppended) {
    for (const char* name : unknownNames) {
        for (int count : {5, 0, INT_MAX}) {
            QVector<QString> texts(1, QLatin1String("kept"));
            QVector<int> values(1, 9);
            EXPECT_EQ(intf_multiCopy(QLatin1String(name), 0, count, 1, texts, values), 0)
                << '"' << name << '"';
            EXPECT_EQ(texts.size(), 1) << '"' << name << '"';
            EXPECT_EQ(values.size(), 1) << '"' << name << '"';
        }
    }
}

TEST(MultiCopy, multiCopy_manyAddresses_oneEntryEach) {
    QVector<QString> texts;
    QVector<int> values;
    EXPECT_EQ(intf_multiCopy(QLatin1String("DM"), 0, 100000, 1, texts, values), 2);
    ASSERT_EQ(texts.size(), 100000);
    ASSERT_EQ(values.size(), 100000);
    EXPECT_EQ(values.at(32767), 32767);
    EXPECT_EQ(values.at(32768), 32767);
    EXPECT_EQ(texts.at(99999), QLatin1String("32767"));
}

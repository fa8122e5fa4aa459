#include "panel/files/csv_reader.h"
#include "panel/output/output.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

QStringList texts(const CsvRow& row) {
    QStringList result;
    for (const CsvField& field : row.fields) {
        result.append(field.text);
    }
    return result;
}

TEST(ParseCsv, plainRows_givesTheFields) {
    const CsvContent content = parseCsv("a,b\n1,,3\n");
    ASSERT_EQ(content.rows.size(), 2);
    EXPECT_EQ(texts(content.rows.at(0)), QStringList({"a", "b"}));
    EXPECT_EQ(texts(content.rows.at(1)), QStringList({"1", "", "3"}));
    EXPECT_TRUE(content.errors.isEmpty());
}

TEST(ParseCsv, quotedField_mayHoldCommasQuotesAndLineEnds) {
    const CsvContent content = parseCsv("\"a,b\",\"say \"\"hi\"\"\",\"two\nlines\"\n");
    ASSERT_EQ(content.rows.size(), 1);
    EXPECT_EQ(texts(content.rows.at(0)), QStringList({"a,b", "say \"hi\"", "two\nlines"}));
}

TEST(ParseCsv, crlfAndByteOrderMark_areNoPartOfTheFields) {
    const CsvContent content = parseCsv("\xEF\xBB\xBFname,x\r\nv,1\r\n");
    ASSERT_EQ(content.rows.size(), 2);
    EXPECT_EQ(texts(content.rows.at(0)), QStringList({"name", "x"}));
    EXPECT_EQ(texts(content.rows.at(1)), QStringList({"v", "1"}));
}

TEST(ParseCsv, emptyLines_areSkippedAndCounted) {
    const CsvContent content = parseCsv("a\n\n\nb\n");
    ASSERT_EQ(content.rows.size(), 2);
    EXPECT_EQ(content.rows.at(1).line, 4);
}

TEST(ParseCsv, noLineEndAtTheEnd_keepsTheLastRow) {
    EXPECT_EQ(parseCsv("a,b\nc,d").rows.size(), 2);
}

TEST(ParseCsv, fields_knowLineAndColumn) {
    const CsvContent content = parseCsv("a,bc\n\"x\ny\",z\n");
    EXPECT_EQ(content.rows.at(0).fields.at(1).column, 3);
    // "z" follows a field that goes over a line end: line 3, after y", which takes three places.
    EXPECT_EQ(content.rows.at(1).fields.at(1).line, 3);
    EXPECT_EQ(content.rows.at(1).fields.at(1).column, 4);
}

struct BadCase {
    const char* name;
    const char* csv;
    int line;
    int column;
};

class ParseCsvFault : public testing::TestWithParam<BadCase> {};

TEST_P(ParseCsvFault, badText_isNamedByLineAndColumn) {
    const CsvContent content = parseCsv(GetParam().csv);
    ASSERT_FALSE(content.errors.isEmpty());
    EXPECT_EQ(content.errors.first().line, GetParam().line);
    EXPECT_EQ(content.errors.first().column, GetParam().column);
}

const BadCase BAD_CASES[] = {
    {"neverClosed", "a\nb,\"c\n", 2, 3},
    {"quoteInsideBareField", "a,b\"c\n", 1, 4},
    {"textAfterQuote", "\"a\"b,c\n", 1, 4},
    {"latin1",
     "a,b\nc,\xB0"
     "C\n",
     2, 3},
    {"controlCharacter", "a,b\nc,d\x1B[31m\n", 2, 4},
    {"controlCharacterInQuotes", "a\n\"\x07\"\n", 2, 2},
};

INSTANTIATE_TEST_SUITE_P(Panel, ParseCsvFault, testing::ValuesIn(BAD_CASES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseCsv, zeroByte_isNamedWithItsPlaceAndCutsNothing) {
    const CsvContent content = parseCsv(QByteArray("a,b\nc\0d,e\nf,g\n", 14));
    ASSERT_EQ(content.errors.size(), 1);
    EXPECT_EQ(plain(errorText("t.csv", content.errors.first())),
              "t.csv:2:2: a control character (code 0); a file of this kind is plain text");
    EXPECT_EQ(content.rows.size(), 3);
}

TEST(CsvErrors, faultsWithoutEnd_areKeptUpToABound) {
    CsvErrors errors;
    for (int line = 1; line <= CsvErrors::MOST; ++line) {
        EXPECT_FALSE(errors.full());
        errors.append({line, 1, "wrong"});
    }
    EXPECT_TRUE(errors.full());
    errors.append({CsvErrors::MOST + 1, 1, "wrong"});
    EXPECT_EQ(errors.size(), CsvErrors::MOST);
    EXPECT_EQ(errors.at(CsvErrors::MOST - 1).line, CsvErrors::MOST);
}

TEST(ErrorText, controlCharacters_areWrittenOut) {
    EXPECT_EQ(plain(errorText("a\x1b[2J.csv", {2, 3, "\"\x1b]0;x\x07\ny\" is no register"})),
              "a\\x1B[2J.csv:2:3: \"\\x1B]0;x\\x07\\x0Ay\" is no register");
}

TEST(ErrorText, percentSignsInTheFilesName_stay) {
    EXPECT_EQ(plain(errorText("100%1%2.csv", {2, 3, "wrong"})), "100%1%2.csv:2:3: wrong");
}

TEST(ErrorText, longText_isShortenedInTheMiddle) {
    const QString text = errorText(
        "t.csv", {1, 1, "\"" + QString(1000000, 'x') + "\" is no column; the columns are a,b"});
    EXPECT_LT(text.size(), 600);
    EXPECT_TRUE(text.startsWith("t.csv:1:1: \"xxx")) << plain(text);
    EXPECT_TRUE(text.endsWith("xxx\" is no column; the columns are a,b")) << plain(text);
}

TEST(CsvLine, fieldsThatNeedIt_areQuoted) {
    EXPECT_EQ(plain(csvLine({"a", "b,c", "d\"e", "f\ng"})), "a,\"b,c\",\"d\"\"e\",\"f\ng\"");
}

TEST(CsvLine, parsedAgain_givesTheSameFields) {
    const QStringList fields{"", "\"", ",", "a\r\nb", " x "};
    EXPECT_EQ(texts(parseCsv(csvLine(fields).toUtf8()).rows.at(0)), fields);
}

TEST(CsvTable, columnsInAnyOrder_areFoundByName) {
    CsvErrors errors;
    const CsvTable table(parseCsv("b,a\n1,2\n"), {"a"}, {"b"}, &errors);
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_EQ(plain(table.field(table.rows().at(0), "a").text), "2");
}

TEST(CsvTable, missingColumn_isAnError) {
    CsvErrors errors;
    const CsvTable table(parseCsv("b\n"), {"a"}, {"b"}, &errors);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors.first().text.contains("\"a\" is missing"));
}

TEST(CsvTable, unknownColumn_isNamedWithItsPlace) {
    CsvErrors errors;
    const CsvTable table(parseCsv("a,zz\n"), {"a"}, {}, &errors);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(plain(errorText("t.csv", errors.first())),
              "t.csv:1:3: \"zz\" is no column; the columns are a");
}

TEST(CsvTable, semicolons_areNamedInsteadOfEveryColumn) {
    CsvErrors errors;
    const CsvTable table(parseCsv("a;b\n1;2\n"), {"a", "b"}, {}, &errors);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(plain(errorText("t.csv", errors.first())),
              "t.csv:1:1: the columns are separated by semicolons; right are commas, as in a,b");
}

TEST(CsvTable, tooManyFields_isAnErrorAtTheFirstOne) {
    CsvErrors errors;
    const CsvTable table(parseCsv("a,b\n1,2,3\n"), {"a", "b"}, {}, &errors);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_EQ(errors.first().line, 2);
    EXPECT_EQ(errors.first().column, 5);
}

TEST(CsvTable, manyUnknownColumns_areReportedUpToTheBound) {
    CsvErrors errors;
    const CsvTable table(parseCsv(QByteArray(100000, ',')), {"a"}, {}, &errors);
    EXPECT_EQ(errors.size(), CsvErrors::MOST);
}

TEST(CsvTable, emptyFile_saysWhatTheFirstLineIs) {
    CsvErrors errors;
    const CsvTable table(parseCsv(""), {"a"}, {"b"}, &errors);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors.first().text.contains("a,b"));
}

} // namespace

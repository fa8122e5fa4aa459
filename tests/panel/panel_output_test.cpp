#include "panel/output/output.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

std::string print(OutputFormat format) {
    QString text;
    QTextStream out(&text);
    printRecords(out, format, {"name", "value"}, {{"a,b", 1}, {"long name", Cell(2.5, 2)}});
    out.flush();
    return plain(text);
}

TEST(PrintRecords, table_alignsItsColumns) {
    EXPECT_EQ(print(OutputFormat::Table), "name       value\n"
                                          "a,b        1\n"
                                          "long name  2.50\n");
}

TEST(PrintRecords, csv_quotesWhereNeeded) {
    EXPECT_EQ(print(OutputFormat::Csv), "name,value\n\"a,b\",1\nlong name,2.50\n");
}

TEST(PrintRecords, json_isOneObjectALineWithBareNumbers) {
    EXPECT_EQ(print(OutputFormat::Json), "{\"name\": \"a,b\", \"value\": 1}\n"
                                         "{\"name\": \"long name\", \"value\": 2.50}\n");
}

TEST(JsonString, specialCharacters_areEscaped) {
    EXPECT_EQ(plain(jsonString("a\"b\\c\n")), "\"a\\\"b\\\\c\\n\"");
}

} // namespace

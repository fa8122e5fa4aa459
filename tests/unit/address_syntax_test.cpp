// The text form of addresses, and the two checks that rest on it.

#include "driver/address_syntax.h"

#include "driver/host_interface.h"
#include "driver/register_catalogue.h"
#include "support/patched_register.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

const int untouched = 777;

struct BitTextRow {
    const char* text;
    int address; ///< `untouched`: refused
};

const BitTextRow bitTextRows[] = {
    {"100.5", 1605},
    {"100.15", 1615},
    {"100.10", 1610},
    {"100.9", 1609},
    {"0.0", 0},
    {"0.1", 1},
    {"6143.15", 98303},
    {"448.0", 7168},
    {"007.3", 115},
    {"00000000000.1", 1},
    // The word may be negative; "-0" is 0.
    {"-1.5", -11},
    {"-1.0", -16},
    {"-0.5", 5},
    {"+1.5", 21},
    {" 1.5", 21},
    {"1 .5", 21},
    {"  12  .10", 202},
    // One digit for 0 to 9, two for 10 to 15.
    {"100.05", untouched},
    {"100.09", untouched},
    {"100.+9", untouched},
    {"100. 9", untouched},
    {"100.00", untouched},
    {"100.16", untouched},
    {"100.99", untouched},
    {"100.015", untouched},
    {"100.100", untouched},
    {"1. 5", untouched},
    {"1.5 ", untouched},
    {"1.+5", untouched},
    {"1.-5", untouched},
    {"1.-1", untouched},
    {"1. ", untouched},
    {"1.a", untouched},
    {"1.1a", untouched},
    {"1. 15", untouched},
    // No point, or more than one.
    {"", untouched},
    {"100", untouched},
    {"100,5", untouched},
    {".", untouched},
    {"..", untouched},
    {"1..5", untouched},
    {"1.2.3", untouched},
    {"1.5.", untouched},
    {".1.5", untouched},
    // One part missing or no number.
    {".5", untouched},
    {"5.", untouched},
    {" .5", untouched},
    {"-.5", untouched},
    {"+.5", untouched},
    {"x.5", untouched},
    {"1x.5", untouched},
    {"0x10.5", untouched},
    {"1e2.5", untouched},
    {"1 2.5", untouched},
    {"- 1.5", untouched},
    {"--1.5", untouched},
    // Beyond 32 bits: no number. Within, the bit address wraps.
    {"2147483648.0", untouched},
    {"-2147483649.0", untouched},
    {"99999999999999999999999999999999999999.5", untouched},
    {"1.99999999999999999999999999999999999999", untouched},
    {"134217727.15", INT_MAX},
    {"134217728.0", INT_MIN},
    {"268435456.3", 3},
    {"2147483647.15", -1},
    {"-2147483648.7", 7},
};

const char* const noNumbers[] = {"",     " ",   ".",    "-",          "+",           "12a",
                                 "a12",  "1.0", "1,0",  "1 2",        "- 1",         "--1",
                                 "0x10", "1e3", "1-",   "2147483648", "-2147483649", "99999999999",
                                 "\xB2", "DM",  "#100", "100#",       "1_000"};

enum Kind { WORD, BIT };

struct CheckRow {
    const char* regName;
    const char* text;
    int count;
    Kind asked;
    int result;
    int out; ///< `untouched`: not written
};

const CheckRow checkRows[] = {
    // Word registers: the number is stored whatever the result, 0 when there is none.
    {"DM", "0", 1, WORD, 0, 0},
    {"DM", "100", 1, WORD, 0, 100},
    {"DM", "32767", 1, WORD, 0, 32767},
    {"DM", "32767", 2, WORD, 2, 32767},
    {"DM", "0", 32768, WORD, 0, 0},
    {"DM", "0", 32769, WORD, 2, 0},
    {"DM", "-1", 1, WORD, 2, -1},
    {"DM", "-2147483648", 1, WORD, 2, INT_MIN},
    {"DM", "2147483647", 1, WORD, 2, INT_MAX},
    {"DM", "32768", 1, WORD, 2, 32768},
    {"DM", "12a", 1, WORD, 4, 0},
    {"DM", "", 1, WORD, 4, 0},
    {"DM", ".", 1, WORD, 4, 0},
    {"DM", "1.2.3", 1, WORD, 4, 0},
    {"DM", "-0.5", 1, WORD, 4, 0},
    {"DM", "100.5", 1, WORD, 4, 0},
    {"DM", "2147483648", 1, WORD, 4, 0},
    {"DM", "99999999999999999999999999999999", 1, WORD, 4, 0},
    {"DM", " 100 ", 1, WORD, 0, 100},
    {"DM", "+100", 1, WORD, 0, 100},
    {"DM", "00100", 1, WORD, 0, 100},
    {"CIO", "6143", 1, WORD, 0, 6143},
    {"CIO", "6144", 1, WORD, 2, 6144},
    {"WR", "511", 1, WORD, 0, 511},
    {"WR", "512", 1, WORD, 2, 512},
    {"HR", "1535", 1, WORD, 0, 1535},
    {"HR", "1536", 1, WORD, 2, 1536},
    {"AR", "0", 1, WORD, 0, 0},
    {"AR", "447", 1, WORD, 0, 447},
    {"AR", "959", 1, WORD, 0, 959},
    {"AR", "960", 1, WORD, 2, 960},
    {"T", "4095", 1, WORD, 0, 4095},
    {"T", "4096", 1, WORD, 2, 4096},
    {"C", "4095", 1, WORD, 0, 4095},
    {"C", "4096", 1, WORD, 2, 4096},
    // Bit registers: what does not parse stores nothing.
    {"CIO_bit", "6143.15", 1, BIT, 0, 98303},
    {"CIO_bit", "6143.15", 2, BIT, 2, 98303},
    {"CIO_bit", "6143.0", 16, BIT, 0, 98288},
    {"CIO_bit", "6143.0", 17, BIT, 2, 98288},
    {"CIO_bit", "6144.0", 1, BIT, 2, 98304},
    {"CIO_bit", "6143", 1, BIT, 4, untouched},
    {"CIO_bit", "", 1, BIT, 4, untouched},
    {"CIO_bit", ".", 1, BIT, 4, untouched},
    {"CIO_bit", "1.2.3", 1, BIT, 4, untouched},
    {"CIO_bit", "-0.5", 1, BIT, 0, 5},
    {"CIO_bit", "-1.15", 1, BIT, 2, -1},
    {"CIO_bit", "2147483648.0", 1, BIT, 4, untouched},
    {"CIO_bit", "2147483647.15", 1, BIT, 2, -1},
    {"CIO_bit", "268435456.3", 1, BIT, 0, 3}, // word * 16 wraps to 0
    {"WR_bit", "511.15", 1, BIT, 0, 8191},
    {"WR_bit", "512.0", 1, BIT, 2, 8192},
    {"HR_bit", "10.05", 1, BIT, 4, untouched},
    {"HR_bit", "10.5", 1, BIT, 0, 165},
    {"HR_bit", "1535.15", 1, BIT, 0, 24575},
    {"HR_bit", "1536.0", 1, BIT, 2, 24576},
    {"AR_bit", "447.15", 1, BIT, 2, 7167},
    {"AR_bit", "448.0", 1, BIT, 0, 7168},
    {"AR_bit", "959.15", 1, BIT, 0, 15359},
    {"AR_bit", "960.0", 1, BIT, 2, 15360},
    {"DM_bit", "32767.15", 1, BIT, 0, 524287},
    {"DM_bit", "32768.0", 1, BIT, 2, 524288},
    // A count of 0 accepts one address past the end; a negative one reaches back from beyond it.
    {"DM", "32768", 0, WORD, 0, 32768},
    {"DM", "32769", 0, WORD, 2, 32769},
    {"DM", "-1", 0, WORD, 2, -1},
    {"CIO_bit", "6144.0", 0, BIT, 0, 98304},
    {"CIO_bit", "6144.1", 0, BIT, 2, 98305},
    {"AR_bit", "447.15", 0, BIT, 2, 7167},
    {"DM", "40000", -7232, WORD, 0, 40000},
    {"DM", "40000", -7231, WORD, 2, 40000},
    {"DM", "2147483647", INT_MIN, WORD, 0, INT_MAX},
    // An over-large count never wraps into the range.
    {"DM", "0", INT_MAX, WORD, 2, 0},
    {"DM", "1", INT_MAX, WORD, 2, 1},
    {"DM", "32767", INT_MAX, WORD, 2, 32767},
    {"DM", "2147483647", INT_MAX, WORD, 2, INT_MAX},
    {"CIO_bit", "6143.15", INT_MAX, BIT, 2, 98303},
    // The wrong kind is refused before the text is looked at.
    {"DM", "100", 1, BIT, 1, untouched},
    {"DM", "12a", 1, BIT, 1, untouched},
    {"DM", "99999", 1, BIT, 1, untouched},
    {"CIO_bit", "100.5", 1, WORD, 1, untouched},
    {"CIO_bit", "rubbish", 1, WORD, 1, untouched},
    {"T", "1", 1, BIT, 1, untouched},
    // A name that is no register is valid, whatever the rest.
    {"XX", "100", 1, WORD, 0, untouched},
    {"XX", "rubbish", INT_MAX, BIT, 0, untouched},
    {"", "", 0, WORD, 0, untouched},
    {"dm", "99999", 1, WORD, 0, untouched},
    {"DM ", "99999", 1, WORD, 0, untouched},
    {" DM", "99999", 1, WORD, 0, untouched},
    {"CIO_BIT", "99999.0", 1, BIT, 0, untouched},
    {"cio_bit", "", 1, BIT, 0, untouched},
};

std::ostream& operator<<(std::ostream& out, const CheckRow& row) {
    return out << row.regName << " \"" << row.text << "\" count " << row.count << " as "
               << (row.asked == WORD ? "word" : "bit");
}

struct CheckAnswer {
    int result;
    int out;
};

CheckAnswer checkAddr(const CheckRow& row, int countKind, int access) {
    CheckAnswer answer = {-1, untouched};
    answer.result = intf_checkAddr(QLatin1String(row.regName), QLatin1String(row.text), &answer.out,
                                   countKind, row.count, access);
    return answer;
}

CheckAnswer checkAddrValidity(const CheckRow& row, int wordExpected) {
    CheckAnswer answer = {-1, untouched};
    answer.result = intf_checkAddrValidity(QLatin1String(row.regName), QLatin1String(row.text),
                                           &answer.out, row.count, wordExpected);
    return answer;
}

const int dmIndex = 11;

} // namespace

TEST(AddressSyntax, a2i_ddd_DD_texts_wordTimes16PlusBitOrUnchanged) {
    for (const BitTextRow& row : bitTextRows) {
        int out = untouched;
        const int expected = row.address == untouched ? -1 : 1;
        EXPECT_EQ(a2i_ddd_DD(QLatin1String(row.text), out), expected) << '"' << row.text << '"';
        EXPECT_EQ(out, row.address) << '"' << row.text << '"';
    }
    int out = untouched;
    EXPECT_EQ(a2i_ddd_DD(QString(), out), -1);
    EXPECT_EQ(out, untouched);
}

TEST(AddressSyntax, hasBitSyntax_kindField_only0IsBit) {
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(hasBitSyntax(registerFields(i)), i < 5) << i;
    }
    for (const char* kind : {"1", "2", "", "00", " 0"}) {
        const QStringList fields = QStringList()
                                   << QLatin1String("d") << QLatin1String("0") << QLatin1String("9")
                                   << QLatin1String(kind) << QLatin1String("1");
        EXPECT_FALSE(hasBitSyntax(fields)) << '"' << kind << '"';
    }
}

TEST(AddressSyntax, parseAddress_bitSyntax_likeTheParser) {
    for (const BitTextRow& row : bitTextRows) {
        int out = untouched;
        EXPECT_EQ(parseAddress(QLatin1String(row.text), true, out), row.address != untouched)
            << '"' << row.text << '"';
        EXPECT_EQ(out, row.address) << '"' << row.text << '"';
    }
}

TEST(AddressSyntax, parseAddress_wordSyntaxNoNumber_stores0) {
    for (const char* text : noNumbers) {
        int out = untouched;
        EXPECT_FALSE(parseAddress(QString::fromLatin1(text), false, out)) << '"' << text << '"';
        EXPECT_EQ(out, 0) << '"' << text << '"';
    }
}

TEST(AddressSyntax, parseAddress_wordSyntaxNumber_stored) {
    const struct {
        const char* text;
        int value;
    } rows[] = {{"0", 0},         {"-0", 0},
                {"100", 100},     {" 100 ", 100},
                {"-7", -7},       {"+7", 7},
                {"0012", 12},     {"2147483647", INT_MAX},
                {"99999", 99999}, {"-2147483648", INT_MIN}};
    for (const auto& row : rows) {
        int out = untouched;
        EXPECT_TRUE(parseAddress(QLatin1String(row.text), false, out)) << '"' << row.text << '"';
        EXPECT_EQ(out, row.value) << '"' << row.text << '"';
    }
}

TEST(AddressCheck, checkAddrValidity_rows_resultAndOut) {
    for (const CheckRow& row : checkRows) {
        // Any value but 0 asks for a word register.
        const int asks[] = {1, -1, INT_MAX};
        for (int ask : asks) {
            const CheckAnswer answer = checkAddrValidity(row, row.asked == WORD ? ask : 0);
            EXPECT_EQ(answer.result, row.result) << row << " wordExpected " << ask;
            EXPECT_EQ(answer.out, row.out) << row << " wordExpected " << ask;
        }
    }
}

TEST(AddressCheck, checkAddr_rows_resultAndOut) {
    for (const CheckRow& row : checkRows) {
        // Any value but -1 asks for a word register.
        const int asks[] = {0, 1, -2, INT_MIN};
        for (int ask : asks) {
            const CheckAnswer answer = checkAddr(row, row.asked == WORD ? ask : -1, 0);
            EXPECT_EQ(answer.result, row.result) << row << " countKind " << ask;
            EXPECT_EQ(answer.out, row.out) << row << " countKind " << ask;
        }
    }
}

TEST(AddressCheck, checkAddr_anyAccess_changesNothingForThisTable) {
    for (const CheckRow& row : checkRows) {
        for (int access : {1, 2, 3, -1, INT_MAX}) {
            const CheckAnswer answer = checkAddr(row, row.asked == WORD ? 0 : -1, access);
            EXPECT_EQ(answer.result, row.result) << row << " access " << access;
            EXPECT_EQ(answer.out, row.out) << row << " access " << access;
        }
    }
}

TEST(AddressCheck, checkAddr_registerWithoutAccess_6BeforeAnythingElse) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,1,0");
    const CheckRow rows[] = {{"DM", "100", 1, WORD, 6, untouched},
                             {"DM", "rubbish", 1, WORD, 6, untouched},
                             {"DM", "100", 1, BIT, 6, untouched}};
    for (const CheckRow& row : rows) {
        for (int access : {1, 2}) {
            const CheckAnswer answer = checkAddr(row, row.asked == WORD ? 0 : -1, access);
            EXPECT_EQ(answer.result, 6) << row << " access " << access;
            EXPECT_EQ(answer.out, untouched) << row << " access " << access;
        }
    }
}

TEST(AddressCheck, checkAddr_registerWithoutAccessAndOtherAccess_checkedAsUsual) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,1,0");
    for (int access : {0, 3, -1}) {
        const CheckAnswer answer = checkAddr({"DM", "100", 1, WORD, 0, 100}, 0, access);
        EXPECT_EQ(answer.result, 0) << access;
        EXPECT_EQ(answer.out, 100) << access;
    }
}

TEST(AddressCheck, checkAddrValidity_registerWithoutAccess_doesNotAsk) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,1,0");
    const CheckAnswer answer = checkAddrValidity({"DM", "100", 1, WORD, 0, 100}, 1);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.out, 100);
}

TEST(AddressCheck, bothChecks_kindOtherThan0And1_isAWordRegister) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,2,1");
    const CheckRow word = {"DM", "100", 1, WORD, 0, 100};
    EXPECT_EQ(checkAddrValidity(word, 1).result, 0);
    EXPECT_EQ(checkAddr(word, 0, 0).result, 0);
    EXPECT_EQ(checkAddrValidity(word, 0).result, 1);
    EXPECT_EQ(checkAddr(word, -1, 0).result, 1);
}

TEST(AddressCheck, bothChecks_argumentOrder_countIsFourthAndFifth) {
    // The same call with its last ints exchanged means something else in each.
    int out = untouched;
    EXPECT_EQ(intf_checkAddrValidity(QLatin1String("DM"), QLatin1String("32767"), &out, 2, 1), 2);
    EXPECT_EQ(intf_checkAddrValidity(QLatin1String("DM"), QLatin1String("32767"), &out, 1, 2), 0);
    EXPECT_EQ(intf_checkAddr(QLatin1String("DM"), QLatin1String("32767"), &out, 1, 2, 1), 2);
    EXPECT_EQ(intf_checkAddr(QLatin1String("DM"), QLatin1String("32767"), &out, 2, 1, 1), 0);
}

// What a host can hand in wrongly: nothing crashes, and an output changes only where its rule says
// so. Rows, through the exported functions.

#include "contract/loaded_driver.h"

#include <QtCore/QStringList>

#include <climits>

namespace {

const int untouched = 777;

const char* const wrongNames[] = {
    "",         " ",
    "dm",       "DM ",
    " DM",      "D M",
    "DM_BIT",   "DM_bit ",
    "_bit",     "CIO_",
    "DM\t",     "DM,CIO",
    "12",       "AVeryLongNameAVeryLongNameAVeryLongNameAVeryLongNameAVeryLongNameAVeryLongName",
    "\xC4\xD6",
};

struct TextRow {
    const char* text;
    int word; ///< as an address of "DM": its number, or `untouched` for a syntax fault
    int bit;  ///< as an address of "DM_bit"
};

// A syntax fault stores 0 for a word register and nothing for a bit register.
const TextRow textRows[] = {
    {"", untouched, untouched},
    {" ", untouched, untouched},
    {".", untouched, untouched},
    {"..", untouched, untouched},
    {"1.2.3", untouched, untouched},
    {"-0.5", untouched, 5},
    {"-0", 0, untouched},
    {"1.", untouched, untouched},
    {".1", untouched, untouched},
    {" 12 ", 12, untouched},
    {" 12 .3", untouched, 195},
    {"12.3 ", untouched, untouched},
    {"12. 3", untouched, untouched},
    {"12 3", untouched, untouched},
    {"+12", 12, untouched},
    {"+12.3", untouched, 195},
    {"12.+3", untouched, untouched},
    {"12,3", untouched, untouched},
    {"0x1F", untouched, untouched},
    {"1e3", untouched, untouched},
    {"twelve", untouched, untouched},
    {"12.three", untouched, untouched},
    {"%1", untouched, untouched},
    {"\xB2", untouched, untouched},
    {"000000000000000000000000000000000000012", 12, untouched},
    {"000000000000000000000000000000000000012.3", untouched, 195},
    {"12.00000000000000000000000000000000000003", untouched, untouched},
    {"11111111111111111111111111111111111111111111111111111111111111111111", untouched, untouched},
    {"11111111111111111111111111111111111111111111111111111111111111111.1", untouched, untouched},
    {"2147483648", untouched, untouched},
    {"-2147483649.1", untouched, untouched},
};

struct CountRow {
    int count;
    int result; ///< for "DM" 100 and for "DM_bit" 100.0, which lie well inside
};

const CountRow countRows[] = {
    {0, 0}, {1, 0}, {-1, 0}, {INT_MIN, 0}, {INT_MAX, 2}, {INT_MAX - 100, 2}, {1000000, 2},
};

struct PropertyRow {
    const char* properties;
    int fields[5]; ///< as they are afterwards; 1, 0, 3, 4, 5 before
};

const PropertyRow propertyRows[] = {
    {"", {1, 0, 3, 4, 5}},
    {"9", {1, 0, 3, 4, 5}},
    {"9#9#9#9", {1, 0, 3, 4, 5}},
    {"9#9#9#9#9", {9, 9, 9, 9, 9}},
    {"9#9#9#9#9#1", {9, 9, 9, 9, 9}},
    {"1#2#3#4#5#6#7#8#9#10#11#12#13#14#15#16#17#18#19#20#21#22#23#24#25#26#27#28#29#30#31#32#33#34#"
     "35#36#37#38#39#40",
     {1, 2, 3, 4, 5}},
    {"####", {0, 0, 0, 0, 0}},
    {"a#b#c#d#e", {0, 0, 0, 0, 0}},
    {"1.5#0x1#1e1#1,1#1 1", {0, 0, 0, 0, 0}},
    {" 9# 9 #9 #+9#-9", {9, 9, 9, 9, -9}},
    {"2147483647#2147483648#-2147483648#-2147483649#99999999999999999999",
     {INT_MAX, 0, INT_MIN, 0, 0}},
};

const char* const wrongPages[] = {
    "", ",", "6", "6,1,2,3,4,5", "6,1,2,3,4,5,6,7", "6;1;2;3;4;5;6", "6,1,2,3,4,5,6,", ",,,,,,,",
};

} // namespace

class BadInput : public LoadedDriver {
protected:
    static QString text(const char* latin1) { return QString::fromLatin1(latin1); }

    void expectFields(const int (&fields)[5]) {
        EXPECT_EQ(object.hostTag, fields[0]);
        EXPECT_EQ(object.writeDisabled, fields[1]);
        EXPECT_EQ(object.propertyItem2, fields[2]);
        EXPECT_EQ(object.retryLimit, fields[3]);
        EXPECT_EQ(object.maxWordsPerFrame, fields[4]);
    }
};

TEST_F(BadInput, addressTexts_wordRegister_numberOrFault) {
    for (const TextRow& row : textRows) {
        const bool fault = row.word == untouched;
        int out = untouched;
        EXPECT_EQ(intf.checkAddrValidity(text("DM"), text(row.text), &out, 1, 1), fault ? 4 : 0)
            << '"' << row.text << '"';
        EXPECT_EQ(out, fault ? 0 : row.word) << '"' << row.text << '"';
        out = untouched;
        EXPECT_EQ(intf.checkAddr(text("DM"), text(row.text), &out, 0, 1, 1), fault ? 4 : 0)
            << '"' << row.text << '"';
        EXPECT_EQ(out, fault ? 0 : row.word) << '"' << row.text << '"';
    }
}

TEST_F(BadInput, addressTexts_bitRegister_numberOrFaultWithOutUntouched) {
    for (const TextRow& row : textRows) {
        const int result = row.bit == untouched ? 4 : 0;
        int out = untouched;
        EXPECT_EQ(intf.checkAddrValidity(text("DM_bit"), text(row.text), &out, 1, 0), result)
            << '"' << row.text << '"';
        EXPECT_EQ(out, row.bit) << '"' << row.text << '"';
        out = untouched;
        EXPECT_EQ(intf.checkAddr(text("DM_bit"), text(row.text), &out, -1, 1, 2), result)
            << '"' << row.text << '"';
        EXPECT_EQ(out, row.bit) << '"' << row.text << '"';
    }
}

TEST_F(BadInput, addressTexts_nullText_syntaxFault) {
    int out = untouched;
    EXPECT_EQ(intf.checkAddrValidity(text("DM_bit"), QString(), &out, 1, 0), 4);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(intf.checkAddrValidity(text("DM"), QString(), &out, 1, 1), 4);
    EXPECT_EQ(out, 0);
}

TEST_F(BadInput, counts_addressWithinTheRegister_neverWrapIntoIt) {
    for (const CountRow& row : countRows) {
        int out = untouched;
        EXPECT_EQ(intf.checkAddrValidity(text("DM"), text("100"), &out, row.count, 1), row.result)
            << row.count;
        EXPECT_EQ(out, 100) << row.count;
        EXPECT_EQ(intf.checkAddr(text("DM_bit"), text("100.0"), &out, -1, row.count, 1), row.result)
            << row.count;
        EXPECT_EQ(out, 1600) << row.count;
    }
}

TEST_F(BadInput, registerNames_addressChecks_validAndOutUntouched) {
    for (const char* name : wrongNames) {
        for (const TextRow& row : textRows) {
            int out = untouched;
            EXPECT_EQ(intf.checkAddrValidity(text(name), text(row.text), &out, INT_MAX, 1), 0);
            EXPECT_EQ(intf.checkAddrValidity(text(name), text(row.text), &out, 1, 0), 0);
            EXPECT_EQ(intf.checkAddr(text(name), text(row.text), &out, -1, INT_MIN, 1), 0);
            EXPECT_EQ(out, untouched) << '"' << name << "\" \"" << row.text << '"';
        }
    }
}

TEST_F(BadInput, registerNames_description_0AndNothing) {
    for (const char* name : wrongNames) {
        QStringList texts;
        EXPECT_EQ(intf.getRegDiscription(text(name), texts), 0) << '"' << name << '"';
        EXPECT_TRUE(texts.isEmpty()) << '"' << name << '"';
    }
}

TEST_F(BadInput, registerNames_multiCopy_0AndNothing) {
    for (const char* name : wrongNames) {
        QVector<QString> texts;
        QVector<int> values;
        EXPECT_EQ(intf.multiCopy(text(name), INT_MAX, 3, INT_MAX, texts, values), 0)
            << '"' << name << '"';
        EXPECT_TRUE(texts.isEmpty()) << '"' << name << '"';
        EXPECT_TRUE(values.isEmpty()) << '"' << name << '"';
    }
}

TEST_F(BadInput, multiCopy_startAndStepAtTheEnds_oneEntryEach) {
    for (const char* name : {"DM", "CIO_bit"}) {
        for (int start : {0, -1, INT_MAX, INT_MIN}) {
            for (int step : {0, 1, -1, INT_MAX, INT_MIN}) {
                QVector<QString> texts;
                QVector<int> values;
                const int result = intf.multiCopy(text(name), start, 5, step, texts, values);
                EXPECT_TRUE(result == 1 || result == 2) << start << ' ' << step;
                EXPECT_EQ(texts.size(), 5) << start << ' ' << step;
                EXPECT_EQ(values.size(), 5) << start << ' ' << step;
            }
        }
    }
}

TEST_F(BadInput, multiCopy_stepBeyond32Bits_cutOrLow32Bits) {
    QVector<QString> texts;
    QVector<int> values;
    EXPECT_EQ(intf.multiCopy(text("DM"), 1, 3, INT_MAX, texts, values), 2);
    EXPECT_EQ(values, QVector<int>() << 1 << 32767 << 32767);
    values.clear();
    EXPECT_EQ(intf.multiCopy(text("DM"), 1, 3, INT_MIN, texts, values), 1);
    EXPECT_EQ(values, QVector<int>() << 1 << -2147483647 << 1);
}

TEST_F(BadInput, registerTypes_other_0AndNothing) {
    for (int type : {-1, 2, 3, 100, INT_MAX, INT_MIN}) {
        QStringList names;
        EXPECT_EQ(intf.getRegListByType(type, names), 0) << type;
        EXPECT_TRUE(names.isEmpty()) << type;
    }
}

TEST_F(BadInput, properties_rows_fieldsTakenOrKept) {
    for (const PropertyRow& row : propertyRows) {
        SCOPED_TRACE(row.properties);
        host.bind(intf, "1#0#3#4#5");
        host.initOut = untouched;
        EXPECT_EQ(host.bind(intf, row.properties), 1);
        EXPECT_EQ(host.initOut, 2);
        expectFields(row.fields);
    }
}

TEST_F(BadInput, properties_veryLong_firstFiveItemsTaken) {
    std::string properties = "1#0#3#4#5";
    for (int i = 0; i < 100000; ++i) {
        properties += "#9";
    }
    EXPECT_EQ(host.bind(intf, properties.c_str()), 1);
    expectFields({1, 0, 3, 4, 5});
}

TEST_F(BadInput, nodePages_otherThanSevenItems_nodesUnchanged) {
    intf.setDriverPropertyPage(text("6,1,2,3,4,5,6"));
    for (const char* page : wrongPages) {
        intf.setDriverPropertyPage(text(page));
        EXPECT_EQ(object.DNA, 1) << page;
        EXPECT_EQ(object.DA1, 2) << page;
        EXPECT_EQ(object.DA2, 3) << page;
        EXPECT_EQ(object.SNA, 4) << page;
        EXPECT_EQ(object.SA1, 5) << page;
        EXPECT_EQ(object.SA2, 6) << page;
    }
}

TEST_F(BadInput, dataCalls_unknownNames_queuedAsGivenAndReadAs0) {
    for (const char* name : wrongNames) {
        SCOPED_TRACE(name);
        host.bind(intf);
        unsigned char buffer[4] = {0xEE, 0xEE, 0xEE, 0xEE};
        EXPECT_EQ(intf.getData(1, text(name), 5, 1, buffer), 1);
        EXPECT_EQ(buffer[0], 0);
        EXPECT_EQ(buffer[2], 0xEE);
        unsigned char word[2] = {1, 0};
        EXPECT_EQ(intf.setData(1, text(name), 5, 1, word, 0), 1);
        const host::FramePro frame = nextFrame();
        EXPECT_EQ(frame.frame[12], 0); // no area code
        EXPECT_EQ(frame.var.regName, text(name));
        EXPECT_EQ(intf.addConditionRead(makeKey(name, 5, 1), 0), 1);
    }
}

TEST_F(BadInput, dataCalls_countBelow1_bufferUntouched) {
    for (const char* name : {"DM", "CIO_bit", ""}) {
        for (int count : {0, -1, INT_MIN}) {
            unsigned char buffer[2] = {0xEE, 0xEE};
            EXPECT_EQ(intf.getData(1, text(name), INT_MAX, count, buffer), 1) << name << count;
            EXPECT_EQ(buffer[0], 0xEE) << name << count;
            EXPECT_EQ(intf.setData(1, text(name), INT_MIN, count, buffer, 0), 1) << name << count;
            EXPECT_TRUE(object.writeList.isEmpty()) << name << count;
        }
    }
    EXPECT_TRUE(object.dataAreaList.isEmpty());
}

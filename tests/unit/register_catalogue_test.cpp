// The register tables, how the host learns them, and the sort weight.

#include "driver/register_catalogue.h"

#include "driver/host_interface.h"
#include "support/patched_register.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

struct RegisterRow {
    const char* name;
    const char* entry;
    int areaCode;
};

const RegisterRow registerRows[] = {
    {"CIO_bit", "ddddd.DD (DD:0~15),0.0,6143.15,0,1", 0x30},
    {"WR_bit", "dd.DD (DD:0~15),0.0,511.15,0,1", 0x31},
    {"HR_bit", "dddd.DD (DD:0~15),0.0,1535.15,0,1", 0x32},
    {"AR_bit", "ddd.DD (DD:0~15),448.0,959.15,0,1", 0x33},
    {"DM_bit", "ddddd.DD (DD:0~15),0.0,32767.15,0,1", 0x02},
    {"CIO", "dddd,0,6143,1,1", 0xB0},
    {"WR", "ddd,0,511,1,1", 0xB1},
    {"HR", "dddd,0,1535,1,1", 0xB2},
    {"AR", "ddd,0,959,1,1", 0xB3},
    {"T", "dddd,0,4095,1,1", 0x89},
    {"C", "dddd,0,4095,1,1", 0x89},
    {"DM", "ddddd,0,32767,1,1", 0x82},
};

const char* const unknownNames[] = {
    "", "dm", "Dm", "DM ", " DM", "DM_BIT", "DM_bit ", "CIO_", "XX", "D", "TC", "T,C", "0",
};

QStringList namesOfType(int type) {
    QStringList names;
    intf_getRegListByType(type, names);
    return names;
}

const int dmIndex = 11;

} // namespace

TEST(RegisterCatalogue, tables_everyIndex_nameEntryAndAreaCode) {
    ASSERT_EQ(static_cast<int>(REGISTER_COUNT), 12);
    for (int i = 0; i < 12; ++i) {
        SCOPED_TRACE(registerRows[i].name);
        EXPECT_EQ(REG_LIST[i].toStdString(), registerRows[i].name);
        EXPECT_EQ(ADDRESS_RANGE_FINS[i].toStdString(), registerRows[i].entry);
        EXPECT_EQ(AREA_CODE_CS_CJ[i], registerRows[i].areaCode);
    }
}

TEST(RegisterCatalogue, areaRegister_bitsAndWords_startAtDifferentWords) {
    // Only the words from 448 on can be written bit by bit; all of them can be read as words.
    EXPECT_EQ(registerFields(3).at(FIELD_LOWEST), QLatin1String("448.0"));
    EXPECT_EQ(registerFields(8).at(FIELD_LOWEST), QLatin1String("0"));
}

TEST(RegisterCatalogue, timersAndCounters_areaCode_shared) {
    EXPECT_EQ(AREA_CODE_CS_CJ[9], 0x89);
    EXPECT_EQ(AREA_CODE_CS_CJ[10], 0x89);
}

TEST(RegisterCatalogue, registerIndex_knownName_itsPlace) {
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(registerIndex(QLatin1String(registerRows[i].name)), i);
    }
}

TEST(RegisterCatalogue, registerIndex_unknownName_minus1) {
    for (const char* name : unknownNames) {
        EXPECT_EQ(registerIndex(QLatin1String(name)), -1) << '"' << name << '"';
    }
    EXPECT_EQ(registerIndex(QString()), -1);
}

TEST(RegisterCatalogue, registerFields_everyIndex_fiveFields) {
    for (int i = 0; i < 12; ++i) {
        const QStringList fields = registerFields(i);
        ASSERT_EQ(fields.size(), 5);
        EXPECT_EQ(fields.join(QLatin1String(",")).toStdString(), registerRows[i].entry);
        EXPECT_EQ(fields.at(FIELD_KIND), QLatin1String(i < 5 ? "0" : "1"));
        EXPECT_EQ(fields.at(FIELD_ACCESS), QLatin1String("1"));
    }
}

TEST(RegisterCatalogue, registerFields_emptyPieces_kept) {
    const PatchedRegister patched(dmIndex, ",0,,1,");
    EXPECT_EQ(registerFields(dmIndex), QStringList() << QString() << QLatin1String("0") << QString()
                                                     << QLatin1String("1") << QString());
}

TEST(RegisterCatalogue, getRegListByType_0_bitRegistersInOrder) {
    QStringList names;
    EXPECT_EQ(intf_getRegListByType(0, names), 1);
    EXPECT_EQ(names.join(QLatin1String(" ")).toStdString(), "CIO_bit WR_bit HR_bit AR_bit DM_bit");
}

TEST(RegisterCatalogue, getRegListByType_1_wordRegistersInOrder) {
    QStringList names;
    EXPECT_EQ(intf_getRegListByType(1, names), 1);
    EXPECT_EQ(names.join(QLatin1String(" ")).toStdString(), "CIO WR HR AR T C DM");
}

TEST(RegisterCatalogue, getRegListByType_otherType_0AndNothing) {
    for (int type : {2, 3, -1, 256, INT_MAX, INT_MIN}) {
        QStringList names(QLatin1String("kept"));
        EXPECT_EQ(intf_getRegListByType(type, names), 0) << type;
        EXPECT_EQ(names, QStringList(QLatin1String("kept"))) << type;
    }
}

TEST(RegisterCatalogue, getRegListByType_twice_appended) {
    QStringList names;
    intf_getRegListByType(0, names);
    intf_getRegListByType(0, names);
    ASSERT_EQ(names.size(), 10);
    EXPECT_EQ(names.at(0), names.at(5));
    EXPECT_EQ(names.at(4), names.at(9));
}

TEST(RegisterCatalogue, getRegListByType_thirdKind_listedAmongTheWordRegisters) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,2,1");
    EXPECT_EQ(namesOfType(1).join(QLatin1String(" ")).toStdString(), "CIO WR HR AR T C DM");
    EXPECT_FALSE(namesOfType(0).contains(QLatin1String("DM")));
    QStringList names;
    EXPECT_EQ(intf_getRegListByType(2, names), 0); // and still filled the same way
    EXPECT_EQ(names, QStringList(QLatin1String("DM")));
}

TEST(RegisterCatalogue, getRegListByType_entryOfOtherThanFiveFields_skipped) {
    for (const char* entry : {"ddddd,0,32767,1", "ddddd,0,32767,1,1,", ""}) {
        const PatchedRegister patched(dmIndex, entry);
        EXPECT_EQ(namesOfType(1).join(QLatin1String(" ")).toStdString(), "CIO WR HR AR T C")
            << entry;
    }
}

TEST(RegisterCatalogue, getRegDiscription_everyRegister_fiveTexts) {
    for (const RegisterRow& row : registerRows) {
        QStringList texts;
        EXPECT_EQ(intf_getRegDiscription(QLatin1String(row.name), texts), 0) << row.name;
        EXPECT_EQ(texts.size(), 5) << row.name;
        EXPECT_EQ(texts.join(QLatin1String(",")).toStdString(), row.entry);
    }
}

TEST(RegisterCatalogue, getRegDiscription_twoCalls_appended) {
    QStringList texts(QLatin1String("kept"));
    intf_getRegDiscription(QLatin1String("T"), texts);
    intf_getRegDiscription(QLatin1String("DM"), texts);
    EXPECT_EQ(texts.join(QLatin1String(" ")).toStdString(),
              "kept dddd 0 4095 1 1 ddddd 0 32767 1 1");
}

TEST(RegisterCatalogue, getRegDiscription_unknownName_0AndNothing) {
    for (const char* name : unknownNames) {
        QStringList texts(QLatin1String("kept"));
        EXPECT_EQ(intf_getRegDiscription(QLatin1String(name), texts), 0) << '"' << name << '"';
        EXPECT_EQ(texts, QStringList(QLatin1String("kept"))) << '"' << name << '"';
    }
}

TEST(RegisterCatalogue, getRegDiscription_entryOfOtherThanFiveFields_nothing) {
    const PatchedRegister patched(dmIndex, "ddddd,0,32767,1");
    QStringList texts;
    EXPECT_EQ(intf_getRegDiscription(QLatin1String("DM"), texts), 0);
    EXPECT_TRUE(texts.isEmpty());
}

TEST(RegisterWeight, getRegAddressWeight_knownName_indexPlus1Times65535PlusAddress) {
    EXPECT_EQ(getRegAddressWeight(QLatin1String("CIO_bit"), 0, 0), 65535);
    EXPECT_EQ(getRegAddressWeight(QLatin1String("CIO_bit"), 35, 0), 65570);
    EXPECT_EQ(getRegAddressWeight(QLatin1String("CIO"), 2, 1), 6 * 65535 + 2);
    EXPECT_EQ(getRegAddressWeight(QLatin1String("T"), 5, 1), 10 * 65535 + 5);
    EXPECT_EQ(getRegAddressWeight(QLatin1String("C"), 5, 1), 11 * 65535 + 5);
    EXPECT_EQ(getRegAddressWeight(QLatin1String("DM"), 100, 0), 786520); // 12 * 65535 + 100
    EXPECT_EQ(getRegAddressWeight(QLatin1String("DM"), -1, 0), 786419);
}

TEST(RegisterWeight, getRegAddressWeight_address65535_weighsAsTheNextRegistersFirst) {
    // The factor is 65535 and not 65536.
    EXPECT_EQ(getRegAddressWeight(QLatin1String("T"), 65535, 0),
              getRegAddressWeight(QLatin1String("C"), 0, 0));
    EXPECT_NE(getRegAddressWeight(QLatin1String("T"), 65534, 0),
              getRegAddressWeight(QLatin1String("C"), 0, 0));
}

TEST(RegisterWeight, getRegAddressWeight_unknownName_bareAddress) {
    for (const char* name : unknownNames) {
        EXPECT_EQ(getRegAddressWeight(QLatin1String(name), 100, 0), 100) << '"' << name << '"';
        EXPECT_EQ(getRegAddressWeight(QLatin1String(name), -5, 1), -5) << '"' << name << '"';
    }
}

TEST(RegisterWeight, getRegAddressWeight_thirdArgument_ignored) {
    for (int ignored : {0, 1, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(getRegAddressWeight(QLatin1String("CIO"), 7, ignored), 393217); // 6 * 65535 + 7
    }
}

TEST(RegisterWeight, getRegAddressWeight_beyond32Bits_wraps) {
    // 12 * 65535 = 786420; 786420 + 2147483647 - 2^32 = -2146697229
    EXPECT_EQ(getRegAddressWeight(QLatin1String("DM"), INT_MAX, 0), -2146697229);
}

TEST(RegisterName, isSameName_anyTwoTexts_asQtComparesThem) {
    const QString nul(QChar(0));
    const QList<QString> texts = {QString(),
                                  QLatin1String(""),
                                  QLatin1String("D"),
                                  QLatin1String("DM"),
                                  QLatin1String("dm"),
                                  QLatin1String("DM "),
                                  QLatin1String("DM_bit"),
                                  QLatin1String("CIO_bit"),
                                  QLatin1String("DM") + nul,
                                  QString(QChar(0x1D)),
                                  QString(QChar(0x11D))};
    for (const QString& a : texts) {
        for (const QString& b : texts) {
            EXPECT_EQ(isSameName(a, b), a == b) << a.toStdString() << ", " << b.toStdString();
        }
    }
}

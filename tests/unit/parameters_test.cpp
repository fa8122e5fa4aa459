// Protocol type, default parameters and the FINS node settings.

#include "driver/host_interface.h"

#include "support/fresh_driver.h"

#include <QtCore/QStringList>

#include <climits>

namespace {

struct PageRow {
    const char* page;
    int DNA, DA1, DA2, SNA, SA1, SA2;
};

// Exactly seven items; the first is ignored, what is no number counts as 0.
const PageRow takenRows[] = {
    {"6,0,1,0,0,10,0", 0, 1, 0, 0, 10, 0},
    {"6,1,2,3,4,5,6", 1, 2, 3, 4, 5, 6},
    {"anything,1,2,3,4,5,6", 1, 2, 3, 4, 5, 6},
    {",1,2,3,4,5,6", 1, 2, 3, 4, 5, 6},
    {"6,,1,0,0,10,0", 0, 1, 0, 0, 10, 0},
    {",,,,,,", 0, 0, 0, 0, 0, 0},
    {"6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0", 0, 0, 0, 0, 0, 0},
    // Kept whole: only a frame reduces them to their low 8 bits.
    {"6,256,257,65537,-1,-256,2147483647", 256, 257, 65537, -1, -256, INT_MAX},
    {"6,2147483648,-2147483648,-2147483649,99999999999,0,1", 0, INT_MIN, 0, 0, 0, 1},
    {"6, 1 ,+2,-3,0x4,5.0,6 6", 1, 2, -3, 0, 0, 0},
};

const char* const ignoredPages[] = {
    "",
    ",",
    "6",
    "6,0,1,0,0,10",     // six items
    "6,0,1,0,0,10,0,0", // eight
    "6,0,1,0,0,10,0,",  // eight, the last empty
    "6#0#1#0#0#10#0",
    "6;0;1;0;0;10;0",
    "1,2,3,4,5,6",
    "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31,32,33,34",
};

void markNodeFields() {
    driver.DNA = driver.DA1 = driver.DA2 = 777;
    driver.SNA = driver.SA1 = driver.SA2 = 777;
}

void expectNodeFields(const PageRow& row) {
    EXPECT_EQ(driver.DNA, row.DNA);
    EXPECT_EQ(driver.DA1, row.DA1);
    EXPECT_EQ(driver.DA2, row.DA2);
    EXPECT_EQ(driver.SNA, row.SNA);
    EXPECT_EQ(driver.SA1, row.SA1);
    EXPECT_EQ(driver.SA2, row.SA2);
}

} // namespace

class Parameters : public FreshDriver {};

TEST_F(Parameters, getProtocolType_always_stores1) {
    int type = -1;
    intf_getProtocolType(&type);
    EXPECT_EQ(type, 1);
}

TEST_F(Parameters, getDriverParameter_always_wholeText) {
    QString text = QLatin1String("what it held before");
    intf_getDriverParameter(text);
    EXPECT_EQ(text.toStdString(), "0,9600,8,NONE,1,0,1,192.168.250.1,9600,omron_fins_ethernet,"
                                  "CIO_bit,WR_bit,HR_bit,AR_bit,DM_bit,CIO,WR,HR,AR,T,C,DM");
}

TEST_F(Parameters, getDriverParameter_split_22FieldsEndingInCAndDM) {
    QString text;
    intf_getDriverParameter(text);
    const QStringList fields = text.split(QLatin1Char(','));
    ASSERT_EQ(fields.size(), 22);
    EXPECT_EQ(fields.at(20), QLatin1String("C"));
    EXPECT_EQ(fields.at(21), QLatin1String("DM"));
}

TEST_F(Parameters, getDriverPropertyPage_always_replacesTheText) {
    QString page = QLatin1String("what it held before");
    intf_getDriverPropertyPage(page);
    EXPECT_EQ(page.toStdString(), "6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0");
}

TEST_F(Parameters, setDriverPropertyPage_sevenItems_sixFieldsSetInOrder) {
    for (const PageRow& row : takenRows) {
        SCOPED_TRACE(row.page);
        markNodeFields();
        intf_SetDriverPropertyPage(QString::fromLatin1(row.page));
        expectNodeFields(row);
    }
}

TEST_F(Parameters, setDriverPropertyPage_otherNumberOfItems_nothingChanges) {
    for (const char* page : ignoredPages) {
        SCOPED_TRACE(page);
        markNodeFields();
        intf_SetDriverPropertyPage(QString::fromLatin1(page));
        expectNodeFields({page, 777, 777, 777, 777, 777, 777});
    }
    markNodeFields();
    intf_SetDriverPropertyPage(QString());
    expectNodeFields({"", 777, 777, 777, 777, 777, 777});
}

TEST_F(Parameters, setDriverPropertyPage_sevenItems_touchesNoOtherField) {
    driver.SID = 33;
    driver.nodeLearned = 0;
    driver.hostTag = 44;
    intf_SetDriverPropertyPage(QLatin1String("6,1,2,3,4,5,6"));
    EXPECT_EQ(driver.SID, 33);
    EXPECT_EQ(driver.nodeLearned, 0);
    EXPECT_EQ(driver.hostTag, 44);
}

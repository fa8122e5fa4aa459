// The register catalogue as a host learns it.

#include "contract/loaded_driver.h"

#include <QtCore/QStringList>

class RegisterCatalogueEdgeCases : public LoadedDriver {
protected:
    std::string describe(const char* regName) {
        QStringList texts;
        EXPECT_EQ(intf.getRegDiscription(QString::fromLatin1(regName), texts), 0);
        return texts.join(QLatin1String("|")).toStdString();
    }
};

TEST_F(RegisterCatalogueEdgeCases, getRegListByType_type2_nothingAnd0) {
    QStringList names;
    EXPECT_EQ(intf.getRegListByType(2, names), 0);
    EXPECT_TRUE(names.isEmpty());
}

TEST_F(RegisterCatalogueEdgeCases, getRegListByType_typeMinus1_nothingAnd0) {
    QStringList names;
    EXPECT_EQ(intf.getRegListByType(-1, names), 0);
    EXPECT_TRUE(names.isEmpty());
}

TEST_F(RegisterCatalogueEdgeCases, getRegListByType_twiceWithoutClearing_everyNameTwice) {
    QStringList names;
    EXPECT_EQ(intf.getRegListByType(1, names), 1);
    EXPECT_EQ(intf.getRegListByType(1, names), 1);
    EXPECT_EQ(names.join(QLatin1String(" ")).toStdString(),
              "CIO WR HR AR T C DM CIO WR HR AR T C DM");
}

TEST_F(RegisterCatalogueEdgeCases, getRegListByType_type0_bitRegisters) {
    QStringList names;
    EXPECT_EQ(intf.getRegListByType(0, names), 1);
    EXPECT_EQ(names.join(QLatin1String(" ")).toStdString(), "CIO_bit WR_bit HR_bit AR_bit DM_bit");
}

TEST_F(RegisterCatalogueEdgeCases, getRegDiscription_DM_fiveTexts) {
    EXPECT_EQ(describe("DM"), "ddddd|0|32767|1|1");
}

TEST_F(RegisterCatalogueEdgeCases, getRegDiscription_lowerCaseName_nothing) {
    EXPECT_EQ(describe("dm"), "");
}

TEST_F(RegisterCatalogueEdgeCases, getRegDiscription_AR_bit_startsAt448) {
    EXPECT_EQ(describe("AR_bit"), "ddd.DD (DD:0~15)|448.0|959.15|0|1");
}

TEST_F(RegisterCatalogueEdgeCases, areaCodes_everyRegister_inItsFrame) {
    // Words by a read; bits by a write, the only frame that names a bit register.
    const struct {
        const char* name;
        int code;
        int addressHighByte;
    } words[] = {{"CIO", 0xB0, 0}, {"WR", 0xB1, 0},   {"HR", 0xB2, 0}, {"AR", 0xB3, 0},
                 {"T", 0x89, 0},   {"C", 0x89, 0x80}, {"DM", 0x82, 0}};
    for (const auto& word : words) {
        host.bind(intf); // from idle
        intf.addConditionRead(makeKey(word.name, 5, 1), 0);
        const host::FramePro frame = nextFrame();
        EXPECT_EQ(frame.frame[12], word.code) << word.name;
        EXPECT_EQ(frame.frame[13], word.addressHighByte) << word.name;
        answer(frame, {0});
    }
    const struct {
        const char* name;
        int code;
    } bits[] = {
        {"CIO_bit", 0x30}, {"WR_bit", 0x31}, {"HR_bit", 0x32}, {"AR_bit", 0x33}, {"DM_bit", 0x02}};
    for (const auto& bit : bits) {
        host.bind(intf);
        unsigned char on = 1;
        intf.setData(1, QString::fromLatin1(bit.name), 35, 1, &on, 0);
        const host::FramePro frame = nextFrame();
        EXPECT_EQ(frame.frame[12], bit.code) << bit.name;
        answer(frame);
    }
}

// Runs of addresses as a host lays them out.

#include "contract/loaded_driver.h"

class MultiCopyEdgeCases : public LoadedDriver {
protected:
    int copy(const char* regName, int start, int count, int step) {
        texts.clear();
        values.clear();
        return intf.multiCopy(QString::fromLatin1(regName), start, count, step, texts, values);
    }
    void expectRun(const std::vector<std::string>& expectedTexts,
                   const std::vector<int>& expectedValues) {
        ASSERT_EQ(static_cast<std::size_t>(texts.size()), expectedTexts.size());
        for (int i = 0; i < texts.size(); ++i) {
            EXPECT_EQ(texts.at(i).toStdString(), expectedTexts[static_cast<std::size_t>(i)]);
        }
        EXPECT_EQ(std::vector<int>(values.begin(), values.end()), expectedValues);
    }

    QVector<QString> texts;
    QVector<int> values;
};

TEST_F(MultiCopyEdgeCases, DM_from100By10_threeAddresses) {
    EXPECT_EQ(copy("DM", 100, 3, 10), 1);
    expectRun({"100", "110", "120"}, {100, 110, 120});
}

TEST_F(MultiCopyEdgeCases, DM_beyondTheMaximum_replacedAndResult2) {
    EXPECT_EQ(copy("DM", 32760, 3, 5), 2);
    expectRun({"32760", "32765", "32767"}, {32760, 32765, 32767});
}

TEST_F(MultiCopyEdgeCases, CIO_bit_acrossTheWord_oneAndTwoDigitBits) {
    EXPECT_EQ(copy("CIO_bit", 1614, 3, 1), 1);
    expectRun({"100.14", "100.15", "101.0"}, {1614, 1615, 1616});
}

TEST_F(MultiCopyEdgeCases, CIO_bit_beyondTheMaximum_maximumTextAndResult2) {
    EXPECT_EQ(copy("CIO_bit", 98303, 2, 1), 2);
    expectRun({"6143.15", "6143.15"}, {98303, 98303});
}

TEST_F(MultiCopyEdgeCases, count0_known_result1AndNothing) {
    EXPECT_EQ(copy("DM", 100, 0, 1), 1);
    expectRun({}, {});
}

TEST_F(MultiCopyEdgeCases, unknownName_any_result0AndNothing) {
    EXPECT_EQ(copy("XX", 100, 3, 1), 0);
    expectRun({}, {});
}

TEST_F(MultiCopyEdgeCases, step0_any_startRepeated) {
    EXPECT_EQ(copy("T", 9, 3, 0), 1);
    expectRun({"9", "9", "9"}, {9, 9, 9});
}

TEST_F(MultiCopyEdgeCases, texts_everyRegister_passTheAddressCheck) {
    // The form that is given out is the form that is accepted: every bit of a word, of each
    // bit register, comes back as the number it was made from.
    for (const char* name : {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit"}) {
        EXPECT_EQ(copy(name, 7168, 16, 1), 1) << name;
        for (int i = 0; i < texts.size(); ++i) {
            int out = -1;
            EXPECT_EQ(intf.checkAddrValidity(QString::fromLatin1(name), texts.at(i), &out, 1, 0), 0)
                << name << ' ' << texts.at(i).toStdString();
            EXPECT_EQ(out, values.at(i)) << name;
        }
    }
}

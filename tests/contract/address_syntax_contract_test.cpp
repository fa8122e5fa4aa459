// Address checks as a host makes them.

#include "contract/loaded_driver.h"

namespace {

const int untouched = 777;

struct Answer {
    int result;
    int out;
    bool operator==(const Answer& other) const {
        return result == other.result && out == other.out;
    }
};

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << "result " << answer.result << ", out " << answer.out;
}

} // namespace

class AddressSyntaxEdgeCases : public LoadedDriver {
protected:
    Answer validity(const char* regName, const char* text, int count, int wordExpected) {
        Answer answer = {-1, untouched};
        answer.result =
            intf.checkAddrValidity(QString::fromLatin1(regName), QString::fromLatin1(text),
                                   &answer.out, count, wordExpected);
        return answer;
    }
    Answer addr(const char* regName, const char* text, int countKind, int count) {
        Answer answer = {-1, untouched};
        answer.result = intf.checkAddr(QString::fromLatin1(regName), QString::fromLatin1(text),
                                       &answer.out, countKind, count, 1);
        return answer;
    }
    void expectBoth(const char* regName, const char* text, int count, bool word, Answer expected) {
        EXPECT_EQ(validity(regName, text, count, word ? 1 : 0), expected) << regName << ' ' << text;
        EXPECT_EQ(addr(regName, text, word ? 0 : -1, count), expected) << regName << ' ' << text;
    }
};

TEST_F(AddressSyntaxEdgeCases, DM_32767Count1_valid) {
    expectBoth("DM", "32767", 1, true, {0, 32767});
}

TEST_F(AddressSyntaxEdgeCases, DM_32767Count2_outOfRange) {
    expectBoth("DM", "32767", 2, true, {2, 32767});
}

TEST_F(AddressSyntaxEdgeCases, DM_minus1_outOfRange) {
    expectBoth("DM", "-1", 1, true, {2, -1});
}

TEST_F(AddressSyntaxEdgeCases, DM_12a_syntaxAndOut0) {
    expectBoth("DM", "12a", 1, true, {4, 0});
}

TEST_F(AddressSyntaxEdgeCases, CIO_bit_6143point15_valid98303) {
    expectBoth("CIO_bit", "6143.15", 1, false, {0, 98303});
}

TEST_F(AddressSyntaxEdgeCases, CIO_bit_6143WithoutPoint_syntaxAndOutUntouched) {
    expectBoth("CIO_bit", "6143", 1, false, {4, untouched});
}

TEST_F(AddressSyntaxEdgeCases, AR_bit_447point15_outOfRange) {
    expectBoth("AR_bit", "447.15", 1, false, {2, 7167});
}

TEST_F(AddressSyntaxEdgeCases, AR_bit_448point0_valid7168) {
    expectBoth("AR_bit", "448.0", 1, false, {0, 7168});
}

TEST_F(AddressSyntaxEdgeCases, AR_0_valid) {
    expectBoth("AR", "0", 1, true, {0, 0});
}

TEST_F(AddressSyntaxEdgeCases, HR_bit_10point05_syntax) {
    expectBoth("HR_bit", "10.05", 1, false, {4, untouched});
}

TEST_F(AddressSyntaxEdgeCases, HR_bit_10point5_valid165) {
    expectBoth("HR_bit", "10.5", 1, false, {0, 165});
}

TEST_F(AddressSyntaxEdgeCases, DM_askedForAsBitRegister_wrongKindAndOutUntouched) {
    EXPECT_EQ(validity("DM", "100", 1, 0), (Answer{1, untouched}));
    EXPECT_EQ(addr("DM", "100", -1, 1), (Answer{1, untouched}));
}

TEST_F(AddressSyntaxEdgeCases, XX_unknownName_validAndOutUntouched) {
    expectBoth("XX", "100", 1, true, {0, untouched});
    expectBoth("XX", "100", 1, false, {0, untouched});
}

TEST_F(AddressSyntaxEdgeCases, count0_onePastTheEnd_accepted) {
    expectBoth("DM", "32768", 0, true, {0, 32768});
    expectBoth("DM", "32769", 0, true, {2, 32769});
    expectBoth("CIO_bit", "6144.0", 0, false, {0, 98304});
}

TEST_F(AddressSyntaxEdgeCases, countBelow0_oneFurtherPastTheEndForEach_accepted) {
    expectBoth("DM", "32773", -5, true, {0, 32773});
    expectBoth("DM", "32774", -5, true, {2, 32774});
    expectBoth("CIO_bit", "6144.1", -1, false, {0, 98305});
    expectBoth("CIO_bit", "6144.2", -1, false, {2, 98306});
}

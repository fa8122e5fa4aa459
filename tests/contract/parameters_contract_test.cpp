// Parameters and node settings, as a host's configuration side asks for them.

#include "contract/loaded_driver.h"

#include <QtCore/QStringList>

class ParametersEdgeCases : public LoadedDriver {
protected:
    void setPage(const char* page) { intf.setDriverPropertyPage(QString::fromLatin1(page)); }

    /// DNA, DA1, DA2, SNA, SA1, SA2 as the driver holds them.
    std::vector<int> nodes() {
        return {object.DNA, object.DA1, object.DA2, object.SNA, object.SA1, object.SA2};
    }
};

TEST_F(ParametersEdgeCases, setDriverPropertyPage_sixOrEightItems_nodesUnchanged) {
    setPage("6,1,2,3,4,5,6");
    for (const char* page : {"6,9,9,9,9,9", "6,9,9,9,9,9,9,9"}) {
        setPage(page);
        EXPECT_EQ(nodes(), (std::vector<int>{1, 2, 3, 4, 5, 6})) << page;
    }
}

TEST_F(ParametersEdgeCases, setDriverPropertyPage_emptyItem1_DNA0) {
    setPage("6,9,9,9,9,9,9");
    setPage("6,,1,0,0,10,0");
    EXPECT_EQ(nodes(), (std::vector<int>{0, 1, 0, 0, 10, 0}));
}

TEST_F(ParametersEdgeCases, getDriverParameter_fields_22AndNoTrailingComma) {
    QString text = QString::fromLatin1("what it held before");
    intf.getDriverParameter(text);
    const QStringList fields = text.split(QLatin1Char(','));
    ASSERT_EQ(fields.size(), 22);
    EXPECT_EQ(fields.at(20), QLatin1String("C"));
    EXPECT_EQ(fields.at(21), QLatin1String("DM"));
    EXPECT_EQ(text.section(QLatin1Char(','), 0, 6), QLatin1String("0,9600,8,NONE,1,0,1"));
    EXPECT_EQ(fields.at(7), QLatin1String("192.168.250.1"));
    EXPECT_EQ(fields.at(8), QLatin1String("9600"));
    EXPECT_EQ(fields.at(9), QLatin1String("omron_fins_ethernet"));
}

TEST_F(ParametersEdgeCases, setDriverPropertyPage_valuesAbove255_low8BitsInTheFrame) {
    setPage("6,256,257,65535,-1,300,511");
    EXPECT_EQ(nodes(), (std::vector<int>{256, 257, 65535, -1, 300, 511}));
    intf.addConditionRead(makeKey("DM", 100, 10), 0);
    const std::vector<int> sent = sentBytes(nextFrame());
    EXPECT_EQ(std::vector<int>(sent.begin() + 3, sent.begin() + 9),
              (std::vector<int>{0, 1, 255, 255, 44, 255}));
}

TEST_F(ParametersEdgeCases, getDriverPropertyPage_sentBackAsItCame_sevenItemsOf0) {
    setPage("6,9,9,9,9,9,9");
    QString page;
    intf.getDriverPropertyPage(page);
    EXPECT_EQ(page, QLatin1String("6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0"));
    intf.setDriverPropertyPage(page);
    EXPECT_EQ(nodes(), (std::vector<int>{0, 0, 0, 0, 0, 0}));
}

TEST_F(ParametersEdgeCases, getProtocolType_always_1) {
    int type = -1;
    intf.getProtocolType(&type);
    EXPECT_EQ(type, 1);
}

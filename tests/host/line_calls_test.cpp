// What a line's calls take, refuse and say.

#include "host/line_notice_fixture.h"

#include <limits>
#include <type_traits>

using namespace line_notice_fixture;

namespace {

TEST_F(LineNotice, closedLine_takesNothingAndSaysSo) {
    QString fault;
    EXPECT_NE(line->setTags({wordTag(1)}).toStdString(), "");
    EXPECT_TRUE(line->tags().isEmpty());
    EXPECT_EQ(line->write("DM", 1, {1}, &fault), 0U);
    EXPECT_NE(fault.toStdString(), "");
    EXPECT_EQ(line->read("DM", 1, 1, &fault), 0U);
    EXPECT_NE(fault.toStdString(), "");
    EXPECT_EQ(line->download({variable(1, {1})}, false, &fault), 0U);
    EXPECT_NE(fault.toStdString(), "");
    EXPECT_EQ(line->upload({variable(1, {1})}, &fault), 0U);
    EXPECT_NE(fault.toStdString(), "");
    line->giveUpRecipe(1);
    line->close();
    EXPECT_EQ(line->pending(), 0);
    EXPECT_TRUE(line->localEndpoint().address.isNull());
    EXPECT_FALSE(line->requestInTrouble().has_value());
    EXPECT_EQ(line->statistics().exchanges(), 0);
}

TEST_F(LineNotice, wrongItems_areNotQueuedAndTheFaultSaysWhy) {
    open();
    const struct {
        const char* reg;
        int address;
        Items items;
    } wrong[] = {{"XX", 1, {1}},          {"DM", -1, {1}}, {"DM", 32767, {1, 2}},
                 {"DM", 32768, {1}},      {"DM", 1, {}},   {"WR_bit", 512 * 16, {1}},
                 {"WR_bit", 8191, {1, 1}}};
    for (const auto& item : wrong) {
        QString fault;
        EXPECT_EQ(line->write(item.reg, item.address, item.items, &fault), 0U) << item.reg;
        EXPECT_NE(fault.toStdString(), "") << item.reg << item.address;
        fault.clear();
        EXPECT_EQ(line->read(item.reg, item.address, static_cast<int>(item.items.size()), &fault),
                  0U);
        EXPECT_NE(fault.toStdString(), "") << item.reg << item.address;
    }
    EXPECT_EQ(line->read("DM", 1, -5), 0U);
    EXPECT_EQ(line->pending(), 0);
    QString fault = "as it was";
    EXPECT_NE(line->write("DM", 32767, {1}, &fault), 0U);
    EXPECT_EQ(fault.toStdString(), "");
}

TEST_F(LineNotice, write_otherThanZeroAndOneToABit_isNotQueued) {
    open();
    QString fault;
    EXPECT_EQ(line->write("WR_bit", 1, {1, 2}, &fault), 0U);
    EXPECT_NE(fault.toStdString(), "");
}

TEST_F(LineNotice, tagWhoseCountWraps_isNeitherReadNorWritten) {
    open();
    for (const int count : {-2147483647, -2147483647 - 1, 0x40000001, 0x7FFFFFFF, 0}) {
        Tag wrong = wordTag(1, count);
        wrong.type = ValueType::Uint32;
        QString fault;
        EXPECT_EQ(line->read(wrong, &fault), 0U) << count;
        EXPECT_NE(fault.toStdString(), "") << count;
        if (count < 1) {
            EXPECT_EQ(line->write(wrong, {1, 0}, &fault), 0U) << count;
            EXPECT_NE(fault.toStdString(), "") << count;
        }
    }
    EXPECT_EQ(line->pending(), 0);
}

TEST_F(LineNotice, setTags_wrongTag_saysWhichAndChangesNothing) {
    open();
    EXPECT_EQ(line->setTags({wordTag(5)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    Tag bits = wordTag(1);
    bits.reg = QStringLiteral("CIO_bit");
    Tag unscaled = wordTag(1);
    unscaled.scaling.scale = 0;
    Tag turned = wordTag(1);
    turned.limits = {2.0, 1.0};
    const double noNumber = std::numeric_limits<double>::quiet_NaN();
    Tag scaledByNoNumber = wordTag(1);
    scaledByNoNumber.scaling.scale = noNumber;
    Tag movedByNoNumber = wordTag(1);
    movedByNoNumber.scaling.offset = noNumber;
    Tag scaledBeyondAll = wordTag(1);
    scaledBeyondAll.scaling.scale = std::numeric_limits<double>::infinity();
    Tag noLowLimit = wordTag(1);
    noLowLimit.limits = {noNumber, 1.0};
    Tag noHighLimit = wordTag(1);
    noHighLimit.limits.high = noNumber;
    Tag countThatWraps = wordTag(1, -2147483647);
    countThatWraps.type = ValueType::Uint32;
    for (const Tag& wrong : {wordTag(1, 0), wordTag(40000), wordTag(1, 1, "XX"), bits, unscaled,
                             turned, scaledByNoNumber, movedByNoNumber, scaledBeyondAll, noLowLimit,
                             noHighLimit, countThatWraps}) {
        const QString fault = line->setTags({wordTag(7), wrong});
        EXPECT_TRUE(fault.startsWith("tag 1 ")) << qPrintable(fault);
    }
    EXPECT_EQ(line->tags().size(), 1);
    EXPECT_TRUE(line->allFresh());
}

TEST_F(LineNotice, statistics_areKeptWhenClosed) {
    open();
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    line->close();
    EXPECT_GT(line->statistics().exchanges(), 0);
}

TEST_F(LineNotice, statisticsThatAreKept_outliveTheLineThatBeginsAnewAndEnds) {
    open();
    EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return line->allFresh(); }));
    EXPECT_FALSE(std::is_reference<decltype(line->statistics())>::value);
    const LinkStatistics& kept = line->statistics();
    const qint64 exchanges = kept.exchanges();
    EXPECT_GT(exchanges, 0);
    line->close();
    open();
    EXPECT_EQ(line->statistics().exchanges(), 0);
    line.reset();
    EXPECT_EQ(kept.exchanges(), exchanges);
    EXPECT_GT(kept.roundTrips().count(), 0);
}

TEST_F(LineNotice, ids_areNeverZeroAndDiffer) {
    open();
    QSet<quint64> ids;
    for (int count = 0; count < 10; ++count) {
        ids.insert(line->write("DM", count, {1}));
        ids.insert(line->read("DM", count, 1));
    }
    EXPECT_EQ(ids.size(), 20);
    EXPECT_FALSE(ids.contains(0));
    EXPECT_TRUE(waitUntil([&] { return line->pending() == 0; }));
}

} // namespace

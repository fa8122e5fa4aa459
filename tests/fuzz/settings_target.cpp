// The property string and the page of node numbers, as texts of any kind, and what becomes of them
// in the next frames.

#include "fuzz/driver_host.h"

#include <QtCore/QStringList>

namespace {

const int PROPERTY_ITEMS = 5;
const int PAGE_ITEMS = 7;

/// As the header says of the property string: split at "#", what is no number is 0.
void checkProperties(const QByteArray& properties) {
    const QList<QByteArray> items = properties.split('#');
    if (items.size() < PROPERTY_ITEMS) {
        require(driver.hostTag == 7 && driver.writeDisabled == 0 && driver.retryLimit == 3 &&
                    driver.maxWordsPerFrame == 64,
                "with fewer items the settings keep their values");
        return;
    }
    require(driver.hostTag == QString::fromLatin1(items.at(0)).toInt(), "item 0: host tag");
    require(driver.retryLimit == QString::fromLatin1(items.at(3)).toInt(), "item 3: retry limit");
}

/// Bytes 3 to 8 of a frame are the low 8 bits of items 1 to 6, or 0 where the page is refused.
void checkNodes(const FRAME_PRO& frame, const QString& page) {
    const QStringList items = page.split(QLatin1Char(','));
    for (int i = 1; i < PAGE_ITEMS; ++i) {
        const int node = items.size() == PAGE_ITEMS ? items.at(i).toInt() & 0xFF : 0;
        require(frame.frame[2 + i] == node, "the frame's node numbers are the page's");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    DriverHost host;
    const QString page = input.text();
    const int len = input.upTo(600);
    QByteArray properties = input.rest();
    properties = QByteArray(properties.constData()); // up to its zero

    intf_SetDriverPropertyPage(page);
    DriverHost::bind(properties);
    checkProperties(properties);
    DriverHost::write(1, QStringLiteral("DM"), 0, len, QByteArray());
    DriverHost::write(1, QStringLiteral("CIO_bit"), 0, len, QByteArray());
    intf_addConditionRead(keyOf(QStringLiteral("HR"), 0, len), 3);
    QList<KEY_ADDRESS> keys;
    keys.append(keyOf(QStringLiteral("DM"), 0, 1));
    keys.append(keyOf(QStringLiteral("DM"), len, 1));
    intf_addrMerge(keys);
    for (int turn = 0; turn < 12; ++turn) {
        if (host.ask()) {
            checkNodes(host.frame, page);
            host.deal(turn % 4 == 3 ? QByteArray() : goodReply(host.frame));
        }
    }
    return 0;
}

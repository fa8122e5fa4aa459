#include "host/driver/bound_driver.h"

#include "host/values/item_bytes.h"

#include <QtCore/QMutexLocker>

namespace velkor_host {
namespace {

KEY_ADDRESS keyOf(const WordRange& range) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = STATION;
    key.regName = range.reg;
    key.addr = range.address;
    key.len = range.length;
    return key;
}

} // namespace

BoundDriver::BoundDriver(const DriverApi& api, ChangeListener* listener)
    : m_api(api), m_tag(takeHostTag(listener)), m_hostBlock(HOST_RECIPE_UPLOAD_REQUEST + 1, 0),
      m_statusBlock(HOST_COMMUNICATION_STATUS_DETAIL + 1, 0), m_recipe(RECIPE_WORDS, 0) {}

BoundDriver::~BoundDriver() {
    giveBackHostTag(m_tag);
}

void BoundDriver::bind(const Settings& settings) {
    m_api.setAddrValueChangeCallBack(&hearDriver);
    initialise(settings.retries, settings.wordsPerFrame);
    // A frame is built, which takes an ID, and is not sent: binding afresh drops it, and the driver
    // keeps nothing of it but the ID.
    FRAME_PRO dropped = FRAME_PRO();
    for (int skipped = 0; skipped < settings.skippedServiceIds; ++skipped) {
        queueRead({QStringLiteral("DM"), 0, 1});
        nextFrame(&dropped);
        initialise(settings.retries, settings.wordsPerFrame);
    }
    setNodes(settings.nodes);
}

void BoundDriver::setNodes(const QVector<int>& nodes) {
    QString page = QStringLiteral("6");
    for (const int node : nodes) {
        page += QLatin1Char(',') + QString::number(node);
    }
    m_api.setDriverPropertyPage(page);
}

void BoundDriver::initialise(int retries, int wordsPerFrame) {
    const QByteArray property =
        QStringLiteral("%1#0#0#%2#%3").arg(m_tag).arg(retries).arg(wordsPerFrame).toLatin1();
    int out = 0;
    m_api.initProperty(m_hostBlock.data(), m_statusBlock.data(), m_recipe.data(), &out,
                       property.constData(), &m_mutex);
}

int BoundDriver::dealWithReply(const QByteArray& reply, QString* message) {
    QByteArray handedOver = reply;
    return static_cast<int>(m_api.dealRcvFrame(&handedOver, message));
}

QVector<WordRange> BoundDriver::poll(const QVector<WordRange>& ranges) {
    QList<KEY_ADDRESS> keys;
    for (const WordRange& range : ranges) {
        keys.append(keyOf(range));
    }
    m_api.addrMerge(keys);
    QVector<WordRange> blocks;
    for (const KEY_ADDRESS& key : keys) {
        blocks.append({key.regName, key.addr, key.len});
    }
    return blocks;
}

void BoundDriver::queueRead(const WordRange& range) {
    m_api.addConditionRead(keyOf(range), TAG_READ);
}

void BoundDriver::queueWrite(const QString& reg, int address, const Items& items) {
    QByteArray data = toDriverBytes(items, isBitRegister(reg));
    m_api.setData(STATION, reg, address, static_cast<int>(items.size()),
                  reinterpret_cast<unsigned char*>(data.data()), TAG_WRITE);
}

Items BoundDriver::items(const QString& reg, int address, int count) const {
    const bool bits = isBitRegister(reg);
    QByteArray bytes(bits ? count : 2 * count, '\0');
    m_api.getData(STATION, reg, address, count, reinterpret_cast<unsigned char*>(bytes.data()));
    return fromDriverBytes(bytes, bits);
}

QStringList BoundDriver::wordRegisters() const {
    const int WORD_REGISTERS = 1;
    QList<QString> names;
    m_api.getRegListByType(WORD_REGISTERS, names);
    return QStringList(names);
}

void BoundDriver::requestRecipe(bool download) {
    const QMutexLocker lock(&m_mutex);
    m_hostBlock[download ? HOST_RECIPE_DOWNLOAD_REQUEST : HOST_RECIPE_UPLOAD_REQUEST] = 1;
}

bool BoundDriver::recipeRequested() {
    const QMutexLocker lock(&m_mutex);
    return m_hostBlock[HOST_RECIPE_DOWNLOAD_REQUEST] == 1 ||
           m_hostBlock[HOST_RECIPE_UPLOAD_REQUEST] == 1;
}

} // namespace velkor_host

#include "panel/session.h"

#include "panel/service_ids.h"

#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace panel {
namespace {

/// The driver's callback carries no pointer to its host.
Session* s_current = nullptr;

int lastOctet(const QHostAddress& address) {
    return static_cast<int>(address.toIPv4Address() & 0xFFU);
}

} // namespace

qint64 SteadyClock::now() const {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

Session::Session(const DriverApi& api, const LinkSettings& settings)
    : m_api(api), m_settings(settings),
      m_exchange(*this, m_link, m_clock, *this, qint64(settings.timeoutMs) * 1000),
      m_hostBlock(HOST_RECIPE_UPLOAD_REQUEST + 1, 0),
      m_statusBlock(HOST_COMMUNICATION_STATUS_DETAIL + 1, 0), m_recipe(RECIPE_WORDS, 0) {
    m_link.onDatagram = [this](const QByteArray& datagram) {
        m_exchange.receive(datagram);
        armTimer();
    };
    m_link.onPortRefused = [this] {
        m_exchange.portRefused();
        for (FrameWitness* witness : m_witnesses) {
            witness->portRefused();
        }
    };
    m_link.onSendFailed = [this](const QString& text) { m_sendFault = text; };
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { turn(); });
    s_current = this;
}

Session::~Session() {
    s_current = nullptr;
}

QString Session::open() {
    QString fault = m_link.bind(m_settings.local);
    if (fault.isEmpty()) {
        fault = m_link.connectTo(m_settings.plc);
    }
    if (fault.isEmpty()) {
        chooseNodes();
        bindDriver();
    }
    return fault;
}

void Session::chooseNodes() {
    m_nodes = m_settings.nodes;
    if (m_nodes.isEmpty()) {
        // These PLCs take the last octet of an IPv4 address for its node number.
        m_nodes = {0, lastOctet(m_settings.plc.address), 0, 0, lastOctet(local().address), 0};
    }
}

void Session::bindDriver() {
    const QByteArray property = QStringLiteral("%1#0#0#%2#%3")
                                    .arg(HOST_TAG)
                                    .arg(m_settings.retries)
                                    .arg(m_settings.wordsPerFrame)
                                    .toLatin1();
    QString page = QStringLiteral("6");
    for (const int node : m_nodes) {
        page += QLatin1Char(',') + QString::number(node);
    }
    m_api.setAddrValueChangeCallBack(&Session::valueChanged);
    useUpServiceIds(m_api, QRandomGenerator::system()->bounded(SERVICE_IDS), [&] {
        int out = 0;
        m_api.initProperty(m_hostBlock.data(), m_statusBlock.data(), m_recipe.data(), &out,
                           property.constData(), &m_mutex);
    });
    m_api.setDriverPropertyPage(page);
}

int Session::valueChanged(int tag, int station, QString regName, int address) {
    // Station -1 marks notices: a condition read's end, status bytes, uploaded recipe words.
    if (s_current != nullptr && tag == HOST_TAG && station == STATION &&
        s_current->onValueChanged) {
        s_current->onValueChanged(regName, address);
    }
    return 0;
}

void Session::setPolled(const QVector<WordRange>& ranges) {
    QList<KEY_ADDRESS> keys;
    for (const WordRange& range : ranges) {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = STATION;
        key.regName = range.reg;
        key.addr = range.address;
        key.len = range.length;
        keys.append(key);
    }
    m_blocks = m_api.addrMerge(keys);
    m_blocksLeft = m_blocks;
    m_nextScan = m_clock.now() + qint64(m_settings.scanMs) * 1000;
    work();
}

void Session::read(const WordRange& range) {
    m_transfers.add(readPieces(range, m_settings.wordsPerFrame));
    work();
}

void Session::write(const QString& reg, int address, const Items& items) {
    m_transfers.add(writePieces(reg, address, items, m_settings.wordsPerFrame));
    work();
}

void Session::setRecipe(const QVector<_RCP_VAR_PRO>& variables) {
    m_api.setRcpAddress(variables);
}

void Session::startRecipe(RecipeTransfer transfer) {
    m_transfer = transfer;
    m_recipeActive = true;
    m_recipeRun = 1;
    m_recipeBlocksOfRun = 0;
    m_recipeBlocksDone = 0;
    requestRecipe(true);
    work();
}

Items Session::items(const QString& reg, int address, int count) const {
    const bool bits = reg.endsWith(QLatin1String("_bit"));
    QByteArray bytes(bits ? count : 2 * count, '\0');
    m_api.getData(STATION, reg, address, count, reinterpret_cast<unsigned char*>(bytes.data()));
    return fromDriverBytes(bytes, bits);
}

// --- What is to be done next -----------------------------------------------------------------

void Session::turn() {
    m_exchange.poll();
    work();
}

/// Starts the next exchange if there is a reason for one. Without one the driver is not asked: it
/// would go on with the next block at once, for ever.
void Session::work() {
    if (m_exchange.idle()) {
        const bool piece = handOverPiece();
        if (scanDue() || piece || m_recipeActive) {
            askForFrame();
        }
    }
    armTimer();
}

/// The driver answers "nothing to send" once after three one-shot reads or five writes in a row
/// when nothing is polled, with the next one still waiting; so it is asked again.
void Session::askForFrame() {
    if (m_exchange.start() || m_exchange.start()) {
        return;
    }
    if (m_recipeActive) {
        recipeSettled(Settled());
    }
}

/// True while a piece of a read or write is in the driver's hands. It gets one at a time, so that
/// each one's end is known for certain.
bool Session::handOverPiece() {
    const Piece* piece = m_transfers.piece();
    if (piece == nullptr || m_transfers.isHandedOver()) {
        return piece != nullptr;
    }
    m_transfers.handedOver();
    if (piece->write) {
        QByteArray data = piece->data;
        m_api.setData(STATION, piece->reg, piece->address, piece->length,
                      reinterpret_cast<unsigned char*>(data.data()), WRITE_TAG);
    } else {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = STATION;
        key.regName = piece->reg;
        key.addr = piece->address;
        key.len = piece->length;
        m_api.addConditionRead(key, READ_TAG);
    }
    return true;
}

bool Session::scanDue() {
    if (m_blocks == 0) {
        return false;
    }
    const qint64 now = m_clock.now();
    if (m_blocksLeft == 0 && now >= m_nextScan) {
        m_blocksLeft = m_blocks;
        m_nextScan = std::max(m_nextScan + qint64(m_settings.scanMs) * 1000, now);
    }
    return m_blocksLeft > 0;
}

void Session::armTimer() {
    qint64 due = m_exchange.deadline();
    if (m_exchange.idle()) {
        if (m_blocks == 0) {
            m_timer.stop();
            return;
        }
        due = m_nextScan;
    }
    const qint64 wait = std::max<qint64>(0, due - m_clock.now());
    m_timer.start(static_cast<int>((wait + 999) / 1000));
}

// --- What the exchange asks and tells ----------------------------------------------------------

bool Session::nextFrame(FRAME_PRO* frame) {
    return m_api.getSendFrame(*frame) == 1;
}

int Session::dealWithReply(QByteArray reply, QString* message) {
    return static_cast<int>(m_api.dealRcvFrame(&reply, message));
}

void Session::frameSent(const QByteArray& frame, int attempt) {
    m_statistics.sent(attempt);
    for (FrameWitness* witness : m_witnesses) {
        witness->sent(frame, attempt);
    }
}

void Session::datagramReceived(const QByteArray& datagram, Verdict verdict) {
    m_statistics.received(verdict);
    for (FrameWitness* witness : m_witnesses) {
        witness->received(datagram, verdict);
    }
}

void Session::tryTimedOut(const QByteArray& frame) {
    m_statistics.timedOut();
    for (FrameWitness* witness : m_witnesses) {
        witness->timedOut(frame);
    }
}

void Session::requestSettled(const Settled& settled) {
    m_statistics.settled(settled, m_clock.now());
    const bool ofPiece = m_transfers.isHandedOver() &&
                         settled.tag == (m_transfers.piece()->write ? WRITE_TAG : READ_TAG);
    if (m_recipeActive) {
        recipeSettled(settled);
    } else if (ofPiece) {
        pieceSettled(settled);
    } else {
        if (onSettled) {
            onSettled(settled);
        }
        cyclicSettled();
    }
    work();
}

void Session::pieceSettled(const Settled& settled) {
    TransferEnd end;
    const TransferQueue::Next next = m_transfers.pieceEnded(settled, &end);
    if (next == TransferQueue::Next::Again) {
        if (onWrittenAgain) {
            onWrittenAgain(settled);
        }
        return;
    }
    if (onSettled) {
        onSettled(settled);
    }
    if (next == TransferQueue::Next::Ended && onTransferEnd) {
        onTransferEnd(end);
    }
}

void Session::cyclicSettled() {
    if (m_blocksLeft > 0 && --m_blocksLeft == 0 && onScanEnd) {
        onScanEnd();
    }
}

/// A block that met the PLC in the wrong mode fails as a write does, and the whole transfer with
/// it. A second change of mode that the PLC has gone along with is worth a third run.
bool Session::recipeBeginsAnew(const Settled& settled) const {
    const int runs = settled.acknowledged ? 3 : 2;
    return !settled.ok && settled.modeChange && m_recipeRun < runs;
}

/// The driver clears the request byte when the transfer has ended, well or not.
void Session::recipeSettled(const Settled& settled) {
    m_recipeBlocksOfRun += settled.ok || settled.acknowledged ? 1 : 0;
    m_recipeBlocksDone = std::max(m_recipeBlocksDone, m_recipeBlocksOfRun);
    if (recipeRequested()) {
        return;
    }
    if (recipeBeginsAnew(settled)) {
        ++m_recipeRun;
        m_recipeBlocksOfRun = 0; // it starts with the first block
        requestRecipe(true);
        if (onWrittenAgain) {
            onWrittenAgain(settled);
        }
        return;
    }
    m_recipeActive = false;
    if (onRecipeEnd) {
        onRecipeEnd(settled.ok, settled);
    }
}

bool Session::recipeRequested() {
    const QMutexLocker lock(&m_mutex);
    return m_hostBlock[HOST_RECIPE_DOWNLOAD_REQUEST] == 1 ||
           m_hostBlock[HOST_RECIPE_UPLOAD_REQUEST] == 1;
}

void Session::requestRecipe(bool requested) {
    const QMutexLocker lock(&m_mutex);
    const int offset = m_transfer == RecipeTransfer::Download ? HOST_RECIPE_DOWNLOAD_REQUEST
                                                              : HOST_RECIPE_UPLOAD_REQUEST;
    m_hostBlock[static_cast<std::size_t>(offset)] = requested ? 1 : 0;
}

} // namespace panel

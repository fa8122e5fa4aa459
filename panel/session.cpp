#include "panel/session.h"

#include "panel/service_ids.h"

#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <chrono>
#include <cstring>

namespace panel {
namespace {

const int LARGEST_WRITE_WORDS = 503; // what the driver's frame of 1024 bytes carries
const int LARGEST_WRITE_BITS = 1006;

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
    const int most = range.length > m_settings.wordsPerFrame ? pieceLength(m_settings.wordsPerFrame)
                                                             : m_settings.wordsPerFrame;
    for (int at = 0; at < range.length; at += most) {
        Job job;
        job.reg = range.reg;
        job.address = range.address + at;
        job.length = std::min(most, range.length - at);
        m_jobs.enqueue(job);
    }
    work();
}

void Session::write(const QString& reg, int address, const Items& items) {
    const bool bits = reg.endsWith(QLatin1String("_bit"));
    int most = std::min(m_settings.wordsPerFrame, bits ? LARGEST_WRITE_BITS : LARGEST_WRITE_WORDS);
    if (!bits && items.size() > most) {
        most = pieceLength(most);
    }
    for (int at = 0; at < items.size(); at += most) {
        Job job;
        job.write = true;
        job.reg = reg;
        job.address = address + at;
        const Items piece = items.mid(at, most);
        job.length = static_cast<int>(piece.size());
        job.data = toDriverBytes(piece, bits);
        m_jobs.enqueue(job);
    }
    work();
}

void Session::setRecipe(const QVector<_RCP_VAR_PRO>& variables) {
    m_api.setRcpAddress(variables);
}

void Session::startRecipe(RecipeTransfer transfer) {
    m_transfer = transfer;
    m_recipeActive = true;
    m_recipeAgain = false;
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
        const bool job = handOverJob();
        if (scanDue() || job || m_recipeActive) {
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

/// True while a job is in the driver's hands.
bool Session::handOverJob() {
    if (m_jobActive || m_jobs.isEmpty()) {
        return m_jobActive;
    }
    m_job = m_jobs.dequeue();
    m_jobActive = true;
    if (m_job.write) {
        QByteArray data = m_job.data;
        m_api.setData(STATION, m_job.reg, m_job.address, m_job.length,
                      reinterpret_cast<unsigned char*>(data.data()), WRITE_TAG);
    } else {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = STATION;
        key.regName = m_job.reg;
        key.addr = m_job.address;
        key.len = m_job.length;
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
    if (m_recipeActive) {
        recipeSettled(settled);
    } else if (m_jobActive && settled.tag == (m_job.write ? WRITE_TAG : READ_TAG)) {
        jobSettled(settled);
    } else {
        if (onSettled) {
            onSettled(settled);
        }
        cyclicSettled();
    }
    work();
}

/// A write that met the PLC in the wrong mode fails although the driver has switched the mode: its
/// resends keep a service ID that the driver no longer accepts. So it is written once more.
void Session::jobSettled(const Settled& settled) {
    m_jobActive = false;
    if (!settled.ok && settled.modeChange && !m_job.again) {
        m_job.again = true;
        m_jobs.prepend(m_job);
        if (onWrittenAgain) {
            onWrittenAgain(settled);
        }
        return;
    }
    if (onSettled) {
        onSettled(settled);
    }
}

void Session::cyclicSettled() {
    if (m_blocksLeft > 0 && --m_blocksLeft == 0 && onScanEnd) {
        onScanEnd();
    }
}

/// The driver clears the request byte when the transfer has ended, well or not.
void Session::recipeSettled(const Settled& settled) {
    m_recipeBlocksDone += settled.ok ? 1 : 0;
    if (recipeRequested()) {
        return;
    }
    if (!settled.ok && settled.modeChange && !m_recipeAgain) {
        m_recipeAgain = true;
        m_recipeBlocksDone = 0; // it starts with the first block
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

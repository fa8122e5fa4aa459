#include "host/simulated_line.h"

#include "host/wire/fins_decode.h"
#include "plc/bytes.h"

using namespace velkor_host;

namespace {

const int DATA_OFFSET = 18;

plc::Options nodeOne() {
    plc::Options options;
    options.node = 1;
    return options;
}

plc::Bytes bytesOf(const QByteArray& datagram) {
    return plc::Bytes(datagram.begin(), datagram.end());
}

QByteArray arrayOf(const plc::Bytes& bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}

QByteArray refusalOf(const QByteArray& request, int endCode) {
    QByteArray reply = QByteArray::fromHex("C00002");
    reply += request.mid(6, 3) + request.mid(3, 3) + request.mid(9, 3);
    reply.append(static_cast<char>(endCode >> 8));
    reply.append(static_cast<char>(endCode & 0xFF));
    return reply;
}

bool commandIs(const QByteArray& frame, int command) {
    return decodeFins(frame).command == command;
}

bool bitArea(int area) {
    return area < 0x80;
}

} // namespace

bool isWriteFrame(const QByteArray& frame) {
    return commandIs(frame, 0x0102);
}
bool isReadFrame(const QByteArray& frame) {
    return commandIs(frame, 0x0101);
}
bool isModeChangeFrame(const QByteArray& frame) {
    return commandIs(frame, 0x0401);
}

Machine::Machine() : core(nodeOne()) {}

int Machine::endCodeFor(const QByteArray& request) const {
    const FinsFrame frame = decodeFins(request);
    for (const Refusal& refusal : refusals) {
        const bool concerned = isWriteFrame(request) ? refusal.writes : refusal.reads;
        if (concerned && frame.area == refusal.area && frame.word <= refusal.last &&
            frame.word + frame.count > refusal.first) {
            return refusal.endCode;
        }
    }
    return 0;
}

QByteArray Machine::handle(const QByteArray& request, int forcedEndCode, qint64 now) {
    const int endCode = forcedEndCode != 0 ? forcedEndCode : endCodeFor(request);
    if (endCode != 0) {
        return refusalOf(request, endCode);
    }
    const std::optional<plc::Bytes> reply = core.handle(bytesOf(request));
    if (!reply) {
        return QByteArray();
    }
    QByteArray bytes = arrayOf(*reply);
    if ((decodeFins(bytes).endCode & ~0x40) != 0) {
        return bytes;
    }
    if (isModeChangeFrame(request)) {
        modeChanges.push_back(request);
    }
    if (isWriteFrame(request)) {
        const FinsFrame frame = decodeFins(request);
        Write write{frame.area, frame.word, frame.bit, {}, now};
        const int size = bitArea(frame.area) ? 1 : 2;
        for (int item = 0; item < frame.count; ++item) {
            const auto byte = [&](int offset) {
                return static_cast<unsigned char>(request.at(DATA_OFFSET + item * size + offset));
            };
            write.values.push_back(size == 1 ? byte(0) : byte(0) * 256 + byte(1));
        }
        writes.push_back(write);
        if (onWrite) {
            onWrite(write);
        }
    }
    return bytes;
}

int Machine::dm(int address) const {
    return core.memory().word(plc::Area::Dm, static_cast<std::uint32_t>(address));
}

void Machine::setDm(int address, int value) {
    core.memory().setWord(plc::Area::Dm, static_cast<std::uint32_t>(address),
                          static_cast<std::uint16_t>(value));
}

SimulatedLine::SimulatedLine(const LineSettings& lineSettings, const Wrap& wrap)
    : settings(lineSettings) {
    const QString fault = driver.load(QStringLiteral(VELKOR_LIBRARY));
    if (!fault.isEmpty()) {
        qFatal("%s", fault.toUtf8().constData());
    }
    core = std::make_unique<LineCore>(wrap ? wrap(driver.api()) : driver.api(), settings,
                                      QVector<int>{0, 1, 0, 0, 10, 0}, 7, *this, clock);
}

SimulatedLine::~SimulatedLine() {
    core.reset();
}

int SimulatedLine::send(const QByteArray& frame) {
    frames.push_back(frame);
    const Fate what = fate ? fate(frame, static_cast<int>(frames.size())) : Fate();
    if (what.loseRequest || what.sendError != 0) {
        return what.sendError;
    }
    for (int copy = 0; copy < what.requests; ++copy) {
        const qint64 extra = what.requestDelay + (copy > 0 ? what.copyDelay : 0);
        putUnderWay(Datagram{frame, true, what}, extra);
    }
    return 0;
}

void SimulatedLine::putUnderWay(const Datagram& datagram, qint64 delay) {
    const qint64 at = clock.time + usual + delay;
    if (!wire) {
        m_underWay.emplace(at, datagram);
        return;
    }
    for (const Arrival& arrival : wire(datagram.bytes, datagram.toPlc)) {
        m_underWay.emplace(at + arrival.delay,
                           Datagram{arrival.bytes, datagram.toPlc, datagram.fate});
    }
}

void SimulatedLine::arrive(const Datagram& datagram) {
    if (datagram.fate.closedPort) {
        core->portRefused();
        return;
    }
    if (!datagram.toPlc) {
        core->receive(datagram.bytes);
        return;
    }
    QByteArray reply = machine.handle(datagram.bytes, datagram.fate.endCode, clock.time);
    if (reply.isEmpty() || datagram.fate.loseReply) {
        return;
    }
    if (datagram.fate.cutReplyTo >= 0) {
        reply.truncate(datagram.fate.cutReplyTo);
    }
    for (int copy = 0; copy < datagram.fate.replies; ++copy) {
        const qint64 extra = datagram.fate.replyDelay + (copy > 0 ? datagram.fate.copyDelay : 0);
        putUnderWay(Datagram{reply, false, datagram.fate}, extra);
    }
}

bool SimulatedLine::next(qint64 until) {
    const qint64 due = core->due();
    const bool arrival = !m_underWay.empty() && (due < 0 || m_underWay.begin()->first <= due);
    const qint64 at = arrival ? m_underWay.begin()->first : due;
    if (at < 0 || at > until) {
        clock.time = std::max(clock.time, until);
        return false;
    }
    clock.time = std::max(clock.time, at);
    if (arrival) {
        const Datagram datagram = m_underWay.begin()->second;
        m_underWay.erase(m_underWay.begin());
        arrive(datagram);
    } else {
        core->turn();
    }
    collect();
    return true;
}

void SimulatedLine::run(qint64 microseconds) {
    const qint64 until = clock.time + microseconds;
    while (next(until)) {
    }
}

bool SimulatedLine::runUntil(const std::function<bool()>& condition, qint64 microseconds) {
    const qint64 until = clock.time + microseconds;
    collect();
    while (!condition()) {
        if (!next(until)) {
            return condition();
        }
    }
    return true;
}

void SimulatedLine::collect() {
    while (std::optional<Notice> notice = core->take()) {
        if (const auto* changed = std::get_if<TagsChanged>(&*notice)) {
            changedTags.insert(changedTags.end(), changed->indices.begin(), changed->indices.end());
            if (onTags) {
                onTags(changed->indices);
            }
        } else if (std::holds_alternative<PendingChanged>(*notice)) {
            ++pendingNotices;
        } else if (std::holds_alternative<ScanEnded>(*notice)) {
            ++scans;
        } else if (const auto* write = std::get_if<WriteOutcome>(&*notice)) {
            writes.push_back(*write);
            if (onWrite) {
                onWrite(*write);
            }
        } else if (const auto* read = std::get_if<ReadOutcome>(&*notice)) {
            reads.push_back(*read);
        } else if (const auto* recipe = std::get_if<RecipeOutcome>(&*notice)) {
            recipes.push_back(*recipe);
        } else if (const auto* moved = std::get_if<RecipeProgress>(&*notice)) {
            progress.push_back(*moved);
        } else {
            requests.push_back(std::get<RequestEnd>(*notice));
            if (onRequest) {
                onRequest(requests.back());
            }
        }
    }
}

quint64 SimulatedLine::write(const char* reg, int address, const Items& items) {
    core->write(++m_lastId, QString::fromLatin1(reg), address, items);
    collect();
    return m_lastId;
}

quint64 SimulatedLine::read(const char* reg, int address, int count) {
    core->read(++m_lastId, QString::fromLatin1(reg), address, count);
    collect();
    return m_lastId;
}

quint64 SimulatedLine::download(const QVector<RecipeVariable>& recipe, bool readBack) {
    core->recipe(++m_lastId, RecipeDirection::Download, recipe, readBack);
    collect();
    return m_lastId;
}

quint64 SimulatedLine::upload(const QVector<RecipeVariable>& recipe) {
    core->recipe(++m_lastId, RecipeDirection::Upload, recipe, false);
    collect();
    return m_lastId;
}

void SimulatedLine::setTags(const QVector<Tag>& tags) {
    core->setTags(tags);
    collect();
}

std::string SimulatedLine::shown(int index) const {
    const TagStatus& tag = status(index);
    const std::optional<Items> value = tag.value();
    if (!value) {
        return tagStateName(tag.state).toStdString();
    }
    std::string text;
    for (const quint16 item : *value) {
        text += (text.empty() ? "" : " ") + std::to_string(item);
    }
    return text;
}

int SimulatedLine::freshTags() const {
    int fresh = 0;
    for (int index = 0; index < core->board().size(); ++index) {
        fresh += status(index).state == TagState::Fresh ? 1 : 0;
    }
    return fresh;
}

void SimulatedLine::close() {
    core->close();
    collect();
}

LineSettings lineSettings() {
    LineSettings settings;
    settings.plc = {QHostAddress(QStringLiteral("192.168.250.1")), 9600};
    settings.wordsPerFrame = 64;
    settings.retries = 3;
    settings.timeoutMs = 50;
    settings.scanMs = 100;
    settings.refusedRetryMs = 5000;
    return settings;
}

Tag tagAt(const char* reg, int address, int count, ValueType type) {
    Tag tag;
    tag.name = QStringLiteral("%1 %2").arg(QLatin1String(reg)).arg(address);
    tag.reg = QString::fromLatin1(reg);
    tag.address = address;
    tag.count = count;
    tag.type = type;
    return tag;
}

RecipeVariable variable(const char* reg, int address, const Items& words) {
    RecipeVariable out;
    out.reg = QString::fromLatin1(reg);
    out.address = address;
    out.count = static_cast<int>(words.size());
    out.words = words;
    return out;
}

Items counting(int count, int first) {
    Items items;
    for (int index = 0; index < count; ++index) {
        items.append(static_cast<quint16>(first + index));
    }
    return items;
}

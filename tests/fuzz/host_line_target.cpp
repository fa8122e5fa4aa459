// The host layer with the real driver and everything that a hostile network can send it, at any
// time. What a forged reply says is believed, as FINS has nothing against it; so the laws here are
// of what the layer tells, not of what the PLC holds.

#include "fuzz/driver_host.h"
#include "fuzz/own_catalogue.h"
#include "host/line/line_core.h"

#include <velkor/host/witness.h>

#include <QtCore/QTextStream>

#include <map>

using namespace velkor_host;

namespace {

const int MOST_STEPS = 150;
const int MOST_TAGS = 12;

class HandClock : public Clock {
public:
    qint64 now() const override { return time; }
    qint64 time = 1000000;
};

/// Keeps the frame sent last.
class LastFrame : public Link {
public:
    int send(const QByteArray& frame) override {
        last = frame;
        return 0;
    }
    QByteArray last;
};

LineSettings settingsFrom(Input& input) {
    LineSettings settings;
    settings.plc = {QHostAddress(QStringLiteral("192.168.250.1")), 9600};
    settings.wordsPerFrame = 1 + input.upTo(502);
    settings.retries = 2 + input.upTo(2);
    settings.timeoutMs = 50;
    settings.scanMs = 100;
    settings.refusedRetryMs = 500;
    settings.allowModeChange = input.flag();
    return settings;
}

class HostileLine {
public:
    explicit HostileLine(Input& input)
        : m_input(input), m_trace(&m_traced), m_witness(m_trace),
          m_core(linkedDriver(), settingsFrom(input), {0, 1, 0, 0, 10, 0}, 7, m_link, m_clock) {
        m_core.addWitness(&m_witness);
    }

    void run() {
        for (int left = MOST_STEPS; left > 0 && !m_input.empty(); --left) {
            step();
            take();
        }
        m_core.close();
        take();
        require(m_core.pending() == 0, "nothing is left when the line is closed");
        for (const auto& told : m_told) {
            require(told.second == 1, "each thing handed over is told once");
        }
    }

private:
    void step() {
        const int what = m_input.upTo(15);
        switch (what) {
        case 0:
            return setTags();
        case 1:
            return write();
        case 2:
            return read();
        case 3:
            return recipe();
        case 4:
            return m_core.giveUpRecipe(static_cast<quint64>(m_input.upTo(static_cast<int>(m_id))));
        case 5:
            return m_core.portRefused();
        case 6:
            return m_core.receive(m_input.bytes());
        case 7:
            m_clock.time += 1000 * m_input.upTo(1000);
            return m_core.turn();
        case 8:
        case 9:
            m_clock.time = std::max(m_clock.time, m_core.due());
            return m_core.turn();
        default:
            m_clock.time += 1000;
            return m_core.receive(reply(what));
        }
    }

    /// Reads on in the input: one of two word registers.
    QString word() const { return m_input.flag() ? QStringLiteral("DM") : QStringLiteral("C"); }

    /// To the frame sent last: right, or spoilt by the input.
    QByteArray reply(int what) {
        FRAME_PRO frame = FRAME_PRO();
        std::copy_n(m_link.last.begin(),
                    std::min(static_cast<int>(m_link.last.size()), int{VELKOR_FRAME_SIZE}),
                    frame.frame);
        const bool read = frame.frame[10] == 1 && frame.frame[11] == 1;
        frame.dataLen = read ? 2 * (frame.frame[16] * 256 + frame.frame[17]) : 0;
        frame.rcvLen = 14 + frame.dataLen;
        return what < 13 ? goodReply(frame, m_input.byte()) : anyReply(frame, m_input);
    }

    void setTags() {
        QVector<Tag> tags;
        for (int left = m_input.upTo(MOST_TAGS); left > 0; --left) {
            Tag tag;
            const bool bits = m_input.flag();
            tag.reg = bits ? QStringLiteral("CIO_bit") : word();
            tag.address = m_input.upTo(400);
            tag.count = 1 + m_input.upTo(40);
            tag.type = bits ? ValueType::Bool : ValueType::Uint16;
            tags.append(tag);
        }
        m_core.setTags(tags);
        require(m_core.board().size() == tags.size(), "every tag has its state");
    }

    void write() {
        const bool bits = m_input.flag();
        const QString reg = bits ? QStringLiteral("CIO_bit") : word();
        const int address = m_input.upTo(400);
        const int count = 1 + m_input.upTo(255);
        const Items items(count, quint16(bits ? 1 : m_input.upTo(65535)));
        m_told[++m_id] = 0;
        m_core.write(m_id, reg, address, items);
    }

    void read() {
        const QString reg = word();
        const int address = m_input.upTo(400);
        m_told[++m_id] = 0;
        m_core.read(m_id, reg, address, 1 + m_input.upTo(200));
    }

    void recipe() {
        QVector<RecipeVariable> variables;
        int address = 0;
        for (int left = 1 + m_input.upTo(5); left > 0; --left) {
            RecipeVariable variable;
            variable.reg = QStringLiteral("DM");
            variable.address = address + m_input.upTo(100);
            variable.count = 1 + m_input.upTo(100);
            variable.words = Items(variable.count, quint16(left));
            address = variable.address + variable.count;
            variables.append(variable);
        }
        const RecipeDirection direction =
            m_input.flag() ? RecipeDirection::Download : RecipeDirection::Upload;
        m_told[++m_id] = 0;
        m_core.recipe(m_id, direction, variables, m_input.flag());
    }

    void take() {
        while (const std::optional<Notice> notice = m_core.take()) {
            std::visit([this](const auto& told) { this->judge(told); }, *notice);
        }
        m_traced.clear();
    }

    void judge(const PendingChanged& changed) { judge(TagsChanged{changed.indices}); }
    void judge(const TagsChanged& changed) {
        for (const int index : changed.indices) {
            if (index >= m_core.board().size()) {
                continue; // of tags that have been replaced since
            }
            const TagStatus& tag = m_core.board().at(index);
            require(tag.value().has_value() == (tag.state == TagState::Fresh),
                    "what is fresh has a value, and nothing else");
            require(!tag.value() ||
                        tag.value()->size() == m_core.board().tags().at(index).itemCount(),
                    "a value is whole");
        }
    }
    void judge(const WriteOutcome& outcome) {
        ++m_told[outcome.id];
        require(outcome.taken >= 0 && outcome.unknown >= 0 &&
                    outcome.taken + outcome.unknown <= outcome.count,
                "no more items are told of than there are");
        require((outcome.result == WriteResult::Taken) == (outcome.taken == outcome.count),
                "taken is the whole");
        require((outcome.result == WriteResult::Unknown) == (outcome.unknown > 0),
                "unknown is what may have been executed");
    }
    void judge(const ReadOutcome& outcome) {
        ++m_told[outcome.id];
        require(outcome.items.size() == (outcome.ok ? outcome.count : 0),
                "a read is whole or none");
    }
    void judge(const RecipeOutcome& outcome) {
        ++m_told[outcome.id];
        for (const RecipeBlock& block : outcome.blocks) {
            require(outcome.result != RecipeResult::Done || block.state == RecipeBlock::Moved,
                    "done is every block");
        }
    }
    static void judge(const RecipeProgress& progress) {
        require(progress.words > 0 && progress.words <= progress.ofWords, "words moved");
    }
    static void judge(const RequestEnd& end) {
        require(end.tries > 0, "a request that is told has been sent");
        require(failureText(end, LineSettings(), {0, 1, 0, 0, 10, 0}).isEmpty() == end.ok,
                "a failure, and nothing else, has a text");
    }
    static void judge(const ScanEnded&) {}

    Input& m_input;
    HandClock m_clock;
    LastFrame m_link;
    QString m_traced;
    QTextStream m_trace;
    Trace m_witness;
    LineCore m_core;
    std::map<quint64, int> m_told;
    quint64 m_id = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const DriverHost fresh; // the linked driver as it is after load; the line binds it anew
    HostileLine(input).run();
    return 0;
}

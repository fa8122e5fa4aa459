#include "endtoend/plc_trace.h"

#include <QtCore/QRegularExpression>

namespace {

/// "0102 write DM 100, 2 words: 00 01 00 02"; false for what is cut short or something else.
bool readCommand(const QString& text, TracedCommand* command) {
    static const QRegularExpression form(
        R"(^(0101 read|0102 write) ([A-Z]+) (\d+), (\d+) words?(?:: ([0-9A-F ]+))?$)");
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) {
        return false;
    }
    command->write = match.captured(1).endsWith("write");
    command->range = {match.captured(2), match.captured(3).toInt(), match.captured(4).toInt()};
    const QByteArray bytes = QByteArray::fromHex(match.captured(5).toLatin1());
    for (int at = 0; at + 1 < bytes.size(); at += 2) {
        command->data.append(static_cast<quint16>(static_cast<unsigned char>(bytes.at(at)) << 8 |
                                                  static_cast<unsigned char>(bytes.at(at + 1))));
    }
    return bytes.size() == (command->write ? 2 * command->range.count : 0);
}

/// "sid 2A node 5 to 1: 0101 read DM 100, 1 word"
void readArrival(const QString& text, TraceEvent* event) {
    event->sid = text.mid(4, 2).toInt(nullptr, 16);
    event->whole = readCommand(text.section(": ", 1), &event->command);
}

bool meetsFaultOnItsWay(const QString& faults) {
    return faults.contains("silent") || faults.contains("-request");
}

void readLine(const QString& line, qint64 at, QVector<TraceEvent>* events) {
    static const QRegularExpression form(
        R"(^#(\d+) (from|arrives|to)(?: \S+)?: (.*?)(?: \[(.*)\])?$)");
    const QRegularExpressionMatch match = form.match(line);
    if (!match.hasMatch()) {
        return;
    }
    TraceEvent event;
    event.at = at;
    event.request = match.captured(1).toInt();
    const QString what = match.captured(2);
    const QString text = match.captured(3);
    if (what == "to") {
        event.kind = TraceEvent::Sent;
        events->append(event);
        return;
    }
    readArrival(text, &event);
    if (what == "from") {
        events->append(event);
    }
    if (what == "arrives" || !meetsFaultOnItsWay(match.captured(4))) {
        event.kind = TraceEvent::Executed;
        events->append(event);
    }
}

} // namespace

QVector<TraceEvent> readPlcTrace(const QString& text) {
    QVector<TraceEvent> events;
    qint64 at = 0;
    for (const QString& line : text.split('\n')) { // in which every character is one byte
        readLine(line, at, &events);
        at += line.size() + 1;
    }
    return events;
}

#include "support/plc_trace.h"

#include <QtCore/QRegularExpression>

namespace {

/// "0102 write DM 100, 2 words: 00 01 00 02"; false for what is cut short or something else.
bool readCommand(const QString& text, TracedCommand* command) {
    static const QRegularExpression form(
        R"(^(0101 read|0102 write) ([A-Z0-9]+) (\d+)(?:\.(\d+))?, (\d+) (?:word|bit)s?)"
        R"((?:: ([0-9A-F ]+?)( \.\.\.)?)?$)");
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) {
        return false;
    }
    command->write = match.captured(1).endsWith("write");
    command->bits = !match.captured(4).isEmpty();
    const int word = match.captured(3).toInt();
    command->range.area = match.captured(2);
    command->range.address = command->bits ? word * 16 + match.captured(4).toInt() : word;
    command->range.count = match.captured(5).toInt();
    command->shortened = !match.captured(7).isEmpty();
    const QByteArray bytes = QByteArray::fromHex(match.captured(6).toLatin1());
    const int size = command->bits ? 1 : 2;
    for (int at = 0; at + size <= bytes.size(); at += size) {
        const int first = static_cast<unsigned char>(bytes.at(at));
        const int item =
            command->bits ? first : first << 8 | static_cast<unsigned char>(bytes.at(at + 1));
        command->data.append(static_cast<quint16>(item));
    }
    return command->shortened || bytes.size() == (command->write ? size * command->range.count : 0);
}

/// "sid 2A node 5 to 1: 0101 read DM 100, 1 word"
void readArrival(const QString& text, TraceEvent* event) {
    event->sid = text.mid(4, 2).toInt(nullptr, 16);
    event->text = text.section(": ", 1);
    event->complete = readCommand(event->text, &event->command);
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
    event.faults = match.captured(4);
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
    if (what == "arrives" || !meetsFaultOnItsWay(event.faults)) {
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

#include "load/plc_trace.h"

#include <QtCore/QRegularExpression>

namespace {

const int READ_ONLY_WORDS = 448; // of the area AR

/// "#7 from 127.0.0.1:5000: sid 2A node 1 to 1: 0102 write DM 100, 1 word: 00 07 [drop]", and
/// "#7 arrives: sid ..." when faults meet the command itself.
struct Line {
    bool arrives = false;
    QString command; ///< "0102 write DM 100, 1 word: 00 07"
    QString faults;
};

bool parse(const QString& text, Line* line) {
    static const QRegularExpression form(
        QStringLiteral("^#\\d+ (from|arrives)[^ ]* ?.*?sid [0-9A-F]{2} node \\d+ to \\d+: "
                       "([^\\[]*?)(?: \\[(.*)\\])?$"));
    const QRegularExpressionMatch match = form.match(text);
    line->arrives = match.captured(1) == QLatin1String("arrives");
    line->command = match.captured(2);
    line->faults = match.captured(3);
    return match.hasMatch();
}

/// False for what is no write, or one that was cut short.
bool parseWrite(const QString& command, TracedWrite* write) {
    static const QRegularExpression form(
        QStringLiteral("^0102 write ([A-Z0-9]+) (\\d+)(?:\\.(\\d+))?, (\\d+) (?:word|bit)s?: "
                       "([0-9A-F ]+?)( \\.\\.\\.)?$"));
    const QRegularExpressionMatch match = form.match(command);
    if (!match.hasMatch()) {
        return false;
    }
    write->area = match.captured(1);
    write->bit = !match.captured(3).isEmpty();
    write->address = match.captured(2).toInt() * (write->bit ? 16 : 1) + match.captured(3).toInt();
    write->count = match.captured(4).toInt();
    const QString data = match.captured(5).remove(QLatin1Char(' '));
    write->first = data.left(write->bit ? 2 : 4).toInt(nullptr, 16);
    // Data of which all is shown may be fewer than were announced: a command cut short.
    return !match.captured(6).isEmpty() || data.size() == write->count * (write->bit ? 2 : 4);
}

} // namespace

QVector<TracedWrite> tracedWrites(const QByteArray& trace, bool monitorOnly) {
    QVector<TracedWrite> writes;
    bool monitor = false;
    for (const QByteArray& bytes : trace.split('\n')) {
        Line line;
        if (!parse(QString::fromLatin1(bytes), &line)) {
            continue;
        }
        // Told of again when it arrives, as late, as often and as short as it does; or never.
        const bool cut = line.faults.contains(QLatin1String("truncate-request"));
        const bool elsewhere = line.faults.contains(QLatin1String("-request")) ||
                               line.faults.contains(QLatin1String("silent"));
        if (elsewhere && !line.arrives && !cut) {
            continue;
        }
        if (line.command.startsWith(QLatin1String("0401 run FF FF 04"))) {
            monitor = false;
        } else if (line.command.startsWith(QLatin1String("0401 run FF FF 02"))) {
            monitor = true;
        }
        TracedWrite write;
        if (parseWrite(line.command, &write)) {
            const bool readOnly =
                write.area == QLatin1String("AR") &&
                (write.bit ? write.address / 16 : write.address) < READ_ONLY_WORDS;
            write.executed = !readOnly && (monitor || !monitorOnly) && !cut;
            write.damaged = cut || line.faults.contains(QLatin1String("corrupt"));
            writes.append(write);
        }
    }
    return writes;
}

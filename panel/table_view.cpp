#include "panel/table_view.h"

#include "panel/output.h"
#include <velkor/host/end_codes.h>

#include <algorithm>

namespace panel {
namespace {

const int GRAPH_WIDTH = 16;
const int FLOAT_DIGITS = 6;
const int FIXED_LINES = 5; // title, column names, two of the link, message

/// What would move the cursor is no text.
QString printable(QString text) {
    for (QChar& character : text) {
        character = character.isPrint() ? character : QLatin1Char('?');
    }
    return text;
}

QString cut(const QString& wanted, int width, bool unicode) {
    const QString text = printable(wanted);
    if (text.size() <= width) {
        return text.leftJustified(width);
    }
    if (width <= 1) {
        return text.left(std::max(0, width));
    }
    return text.left(width - 1) + (unicode ? QChar(0x2026) : QLatin1Char('~'));
}

struct Widths {
    int name = 4;
    int address = 7;
    int value = 5;
};

Widths widthsFor(const TagBoard& board, int width) {
    Widths widths;
    for (int index = 0; index < board.size(); ++index) {
        const Tag& tag = board.at(index).tag;
        widths.name = std::max(widths.name, static_cast<int>(tag.name.size()));
        widths.address = std::max(widths.address, static_cast<int>(tagAddressText(tag).size()));
    }
    widths.name = std::min(widths.name, 24);
    widths.address = std::min(widths.address, 18);
    // Two blanks after each column; 8 for the age, 7 for the changes, the rest is the value's.
    const int rest = width - widths.name - widths.address - 8 - 7 - GRAPH_WIDTH - 10;
    widths.value = std::max(10, std::min(rest, 40));
    return widths;
}

QString row(const Widths& widths, const QStringList& cells, const TableInput& input) {
    const QString gap = QStringLiteral("  ");
    const QString text = cut(cells.value(0), widths.name, input.unicode) + gap +
                         cut(cells.value(1), widths.address, input.unicode) + gap +
                         cut(cells.value(2), widths.value, input.unicode) + gap +
                         cells.value(3).rightJustified(8) + gap + cells.value(4).rightJustified(7) +
                         gap + cells.value(5);
    return text.left(input.width);
}

/// A unit that begins with a number is a factor: 241 x 0.1 l.
QString valueText(const TagStatus& status, const QString& value, bool unicode) {
    if (status.state == TagState::NotRead) {
        return QStringLiteral("not read");
    }
    QString text = value;
    const QString& unit = status.tag.unit;
    if (!unit.isEmpty()) {
        const QChar times = unicode ? QChar(0x00D7) : QLatin1Char('x');
        text += unit.at(0).isDigit() ? QStringLiteral(" %1 ").arg(times) : QStringLiteral(" ");
        text += unit;
    }
    return status.state == TagState::Stale ? QStringLiteral("stale: ") + text : text;
}

/// Of a float no more digits than stand still.
QString tableValue(const TagStatus& status, bool unicode) {
    return valueText(status, formatItems(status.tag.type, status.items, FLOAT_DIGITS), unicode);
}

QString tagRow(const Widths& widths, const TagStatus& status, const TableInput& input) {
    const QString age =
        status.readAt < 0 ? QStringLiteral("-") : ageText(input.now - status.readAt);
    return row(widths,
               {status.tag.name, tagAddressText(status.tag), tableValue(status, input.unicode), age,
                QString::number(status.changes),
                sparkline(status.history, GRAPH_WIDTH, input.unicode)},
               input);
}

QString milliseconds(qint64 microseconds) {
    return microseconds < 0
               ? QStringLiteral("-")
               : QStringLiteral("%1 ms").arg(static_cast<double>(microseconds) / 1000, 0, 'f', 2);
}

/// "last end code 0000 normal, 14 s ago   no answer for 12.6 s   last error 2101 read-only, 15 s
/// ago"
QString endCodeLine(const LinkStatistics& statistics, qint64 now) {
    const bool silent = statistics.silentSince() >= 0;
    QString text = QStringLiteral("last end code ") + (statistics.lastEndCode() < 0
                                                           ? QStringLiteral("none yet")
                                                           : endCodeText(statistics.lastEndCode()));
    if (silent && statistics.lastEndCode() >= 0) {
        text += QStringLiteral(", %1 ago").arg(ageText(now - statistics.lastEndCodeAt()));
    }
    if (silent) {
        text += QStringLiteral("   no answer for ") + ageText(now - statistics.silentSince());
    }
    if (statistics.lastError() >= 0) {
        text +=
            QStringLiteral("   last error %1, %2 ago")
                .arg(endCodeText(statistics.lastError()), ageText(now - statistics.lastErrorAt()));
    }
    return text;
}

QStringList linkLines(const LinkStatistics& statistics, const TableInput& input) {
    const RoundTrips& trips = statistics.roundTrips();
    return {QStringLiteral("round trip %1 (99 %: %2)   %3 exchanges/s   %4   %5   %6 dropped")
                .arg(milliseconds(trips.percentile(50)), milliseconds(trips.percentile(99)))
                .arg(statistics.exchangeRate(input.now), 0, 'f', 1)
                .arg(counted(statistics.retries(), "retry", "retries"),
                     counted(statistics.failures(), "failure", "failures"))
                .arg(statistics.dropped())
                .left(input.width),
            endCodeLine(statistics, input.now).left(input.width)};
}

/// Says at its right end which tags are shown when not all are.
QString titleLine(const QString& title, int first, int rows, int tags, int width) {
    if (tags <= rows) {
        return title.left(width);
    }
    const QString part = QStringLiteral("  rows %1-%2 of %3")
                             .arg(first + 1)
                             .arg(std::min(tags, first + rows))
                             .arg(tags);
    const int room = std::max(0, width - static_cast<int>(part.size()));
    return (title.leftJustified(room, QLatin1Char(' '), true) + part).left(width);
}

/// The first tag shown, so that the selected one is visible and the page turns in one piece.
int firstVisible(int selected, int rows) {
    return rows > 0 ? selected / rows * rows : 0;
}

} // namespace

QString sparkline(const QVector<double>& values, int width, bool unicode) {
    const QString steps = unicode
                              ? QStringLiteral("\u2581\u2582\u2583\u2584\u2585\u2586\u2587\u2588")
                              : QStringLiteral("_.-:=+*#");
    const QVector<double> shown = values.mid(std::max(0, static_cast<int>(values.size()) - width));
    if (shown.isEmpty()) {
        return QString();
    }
    const double lowest = *std::min_element(shown.begin(), shown.end());
    const double span = *std::max_element(shown.begin(), shown.end()) - lowest;
    QString text;
    for (const double value : shown) {
        const double part = span > 0 ? (value - lowest) / span : 0;
        text += steps.at(std::min(7, static_cast<int>(part * 8)));
    }
    return text;
}

QString ageText(qint64 microseconds) {
    const qint64 milli = std::max<qint64>(0, microseconds) / 1000;
    if (milli < 1000) {
        return QStringLiteral("%1 ms").arg(milli);
    }
    if (milli < 60000) {
        return QStringLiteral("%1 s").arg(static_cast<double>(milli) / 1000, 0, 'f', 1);
    }
    return milli < 3600000 ? QStringLiteral("%1 min").arg(milli / 60000)
                           : QStringLiteral("%1 h").arg(milli / 3600000);
}

QString stateName(TagState state) {
    switch (state) {
    case TagState::Fresh:
        return QStringLiteral("read");
    case TagState::Stale:
        return QStringLiteral("stale");
    case TagState::NotRead:
        break;
    }
    return QStringLiteral("not read");
}

QString shownValue(const TagStatus& status) {
    return valueText(status, formatItems(status.tag.type, status.items), true);
}

QString reasonLine(const TagStatus& status, qint64 now) {
    if (status.reason.isEmpty() || status.failingSince < 0) {
        return status.reason;
    }
    const auto colon = status.reason.indexOf(QLatin1Char(':'));
    const auto end = colon < 0 ? status.reason.size() : colon;
    return status.reason.left(end) + QStringLiteral(" for ") + ageText(now - status.failingSince) +
           status.reason.mid(end);
}

TableScreen renderTable(const TagBoard& board, const LinkStatistics& statistics,
                        const TableInput& input) {
    TableScreen screen;
    const Widths widths = widthsFor(board, input.width);
    const int rows = std::max(1, input.height - FIXED_LINES);
    const int first = firstVisible(input.selected, rows);
    screen.lines.append(titleLine(input.title, first, rows, board.size(), input.width));
    screen.lines.append(
        row(widths,
            {QStringLiteral("NAME"), QStringLiteral("ADDRESS"), QStringLiteral("VALUE"),
             QStringLiteral("AGE"), QStringLiteral("CHANGES"), QStringLiteral("LAST VALUES")},
            input));
    for (int index = first; index < std::min(board.size(), first + rows); ++index) {
        if (index == input.selected) {
            screen.selectedLine = static_cast<int>(screen.lines.size());
        }
        screen.lines.append(tagRow(widths, board.at(index), input));
    }
    screen.lines += linkLines(statistics, input);
    screen.lines.append(input.message.left(input.width));
    // A window too low for everything keeps the message and the selected tag.
    while (screen.lines.size() > input.height && screen.lines.size() > 1) {
        const int victim = screen.selectedLine == 0 ? 1 : 0;
        screen.lines.removeAt(victim);
        screen.selectedLine -= screen.selectedLine > victim ? 1 : 0;
    }
    return screen;
}

} // namespace panel

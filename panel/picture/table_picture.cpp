#include "panel/picture/table_picture.h"

#include <algorithm>

namespace panel {
namespace screen {
namespace {

const int MARKS_WIDTH = 3; // selected, marked, a blank
const int STATE_WIDTH = 8;
const int AGE_WIDTH = 7;
const int CHANGES_WIDTH = 7;
const int GRAPH_WIDTH = 16;
const int VALUE_WIDTH = 40;
const int LEAST_GRAPH_WIDTH = 4; // of its heading, "LAST"
const int WIDE_SCREEN = 100;

/// Columns of each, 0: it is not shown.
struct Widths {
    int plc = 0;
    int name = 0;
    int address = 0;
    int value = VALUE_WIDTH;
    int changes = CHANGES_WIDTH;
    int graph = GRAPH_WIDTH;
    int gap = 1;

    int all() const {
        int sum = MARKS_WIDTH + STATE_WIDTH + AGE_WIDTH + 3 * gap; // state, value and age are there
        for (const int width : {plc, name, address, changes, graph}) {
            sum += width > 0 ? width + gap : 0;
        }
        return sum + value - gap; // none behind the last
    }
};

/// What matters least becomes narrow first.
Widths widthsFor(const NaturalWidths& natural, int screenWidth) {
    Widths widths;
    widths.plc = std::min(natural.plc, 16);
    widths.name = std::max(4, std::min(natural.name, 40));
    widths.address = std::max(7, std::min(natural.address, 24));
    widths.gap = screenWidth >= WIDE_SCREEN ? 2 : 1;
    const struct {
        int Widths::*column;
        int least;
    } steps[] = {
        {&Widths::value, 18},  {&Widths::graph, 8}, {&Widths::name, 24}, {&Widths::plc, 8},
        {&Widths::value, 12},  {&Widths::graph, 0}, {&Widths::name, 16}, {&Widths::address, 10},
        {&Widths::changes, 0}, {&Widths::plc, 4},   {&Widths::name, 8},  {&Widths::address, 0},
        {&Widths::value, 8},
    };
    for (const auto& step : steps) {
        int& width = widths.*step.column;
        const int excess = widths.all() - screenWidth;
        if (excess > 0 && width > step.least) {
            width = std::max(step.least, width - excess);
        }
    }
    if (widths.graph < LEAST_GRAPH_WIDTH) {
        widths.graph = 0;
    }
    if (widths.changes < CHANGES_WIDTH) {
        widths.changes = 0;
    }
    return widths;
}

/// Puts the cells of one line one behind the other.
class Line {
public:
    Line(Grid* grid, int y, const Widths& widths, bool unicode)
        : m_grid(grid), m_y(y), m_gap(widths.gap), m_unicode(unicode) {}

    void left(const QString& text, int width, Ink ink = Ink::Plain) {
        if (width > 0) {
            m_grid->put(m_x, m_y, cutText(text, width, m_unicode), {ink, false});
            m_x += width + m_gap;
        }
    }

    void right(const QString& text, int width, Ink ink = Ink::Plain) {
        if (width > 0) {
            m_grid->putRight(m_x + width, m_y, cutText(text, width, m_unicode), {ink, false});
            m_x += width + m_gap;
        }
    }

private:
    Grid* m_grid;
    int m_y;
    int m_x = MARKS_WIDTH;
    int m_gap;
    bool m_unicode;
};

void drawHeader(Grid* grid, int y, const Widths& widths, bool unicode) {
    Line line(grid, y, widths, unicode);
    line.left(QStringLiteral("PLC"), widths.plc, Ink::Strong);
    line.left(QStringLiteral("NAME"), widths.name, Ink::Strong);
    line.left(QStringLiteral("ADDRESS"), widths.address, Ink::Strong);
    line.left(QStringLiteral("STATE"), STATE_WIDTH, Ink::Strong);
    line.left(QStringLiteral("VALUE"), widths.value, Ink::Strong);
    line.right(QStringLiteral("AGE"), AGE_WIDTH, Ink::Strong);
    line.right(QStringLiteral("CHANGES"), widths.changes, Ink::Strong);
    line.left(widths.graph < 11 ? QStringLiteral("LAST") : QStringLiteral("LAST VALUES"),
              widths.graph, Ink::Strong);
}

void drawTag(Grid* grid, int y, const Widths& widths, const TableInput& input, int row) {
    const int tag = input.tags.at(row);
    const TagLabel label = input.label(tag);
    const TagNow status = input.status(tag);
    const Ink ink = stateInk(status);
    grid->put(0, y, row == input.selected ? QStringLiteral(">") : QString());
    grid->put(1, y, input.isMarked(tag) ? QStringLiteral("*") : QString(), {Ink::Strong, false});
    Line line(grid, y, widths, input.unicode);
    line.left(label.plc, widths.plc);
    line.left(label.name, widths.name);
    line.left(label.address, widths.address);
    line.left(stateWord(status), STATE_WIDTH, ink);
    line.left(shownValue(status, input.texts(tag).value), widths.value, ink);
    line.right(status.readAt < 0 ? QStringLiteral("-") : ageText(input.now - status.readAt),
               AGE_WIDTH);
    line.right(QString::number(status.changes), widths.changes);
    line.left(sparkline(input.recent(tag), widths.graph, input.unicode), widths.graph);
    if (row == input.selected) {
        for (int x = 0; x < grid->width(); ++x) {
            grid->setStyle(x, y, 1, {grid->at(x, y).style.ink, true});
        }
    }
}

/// "filter "lev": 3 of 43  by age  2 marked  rows 1-18 of 40"
QString titleEnd(const TableInput& input, int first, int rows) {
    QStringList parts;
    const int shown = static_cast<int>(input.tags.size());
    if (!input.filter.isEmpty()) {
        parts.append(
            QStringLiteral("filter \"%1\": %2 of %3")
                .arg(input.filter, QString::number(shown), QString::number(input.allTags)));
    }
    if (!input.order.isEmpty()) {
        parts.append(input.order);
    }
    if (input.marked > 0) {
        parts.append(QStringLiteral("%1 marked").arg(input.marked));
    }
    if (shown > rows) {
        parts.append(QStringLiteral("rows %1-%2 of %3")
                         .arg(first + 1)
                         .arg(std::min(shown, first + rows))
                         .arg(shown));
    }
    return parts.join(QStringLiteral("  "));
}

void drawTitle(Grid* grid, const TableInput& input, int first, int rows) {
    const QString end = cutText(titleEnd(input, first, rows), input.width, input.unicode);
    const int room = input.width - (end.isEmpty() ? 0 : textWidth(end) + 2);
    grid->put(0, 0, cutText(input.title, room, input.unicode), {Ink::Strong, false});
    grid->putRight(input.width, 0, end, {Ink::Strong, false});
}

QString milliseconds(qint64 duration) {
    return duration < 0
               ? QStringLiteral("-")
               : QStringLiteral("%1 ms").arg(static_cast<double>(duration) / 1000, 0, 'f', 2);
}

/// "no answer for 2.6 s", "last error 2101 read-only, 15 s ago": as far as there is any.
QStringList troubles(const PlcStatus& plc, qint64 now) {
    QStringList parts;
    if (plc.silentSince >= 0) {
        parts.append(QStringLiteral("no answer for ") + ageText(now - plc.silentSince) +
                     (plc.cannotSend ? QStringLiteral(", cannot send") : QString()));
    }
    if (!plc.lastError.isEmpty()) {
        parts.append(QStringLiteral("last error %1, %2 ago")
                         .arg(plc.lastError, ageText(now - plc.lastErrorAt)));
    }
    return parts;
}

QStringList counts(const PlcStatus& plc) {
    return {QStringLiteral("%1 exchanges/s").arg(plc.exchangesPerSecond, 0, 'f', 1),
            countText(plc.retries, "retry", "retries"),
            countText(plc.failures, "failure", "failures"),
            QStringLiteral("%1 dropped").arg(plc.dropped)};
}

/// The parts one behind the other, on a second line if there is no room, which may be cut.
QStringList linesOf(const QStringList& parts, int width, bool unicode) {
    const QString gap = QStringLiteral("   ");
    const QString whole = parts.join(gap);
    auto first = parts.size();
    while (first > 1 && textWidth(parts.mid(0, first).join(gap)) > width) {
        --first;
    }
    if (first == parts.size()) {
        return {cutText(whole, width, unicode)};
    }
    return {cutText(parts.mid(0, first).join(gap), width, unicode),
            cutText(parts.mid(first).join(gap), width, unicode)};
}

/// How old it is matters where nothing has come since.
QString lastEndCode(const PlcStatus& plc, qint64 now) {
    if (plc.lastEndCode.isEmpty()) {
        return QStringLiteral("none yet");
    }
    return plc.silentSince < 0 ? plc.lastEndCode
                               : QStringLiteral("%1, %2 ago")
                                     .arg(plc.lastEndCode, ageText(now - plc.lastEndCodeAt));
}

QStringList linesOfOne(const PlcStatus& plc, int width, bool unicode, qint64 now) {
    const QString trip = QStringLiteral("round trip %1 (99 %: %2)")
                             .arg(milliseconds(plc.roundTrip), milliseconds(plc.roundTrip99));
    const QString code = QStringLiteral("last end code ") + lastEndCode(plc, now);
    return linesOf(QStringList(trip) + counts(plc), width, unicode) +
           linesOf(QStringList(code) + troubles(plc, now), width, unicode);
}

/// What is wrong comes first: on a narrow screen the end is cut.
QString lineOfMany(const PlcStatus& plc, int nameWidth, qint64 now) {
    const QString name = cutText(plc.name, nameWidth, false);
    QStringList parts = troubles(plc, now);
    parts.append(lastEndCode(plc, now));
    parts.append(milliseconds(plc.roundTrip));
    parts += counts(plc);
    parts.append(plc.endpoint);
    return name + QString(nameWidth - textWidth(name) + 2, QLatin1Char(' ')) +
           parts.join(QStringLiteral("   "));
}

QStringList linesBelow(const TableInput& input) {
    return statusLines(input.plcs, input.width, std::max(2, input.height / 4), input.unicode,
                       input.now);
}

} // namespace

QString stateWord(const TagNow& status) {
    if (status.pending) {
        return QStringLiteral("writing");
    }
    switch (status.state) {
    case TagState::NotRead:
        return QStringLiteral("not read");
    case TagState::Stale:
        return QStringLiteral("stale");
    case TagState::Refused:
        return QStringLiteral("refused");
    case TagState::Fresh:
        break;
    }
    switch (status.limit) {
    case Limit::Below:
        return QStringLiteral("LOW");
    case Limit::Above:
        return QStringLiteral("HIGH");
    case Limit::BelowAndAbove:
        return QStringLiteral("LOW+HIGH");
    case Limit::NoNumber:
        return QStringLiteral("NO NUM");
    case Limit::Inside:
        break;
    }
    return QString();
}

Ink stateInk(const TagNow& status) {
    if (status.pending) {
        return Ink::Pending;
    }
    switch (status.state) {
    case TagState::NotRead:
        return Ink::NotRead;
    case TagState::Stale:
        return Ink::Stale;
    case TagState::Refused:
        return Ink::Refused;
    case TagState::Fresh:
        break;
    }
    return status.limit == Limit::Inside ? Ink::Fresh : Ink::Outside;
}

QString shownValue(const TagNow& status, const QString& value) {
    if (status.state == TagState::NotRead || value.isEmpty()) {
        return QStringLiteral("-");
    }
    return status.state == TagState::Fresh ? value : QStringLiteral("(%1)").arg(value);
}

NaturalWidths naturalWidths(const QVector<TagLabel>& labels, bool withPlc) {
    NaturalWidths widths;
    for (const TagLabel& label : labels) {
        widths.plc = withPlc ? std::max({3, widths.plc, textWidth(label.plc)}) : 0;
        widths.name = std::max(widths.name, textWidth(label.name));
        widths.address = std::max(widths.address, textWidth(label.address));
    }
    return widths;
}

QStringList statusLines(const QVector<PlcStatus>& plcs, int width, int most, bool unicode,
                        qint64 now) {
    if (plcs.isEmpty()) {
        return {};
    }
    if (plcs.size() == 1) {
        return linesOfOne(plcs.first(), width, unicode, now);
    }
    int nameWidth = 3;
    QVector<PlcStatus> sorted = plcs;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const PlcStatus& left, const PlcStatus& right) {
                         return left.silentSince >= 0 && right.silentSince < 0;
                     });
    const int all = static_cast<int>(sorted.size());
    const int shown = all <= most ? all : std::max(1, most - 1);
    QStringList lines;
    for (const PlcStatus& plc : sorted.mid(0, shown)) {
        nameWidth = std::max(nameWidth, std::min(16, textWidth(plc.name)));
    }
    for (const PlcStatus& plc : sorted.mid(0, shown)) {
        lines.append(cutText(lineOfMany(plc, nameWidth, now), width, unicode));
    }
    if (shown < all) {
        const auto silent =
            std::count_if(sorted.begin() + shown, sorted.end(),
                          [](const PlcStatus& plc) { return plc.silentSince >= 0; });
        lines.append(
            QStringLiteral("and %1 PLCs more, %2 of them silent").arg(all - shown).arg(silent));
    }
    return lines;
}

int pageRows(const TableInput& input) {
    const int fixed = 2 + static_cast<int>(linesBelow(input).size() + input.message.size());
    return std::max(1, input.height - fixed);
}

bool isCut(const TableInput& input, int tag) {
    const Widths widths = widthsFor(input.widths, input.width);
    const TagLabel label = input.label(tag);
    const QString value = shownValue(input.status(tag), input.texts(tag).value);
    return textWidth(label.name) > widths.name || textWidth(label.address) > widths.address ||
           textWidth(value) > widths.value;
}

Grid tablePicture(const TableInput& input) {
    Grid grid(input.width, input.height);
    const Widths widths = widthsFor(input.widths, input.width);
    const QStringList status = linesBelow(input);
    const int messages = static_cast<int>(input.message.size());
    // Title, header and status go when there is no room for them.
    int room = input.height - messages - 1;
    const bool title = room >= 1;
    const bool header = room >= 2;
    room -= (title ? 1 : 0) + (header ? 1 : 0);
    const int below = std::min(std::max(0, room), static_cast<int>(status.size()));
    const int rows = pageRows(input);
    const int first = std::max(0, input.selected) / rows * rows;
    if (title) {
        drawTitle(&grid, input, first, rows);
    }
    if (header) {
        drawHeader(&grid, 1, widths, input.unicode);
    }
    int y = (title ? 1 : 0) + (header ? 1 : 0);
    for (int row = first; row < std::min(static_cast<int>(input.tags.size()), first + rows);
         ++row) {
        drawTag(&grid, y++, widths, input, row);
    }
    if (input.tags.isEmpty()) {
        grid.put(MARKS_WIDTH, y++,
                 cutText(QStringLiteral("no name holds \"%1\"; Escape shows all").arg(input.filter),
                         input.width - MARKS_WIDTH, input.unicode),
                 {Ink::Faint, false});
    }
    y = std::max(y, input.height - messages - below);
    for (int line = 0; line < below; ++line) {
        grid.put(0, y++, status.at(line));
    }
    for (int line = 0; line < messages; ++line) {
        grid.put(0, y++, input.message.at(line), {input.messageInk, false});
    }
    return grid;
}

} // namespace screen
} // namespace panel

#include "panel/trend/trend_picture.h"

#include "panel/picture/table_picture.h"

#include <algorithm>
#include <cmath>

namespace panel {
namespace screen {
namespace {

const int LABEL_WIDTH = 10;
const int LEAST_STRIP = 5; // lines: what it is, and four of the chart
const int DOTS_ACROSS = 2; // of a braille character
const int DOTS_DOWN = 4;
const int MOST_STEPS = 20;
const double FARTHEST = 4e38; // beyond every float; a range of doubles may be no double

struct Area {
    int x = 0;
    int y = 0;
    int width = 1;
    int height = 1;
};

/// Of all values and limits; false when there are none.
bool findRange(const QVector<TrendTag>& tags, double* low, double* high) {
    bool found = false;
    const auto take = [&](double value) {
        *low = found ? std::min(*low, value) : value;
        *high = found ? std::max(*high, value) : value;
        found = true;
    };
    for (const TrendTag& tag : tags) {
        for (const Sample& sample : tag.samples) {
            if (sample.kind == Sample::Value) {
                take(static_cast<double>(sample.value));
            }
        }
        for (const std::optional<double>& limit : {tag.label.low, tag.label.high}) {
            if (limit && std::isfinite(*limit)) {
                take(std::max(-FARTHEST, std::min(FARTHEST, *limit)));
            }
        }
    }
    return found;
}

/// The line of `lines`, counted from the top, at which a value stands.
int lineOf(const Scale& scale, double value, int lines) {
    const double part = (scale.high - value) / (scale.high - scale.low);
    // Not so when the range is more than a number can tell.
    const double known = part >= 0 && part <= 1 ? part : part > 1 ? 1 : 0;
    return static_cast<int>(std::lround(known * (lines - 1)));
}

QString numberText(double value) {
    return QString::number(value, 'g', 6);
}

class Chart {
public:
    Chart(Grid* grid, const Area& area, const Scale& scale, bool unicode)
        : m_grid(grid), m_area(area), m_scale(scale), m_unicode(unicode) {}

    void drawScale() {
        for (int line = 0; line < m_area.height; ++line) {
            m_grid->put(m_area.x - 1, m_area.y + line, axis(false), FAINT);
        }
        for (int step = 0; step <= MOST_STEPS; ++step) {
            const double value = m_scale.low + step * m_scale.step;
            if (value > m_scale.high + m_scale.step / 2) {
                break;
            }
            // Close to 0 the sum of steps is not 0.
            const bool zero = std::fabs(value) < m_scale.step / 1000;
            label(value, numberText(zero ? 0 : value), FAINT);
        }
    }

    void drawLimit(const std::optional<double>& limit, const QString& name) {
        if (!limit || !std::isfinite(*limit)) {
            return;
        }
        const QString dash = m_unicode ? QString(QChar(0x2504)) : QStringLiteral("-");
        const int y = m_area.y + lineOf(m_scale, *limit, m_area.height);
        m_grid->put(m_area.x, y, dash.repeated(m_area.width), OUTSIDE);
        label(*limit, name + QLatin1Char(' ') + numberText(*limit), OUTSIDE);
    }

    void drawDots(const QVector<Sample>& samples);
    void drawStars(const QVector<Sample>& samples);
    void drawLetters(const QVector<Sample>& samples, QChar letter);

    /// On the last line, where a value was missing.
    void drawGaps(const QVector<Sample>& samples) {
        const QVector<Column> columns = columnsOf(samples, m_area.width);
        for (int x = 0; x < m_area.width; ++x) {
            if (columns.at(x).gap) {
                m_grid->put(m_area.x + x, m_area.y + m_area.height - 1, QStringLiteral("x"),
                            {Ink::Stale, false});
            }
        }
    }

private:
    static const Style FAINT;
    static const Style OUTSIDE;

    QString axis(bool marked) const {
        if (!m_unicode) {
            return marked ? QStringLiteral("+") : QStringLiteral("|");
        }
        return QString(QChar(marked ? 0x2524 : 0x2502));
    }

    void label(double value, const QString& text, Style style) {
        const int y = m_area.y + lineOf(m_scale, value, m_area.height);
        m_grid->fill(m_area.x - 1 - LABEL_WIDTH, y, LABEL_WIDTH);
        m_grid->putRight(m_area.x - 1, y, cutText(text, LABEL_WIDTH, m_unicode), style);
        m_grid->put(m_area.x - 1, y, axis(true), FAINT);
    }

    /// Calls `dot` for each of the lines that each column's values cover, joined to the column
    /// before when nothing was missing between.
    template <typename Dot>
    void walk(const QVector<Column>& columns, int lines, const Dot& dot) const {
        for (int x = 0; x < columns.size(); ++x) {
            const Column& column = columns.at(x);
            if (!column.value) {
                continue;
            }
            int top = lineOf(m_scale, column.high, lines);
            int bottom = lineOf(m_scale, column.low, lines);
            if (x > 0 && columns.at(x - 1).value && !columns.at(x - 1).gap && !column.gap) {
                const int before = lineOf(m_scale, columns.at(x - 1).last, lines);
                top = std::min(top, before + 1);
                bottom = std::max(bottom, before - 1);
            }
            for (int line = top; line <= bottom; ++line) {
                dot(x, line);
            }
        }
    }

    Grid* m_grid;
    Area m_area;
    Scale m_scale;
    bool m_unicode;
};

const Style Chart::FAINT = {Ink::Faint, false};
const Style Chart::OUTSIDE = {Ink::Outside, false};

void Chart::drawDots(const QVector<Sample>& samples) {
    static const ushort DOTS[DOTS_DOWN][DOTS_ACROSS] = {
        {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
    QVector<ushort> cells(m_area.width * m_area.height, 0);
    walk(columnsOf(samples, m_area.width * DOTS_ACROSS), m_area.height * DOTS_DOWN,
         [&](int x, int line) {
             ushort& cell = cells[line / DOTS_DOWN * m_area.width + x / DOTS_ACROSS];
             cell = static_cast<ushort>(cell | DOTS[line % DOTS_DOWN][x % DOTS_ACROSS]);
         });
    for (int index = 0; index < cells.size(); ++index) {
        if (cells.at(index) != 0) {
            m_grid->put(m_area.x + index % m_area.width, m_area.y + index / m_area.width,
                        QString(QChar(static_cast<ushort>(0x2800 + cells.at(index)))),
                        {Ink::Fresh, false});
        }
    }
}

void Chart::drawStars(const QVector<Sample>& samples) {
    const QVector<Column> columns = columnsOf(samples, m_area.width);
    walk(columns, m_area.height, [&](int x, int line) {
        const bool last = line == lineOf(m_scale, columns.at(x).last, m_area.height);
        m_grid->put(m_area.x + x, m_area.y + line, last ? QStringLiteral("*") : QStringLiteral("|"),
                    {Ink::Fresh, false});
    });
}

/// Where two tags meet, the columns take turns, so that both are seen.
void Chart::drawLetters(const QVector<Sample>& samples, QChar letter) {
    const QVector<Column> columns = columnsOf(samples, m_area.width);
    for (int x = 0; x < columns.size(); ++x) {
        if (!columns.at(x).value) {
            continue;
        }
        const int y = m_area.y + lineOf(m_scale, columns.at(x).last, m_area.height);
        if (y >= m_grid->height() || m_area.x + x >= m_grid->width()) {
            continue; // a window too small for a chart
        }
        const QString& there = m_grid->at(m_area.x + x, y).text;
        const bool taken = !there.isEmpty() && there.at(0).isLetter();
        if (!taken || (x + letter.unicode()) % 2 == 0) {
            m_grid->put(m_area.x + x, y, QString(letter), {Ink::Fresh, false});
        }
    }
}

QString tagName(const TrendTag& tag, bool withPlc) {
    return withPlc ? tag.label.plc + QLatin1Char(' ') + tag.label.name : tag.label.name;
}

/// "level  DM 2  46.4 l  HIGH"
void drawTagLine(Grid* grid, int y, const TrendTag& tag, const QString& mark,
                 const TrendInput& input) {
    const QString value = shownValue(tag.status, tag.value);
    const QString word = stateWord(tag.status);
    const QString state = word.isEmpty() ? value : value + QStringLiteral("  ") + word;
    const QString shown = cutText(state, std::max(8, input.width / 2), input.unicode);
    const int room = input.width - textWidth(shown) - 2;
    const QString name =
        mark + tagName(tag, input.withPlc) + QStringLiteral("  ") + tag.label.address;
    const int x = grid->put(0, y, cutText(name, room, input.unicode), {Ink::Strong, false});
    grid->put(x + 2, y, shown, {stateInk(tag.status), false});
}

Area chartArea(const TrendInput& input, int y, int height) {
    const int left = std::min(LABEL_WIDTH + 1, input.width - 1);
    return {left, y, std::max(1, input.width - left), std::max(1, height)};
}

void drawStrip(Grid* grid, const TrendInput& input, const TrendTag& tag, int y, int height) {
    drawTagLine(grid, y, tag, QString(), input);
    const Area area = chartArea(input, y + 1, height - 1);
    double low = 0;
    double high = 0;
    if (!findRange({tag}, &low, &high)) {
        grid->put(area.x, area.y, QStringLiteral("no number was read in this time"),
                  {Ink::Faint, false});
        Chart(grid, area, Scale(), input.unicode).drawGaps(tag.samples);
        return;
    }
    Chart chart(grid, area, roundScale(low, high, area.height / 3), input.unicode);
    chart.drawScale();
    chart.drawLimit(tag.label.low, QStringLiteral("low"));
    chart.drawLimit(tag.label.high, QStringLiteral("high"));
    chart.drawGaps(tag.samples);
    if (input.unicode) {
        chart.drawDots(tag.samples);
    } else {
        chart.drawStars(tag.samples);
    }
}

/// Each tag's limits bear its letter; a gap is of any of them.
void drawOneScale(Grid* grid, const TrendInput& input, int y, int height) {
    const int LETTERS = 'x' - 'a'; // x marks a gap
    const int count =
        std::min({static_cast<int>(input.tags.size()), LETTERS, std::max(1, height - 3)});
    const QVector<TrendTag> tags = input.tags.mid(0, count);
    for (int index = 0; index < count; ++index) {
        drawTagLine(grid, y + index, tags.at(index), QString(QChar('a' + index)) + QLatin1Char(' '),
                    input);
    }
    const Area area = chartArea(input, y + count, height - count);
    double low = 0;
    double high = 0;
    if (!findRange(tags, &low, &high)) {
        grid->put(area.x, area.y, QStringLiteral("no number was read in this time"),
                  {Ink::Faint, false});
        for (const TrendTag& tag : tags) {
            Chart(grid, area, Scale(), input.unicode).drawGaps(tag.samples);
        }
        return;
    }
    Chart chart(grid, area, roundScale(low, high, area.height / 3), input.unicode);
    chart.drawScale();
    for (int index = 0; index < count; ++index) {
        const QString letter = QString(QChar('a' + index)) + QLatin1Char(' ');
        chart.drawLimit(tags.at(index).label.low, letter + QStringLiteral("low"));
        chart.drawLimit(tags.at(index).label.high, letter + QStringLiteral("high"));
        chart.drawGaps(tags.at(index).samples);
    }
    for (int index = 0; index < count; ++index) {
        chart.drawLetters(tags.at(index).samples, QChar('a' + index));
    }
}

/// "-1:30"
QString momentText(int seconds) {
    return seconds == 0 ? QStringLiteral("now")
                        : QStringLiteral("-%1:%2")
                              .arg(seconds / 60)
                              .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

void drawTime(Grid* grid, const TrendInput& input, int y) {
    const Area area = chartArea(input, y, 1);
    for (int quarter = 0; quarter <= 4; ++quarter) {
        const QString text = momentText(input.seconds * (4 - quarter) / 4);
        const int x = area.x + (area.width - 1) * quarter / 4 - static_cast<int>(text.size()) / 2;
        const int last = input.width - static_cast<int>(text.size());
        grid->put(std::max(0, std::min(x, last)), y, text, {Ink::Faint, false});
    }
}

void drawTitle(Grid* grid, const TrendInput& input, int shown) {
    const int count = static_cast<int>(input.tags.size());
    const QString title = QStringLiteral("trend of %1, last %2   x: no fresh value")
                              .arg(countText(count, "tag", "tags"),
                                   countText(input.seconds / 60, "minute", "minutes"));
    QString end;
    if (!input.oneScale && shown < count) {
        end = QStringLiteral("tags %1-%2 of %3")
                  .arg(input.first + 1)
                  .arg(std::min(count, input.first + shown))
                  .arg(count);
    }
    grid->put(0, 0, cutText(title, input.width - textWidth(end) - 2, input.unicode),
              {Ink::Strong, false});
    grid->putRight(input.width, 0, end, {Ink::Strong, false});
}

int chartLines(const TrendInput& input) {
    return std::max(2, input.height - 2 - static_cast<int>(input.message.size()));
}

} // namespace

Scale roundScale(double low, double high, int steps) {
    if (!(high > low)) {
        const double margin = low == 0 ? 1 : std::fabs(low) / 20;
        low -= low == 0 ? 0 : margin;
        high += margin;
    }
    const double least = (high - low) / std::max(1, steps);
    const double power = std::pow(10, std::floor(std::log10(least)));
    Scale scale;
    scale.step = 10 * power;
    for (const int factor : {5, 2, 1}) {
        scale.step = factor * power >= least * (1 - 1e-9) ? factor * power : scale.step;
    }
    scale.low = std::floor(low / scale.step + 1e-9) * scale.step;
    scale.high = std::ceil(high / scale.step - 1e-9) * scale.step;
    return scale;
}

int stripsThatFit(const TrendInput& input) {
    return std::max(1, chartLines(input) / LEAST_STRIP);
}

Grid trendPicture(const TrendInput& input) {
    Grid grid(input.width, input.height);
    const int lines = chartLines(input);
    const int count = static_cast<int>(input.tags.size());
    const int shown = std::max(1, std::min(stripsThatFit(input), count - input.first));
    drawTitle(&grid, input, shown);
    if (input.oneScale) {
        drawOneScale(&grid, input, 1, lines);
    } else {
        const int height = lines / shown;
        for (int index = 0; index < shown && input.first + index < count; ++index) {
            const int last = index + 1 == shown ? lines - height * shown : 0; // takes the rest
            drawStrip(&grid, input, input.tags.at(input.first + index), 1 + index * height,
                      height + last);
        }
    }
    drawTime(&grid, input, 1 + lines);
    const int messages = static_cast<int>(input.message.size());
    for (int line = 0; line < messages; ++line) {
        grid.fill(0, input.height - messages + line, input.width);
        grid.put(0, input.height - messages + line, input.message.at(line),
                 {input.messageInk, false});
    }
    return grid;
}

} // namespace screen
} // namespace panel

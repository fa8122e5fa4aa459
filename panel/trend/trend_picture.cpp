#include "panel/trend/trend_picture.h"

#include "panel/picture/table_picture.h"
#include "panel/trend/chart.h"

#include <algorithm>
#include <cmath>

namespace panel {
namespace screen {
namespace {

const int LABEL_WIDTH = 10; // the least, and of the chart beside it too
const int LEAST_STRIP = 5;  // lines: what it is, and four of the chart
// Of a page, without the x of gaps.
const char LETTERS[] = "abcdefghijklmnopqrstuvwyzABCDEFGHIJKLMNOPQRSTUVWYZ";
const int LETTER_COUNT = sizeof LETTERS - 1;

/// One chart with the lines above it that say what is drawn.
struct Part {
    QVector<TrendTag> tags;
    QString letters; ///< one for each tag; empty: the only one is drawn with dots
    int y = 0;
    int height = 1;        ///< of all of it
    int chartHeight = 1;   ///< without the line of gaps, when there are some
    bool hasScale = false; ///< else there is no number to draw
    Scale scale;
    QVector<ScaleLabel> labels;

    int chartY() const { return y + static_cast<int>(tags.size()); }
    int lastY() const { return std::max(chartY(), y + height - 1); }
};

/// Of all values and limits; false when there are none.
bool findRange(const QVector<TrendTag>& tags, double* low, double* high) {
    bool found = false;
    const auto take = [&](double any) {
        const double value = std::max(-FARTHEST, std::min(FARTHEST, any));
        *low = found ? std::min(*low, value) : value;
        *high = found ? std::max(*high, value) : value;
        found = true;
    };
    for (const TrendTag& tag : tags) {
        for (const Sample& sample : tag.samples) {
            if (sample.kind == Sample::Value) {
                take(sample.value);
            }
        }
        for (const std::optional<double>& limit : {tag.label.low, tag.label.high}) {
            if (limit && std::isfinite(*limit)) {
                take(*limit);
            }
        }
    }
    return found;
}

bool hasGap(const QVector<TrendTag>& tags) {
    return std::any_of(tags.begin(), tags.end(), [](const TrendTag& tag) {
        return std::any_of(tag.samples.begin(), tag.samples.end(),
                           [](const Sample& sample) { return sample.kind == Sample::Gap; });
    });
}

/// Each tag's limits bear its letter.
void addLimits(Part* part) {
    for (int index = 0; index < part->tags.size(); ++index) {
        const TagLabel& label = part->tags.at(index).label;
        const QString letter =
            part->letters.isEmpty() ? QString() : part->letters.mid(index, 1) + QLatin1Char(' ');
        if (label.low && std::isfinite(*label.low)) {
            part->labels.append(limitLabel(*label.low, letter + QStringLiteral("low")));
        }
        if (label.high && std::isfinite(*label.high)) {
            part->labels.append(limitLabel(*label.high, letter + QStringLiteral("high")));
        }
    }
}

Part partOf(const QVector<TrendTag>& tags, const QString& letters, int y, int height) {
    Part part;
    part.tags = tags;
    part.letters = letters;
    part.y = y;
    part.height = height;
    const int lines = part.lastY() - part.chartY() + 1;
    // A value on the chart's last line and a gap beside it are both to be seen.
    part.chartHeight = hasGap(tags) ? std::max(1, lines - 1) : lines;
    double low = 0;
    double high = 0;
    part.hasScale = findRange(tags, &low, &high);
    if (part.hasScale) {
        part.scale = roundScale(low, high, part.chartHeight / 3);
        part.labels = stepLabels(part.scale);
        addLimits(&part);
    }
    return part;
}

int chartLines(const TrendInput& input) {
    return std::max(2, input.height - 2 - static_cast<int>(input.message.size()));
}

int tagsShown(const TrendInput& input) {
    const int count = static_cast<int>(input.tags.size());
    return std::max(0, std::min(tagsThatFit(input), count - input.first));
}

QVector<Part> partsOf(const TrendInput& input) {
    const int lines = chartLines(input);
    const int shown = tagsShown(input);
    QVector<Part> parts;
    if (shown > 0 && input.oneScale) {
        QString letters; // a tag keeps its own on every page
        for (int index = 0; index < shown; ++index) {
            letters += QLatin1Char(LETTERS[(input.first + index) % LETTER_COUNT]);
        }
        parts.append(partOf(input.tags.mid(input.first, shown), letters, 1, lines));
        return parts;
    }
    for (int index = 0; index < shown; ++index) {
        const int height = lines / shown;
        const int rest = index + 1 == shown ? lines - height * shown : 0; // the last one takes it
        parts.append(partOf({input.tags.at(input.first + index)}, QString(), 1 + index * height,
                            height + rest));
    }
    return parts;
}

/// One for all charts, which show the same time: every number has room, if the window has.
int labelWidth(const QVector<Part>& parts, int width) {
    int longest = LABEL_WIDTH;
    for (const Part& part : parts) {
        for (const ScaleLabel& label : part.labels) {
            longest = std::max(longest, textWidth(label.text));
        }
    }
    return std::min(longest, std::max(LABEL_WIDTH, width - 1 - LABEL_WIDTH));
}

QString tagName(const TrendTag& tag, bool withPlc) {
    return withPlc ? tag.label.plc + QLatin1Char(' ') + tag.label.name : tag.label.name;
}

/// "level  DM 2  46.4 l  HIGH", "valves  WR 3  first of 4 drawn: 1 0 0 1"
void drawTagLine(Grid* grid, int y, const TrendTag& tag, const QString& mark,
                 const TrendInput& input) {
    const QString word = stateWord(tag.status);
    const QString state = word.isEmpty() ? word : QStringLiteral("  ") + word;
    const QString drawn = tag.label.values > 1
                              ? QStringLiteral("first of %1 drawn: ").arg(tag.label.values)
                              : QString();
    const int valueRoom = input.width / 2 - textWidth(drawn) - textWidth(state);
    const QString value =
        cutText(shownValue(tag.status, tag.value), std::max(8, valueRoom), input.unicode);
    const QString shown = drawn + value + state;
    const int room = input.width - textWidth(shown) - 2;
    const QString name =
        mark + tagName(tag, input.withPlc) + QStringLiteral("  ") + tag.label.address;
    const int x = grid->put(0, y, cutText(name, room, input.unicode), {Ink::Strong, false});
    grid->put(x + 2, y, shown, {stateInk(tag.status), false});
}

QVector<QVector<Sample>> samplesOf(const QVector<TrendTag>& tags) {
    QVector<QVector<Sample>> all;
    for (const TrendTag& tag : tags) {
        all.append(tag.samples);
    }
    return all;
}

void drawPart(Grid* grid, const TrendInput& input, const Part& part, const Area& area) {
    const int count = static_cast<int>(part.tags.size());
    for (int index = 0; index < count; ++index) {
        const QString mark =
            part.letters.isEmpty() ? QString() : part.letters.mid(index, 1) + QLatin1Char(' ');
        drawTagLine(grid, part.y + index, part.tags.at(index), mark, input);
    }
    if (part.hasScale) {
        Chart chart(grid, area, part.scale, input.unicode);
        chart.drawScale(part.labels);
        if (!part.letters.isEmpty()) {
            chart.drawLetters(samplesOf(part.tags), part.letters);
        } else if (input.unicode) {
            chart.drawDots(part.tags.first().samples);
        } else {
            chart.drawStars(part.tags.first().samples);
        }
    } else {
        grid->put(area.x, area.y, QStringLiteral("no number was read in this time"),
                  {Ink::Faint, false});
    }
    for (const TrendTag& tag : part.tags) {
        drawGaps(grid, area, part.lastY(), tag.samples);
    }
}

/// "-1:30"
QString momentText(int seconds) {
    return seconds == 0 ? QStringLiteral("now")
                        : QStringLiteral("-%1:%2")
                              .arg(seconds / 60)
                              .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

void drawTime(Grid* grid, const TrendInput& input, const Area& area) {
    for (int quarter = 0; quarter <= 4; ++quarter) {
        const QString text = momentText(input.seconds * (4 - quarter) / 4);
        const int x = area.x + (area.width - 1) * quarter / 4 - static_cast<int>(text.size()) / 2;
        const int last = input.width - static_cast<int>(text.size());
        grid->put(std::max(0, std::min(x, last)), area.y, text, {Ink::Faint, false});
    }
}

void drawTitle(Grid* grid, const TrendInput& input) {
    const int count = static_cast<int>(input.tags.size());
    const int shown = tagsShown(input);
    const QString title = QStringLiteral("trend of %1, last %2   x: no fresh value")
                              .arg(countText(count, "tag", "tags"),
                                   countText(input.seconds / 60, "minute", "minutes"));
    QString end;
    if (shown < count) {
        end = QStringLiteral("tags %1-%2 of %3")
                  .arg(input.first + 1)
                  .arg(input.first + shown)
                  .arg(count);
    }
    grid->put(0, 0, cutText(title, input.width - textWidth(end) - 2, input.unicode),
              {Ink::Strong, false});
    grid->putRight(input.width, 0, end, {Ink::Strong, false});
}

} // namespace

int tagsThatFit(const TrendInput& input) {
    const int lines = chartLines(input);
    // On one scale each has a line above the chart, to which a third is left.
    return std::max(1,
                    input.oneScale ? std::min(LETTER_COUNT, lines * 2 / 3) : lines / LEAST_STRIP);
}

Grid trendPicture(const TrendInput& input) {
    Grid grid(input.width, input.height);
    drawTitle(&grid, input);
    const QVector<Part> parts = partsOf(input);
    Area area;
    area.x = std::min(labelWidth(parts, input.width) + 1, input.width - 1);
    area.width = std::max(1, input.width - area.x);
    for (const Part& part : parts) {
        area.y = part.chartY();
        area.height = part.chartHeight;
        drawPart(&grid, input, part, area);
    }
    area.y = 1 + chartLines(input);
    drawTime(&grid, input, area);
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

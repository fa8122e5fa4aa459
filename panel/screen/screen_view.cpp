#include "panel/screen/screen_view.h"

#include <algorithm>

namespace panel {
namespace screen {
namespace {

const qint64 SORT_INTERVAL = 1000000;
const int MESSAGE_LINES = 3;

QVector<TagLabel> labelsOf(const ScreenModel& model) {
    QVector<TagLabel> labels;
    for (int tag = 0; tag < model.tagCount(); ++tag) {
        labels.append(model.label(tag));
    }
    return labels;
}

/// "(DM 5, uint16, low 10, high 90)"
QString labelDetails(const TagLabel& label) {
    QStringList parts{label.address, label.type};
    if (label.low) {
        parts.append(QStringLiteral("low ") + QString::number(*label.low, 'g', 15));
    }
    if (label.high) {
        parts.append(QStringLiteral("high ") + QString::number(*label.high, 'g', 15));
    }
    parts.removeAll(QString());
    return QLatin1Char('(') + parts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

/// The end of the text, where the cursor is.
QString tailText(const QString& text, int width) {
    if (textWidth(text) <= width) {
        return text;
    }
    QString tail;
    int used = 3;
    const QVector<Glyph> all = glyphs(text);
    for (auto glyph = all.rbegin(); glyph != all.rend() && used + glyph->width <= width; ++glyph) {
        tail.prepend(glyph->text);
        used += glyph->width;
    }
    return QStringLiteral("...") + tail;
}

} // namespace

ScreenView::ScreenView(ScreenModel& model, bool unicode)
    : m_model(model), m_unicode(unicode), m_labels(labelsOf(model)),
      m_withPlc(model.plcs().size() > 1), m_widths(naturalWidths(m_labels, m_withPlc)),
      m_history(static_cast<int>(m_labels.size())) {
    arrange();
}

void ScreenView::arrange() {
    m_tags = matchingTags(m_labels, m_filter, m_withPlc);
    m_sortedAt = m_model.now();
    sortTags(
        &m_tags, m_order, m_labels, [this](int tag) { return m_model.status(tag); }, m_sortedAt);
    if (!m_tags.contains(m_tag)) {
        m_tag = m_tags.isEmpty() ? -1 : m_tags.first();
    }
}

void ScreenView::tick() {
    const qint64 now = m_model.now();
    m_history.sample(now, [this](int tag) {
        const TagNow status = m_model.status(tag);
        if (status.state != TagState::Fresh) {
            return Sample{Sample::Gap, 0};
        }
        return status.number ? Sample{Sample::Value, *status.number} : Sample{Sample::None, 0};
    });
    if (ordersByTime() && now - m_sortedAt >= SORT_INTERVAL) {
        arrange();
    }
}

QString ScreenView::prompt() const {
    if (m_mode == Mode::TypeFilter) {
        return QStringLiteral("filter by name: ") + m_typed;
    }
    const TagLabel& label = m_labels.at(m_tag);
    return QStringLiteral("write %1 %2: ").arg(label.name, labelDetails(label)) + m_typed;
}

ScreenView::Message ScreenView::message(const TableInput& input) const {
    const QString failure =
        m_tag >= 0 && m_mode != Mode::Trend ? m_model.texts(m_tag).reason : QString();
    const QString text = m_message.text(failure, m_model.now());
    if (m_mode == Mode::TypeValue || m_mode == Mode::TypeFilter) {
        return {prompt(), Ink::Plain, true};
    }
    if (!text.isEmpty()) {
        return {text, m_message.warns(m_model.now()) ? Ink::Strong : Ink::Plain, false};
    }
    if (m_mode == Mode::Trend) {
        return {QStringLiteral("t back   + - minutes   o one scale   arrows more tags   ? help   "
                               "q quits"),
                Ink::Faint, false};
    }
    if (m_tag >= 0 && isCut(input, m_tag)) {
        const TagLabel& label = m_labels.at(m_tag);
        return {label.name + QStringLiteral("  ") + label.address + QStringLiteral("  ") +
                    shownValue(m_model.status(m_tag), m_model.texts(m_tag).value),
                Ink::Plain, false};
    }
    return {QStringLiteral("? help   Enter writes   / filter   s sort   Space marks   t trend   "
                           "q quits"),
            Ink::Faint, false};
}

QStringList ScreenView::messageLines(const Message& message, int width, int height) const {
    const int most = std::max(1, std::min(MESSAGE_LINES, height - 2));
    if (!message.typing) {
        return wrapText(message.text, width, most, m_unicode);
    }
    // What became of an earlier write stands above the question.
    QStringList lines;
    const QString news = m_message.text(QString(), m_model.now());
    if (!news.isEmpty() && most > 1) {
        lines = wrapText(news, width, most - 1, m_unicode);
    }
    lines.append(tailText(message.text, width - 1));
    return lines;
}

TableInput ScreenView::tableInput(int width, int height) const {
    TableInput input;
    input.title = m_model.title();
    input.filter = m_filter;
    input.order = orderName(m_order);
    input.marked = static_cast<int>(m_marked.size());
    input.allTags = static_cast<int>(m_labels.size());
    input.tags = m_tags;
    input.selected = row();
    input.widths = m_widths;
    input.plcs = m_model.plcs();
    input.width = width;
    input.height = height;
    input.unicode = m_unicode;
    input.now = m_model.now();
    input.label = [this](int tag) { return m_labels.at(tag); };
    input.status = [this](int tag) { return m_model.status(tag); };
    input.texts = [this](int tag) { return m_model.texts(tag); };
    input.recent = [this](int tag) { return m_history.recent(tag); };
    input.isMarked = [this](int tag) { return m_marked.contains(tag); };
    return input;
}

Grid ScreenView::picture(int width, int height) {
    Grid grid =
        m_mode == Mode::Trend ? trendWithMessage(width, height) : tableWithMessage(width, height);
    if (m_help >= 0) {
        drawHelp(&grid);
    }
    return grid;
}

Grid ScreenView::tableWithMessage(int width, int height) {
    TableInput input = tableInput(width, height);
    const Message text = message(input);
    input.message = messageLines(text, width, height);
    input.messageInk = text.ink;
    m_page = pageRows(input);
    Grid grid = tablePicture(input);
    if (text.typing) {
        grid.cursorX = std::min(width - 1, textWidth(input.message.last()));
        grid.cursorY = grid.height() - 1;
    }
    return grid;
}

Grid ScreenView::trendWithMessage(int width, int height) {
    TrendInput input;
    const Message text = message(TableInput());
    input.message = messageLines(text, width, height);
    input.messageInk = text.ink;
    input.oneScale = m_oneScale;
    input.withPlc = m_withPlc;
    input.seconds = SPANS[m_span];
    input.width = width;
    input.height = height;
    input.unicode = m_unicode;
    for (const int tag : m_trend) {
        input.tags.append({m_labels.at(tag), m_model.status(tag), m_model.texts(tag).value,
                           m_history.last(tag, input.seconds * 1000 / History::SAMPLE_MS)});
    }
    // The last page is a full one.
    m_trendPage = tagsThatFit(input);
    const int most = std::max(0, static_cast<int>(m_trend.size()) - m_trendPage);
    m_trendFirst = std::min(m_trendFirst, most);
    input.first = m_trendFirst;
    return trendPicture(input);
}

/// A box in the middle; a low window shows a part at a time.
void ScreenView::drawHelp(Grid* grid) {
    const QStringList lines = helpLines();
    int width = 0;
    for (const QString& line : lines) {
        width = std::max(width, textWidth(line));
    }
    m_helpRows = std::max(1, std::min(static_cast<int>(lines.size()) - m_help, grid->height() - 4));
    const int x = std::max(0, (grid->width() - width - 4) / 2);
    const int y = std::max(0, (grid->height() - m_helpRows - 4) / 2);
    const Style box = {Ink::Plain, true};
    const bool more = m_help + m_helpRows < lines.size();
    for (int row = 0; row < m_helpRows + 4; ++row) {
        grid->fill(x, y + row, std::min(width + 4, grid->width() - x), box);
    }
    for (int row = 0; row < m_helpRows; ++row) {
        grid->put(x + 2, y + 1 + row, lines.at(m_help + row), box);
    }
    grid->put(x + 2, y + 2 + m_helpRows,
              more ? QStringLiteral("any key: more; Escape: back")
                   : QStringLiteral("any key: back"),
              box);
    grid->cursorX = -1;
}

} // namespace screen
} // namespace panel

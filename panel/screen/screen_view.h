#ifndef VELKOR_PANEL_SCREEN_SCREEN_VIEW_H
#define VELKOR_PANEL_SCREEN_SCREEN_VIEW_H

/// What the screen shows and what its keys do; no terminal involved.

#include "panel/picture/row_order.h"
#include "panel/picture/table_picture.h"
#include "panel/screen/keys.h"
#include "panel/screen/message_line.h"
#include "panel/screen/screen_model.h"
#include "panel/trend/history.h"
#include "panel/trend/trend_picture.h"

#include <QtCore/QSet>

namespace panel {
namespace screen {

class ScreenView {
public:
    /// `model` is borrowed. `unicode`: the terminal shows block and braille characters.
    ScreenView(ScreenModel& model, bool unicode);

    void keyPressed(Key key, const QString& text);
    /// To be called History::SAMPLE_MS apart: takes samples, and sorts anew once a second.
    void tick();

    void note(const QString& text) { m_message.note(text, m_model.now()); }
    void warn(const QString& text) { m_message.warn(text, m_model.now()); }

    Grid picture(int width, int height);

    /// The user wants to quit.
    bool isOver() const { return m_over; }

private:
    enum class Mode { Select, TypeValue, TypeFilter, Trend };

    static constexpr int SPANS[] = {60, 120, 300, 600}; ///< of the trend, in seconds
    static constexpr int LAST_SPAN = 3;

    /// What the last lines say.
    struct Message {
        QString text;
        Ink ink = Ink::Plain;
        bool typing = false;
    };

    void keyWhileSelecting(Key key, const QString& text);
    void commandWhileSelecting(const QString& text);
    void keyWhileTyping(Key key, const QString& text);
    void keyInTrend(Key key, const QString& text);
    void typed();
    void typingEnded();
    void typingLeft();
    bool moved(Key key);
    void select(int row);
    int row() const { return static_cast<int>(m_tags.indexOf(m_tag)); }
    void startTyping();
    void writeTyped();
    void toggleMark();
    void openTrend();
    void arrange();
    bool ordersByTime() const { return m_order == Order::Age || m_order == Order::Change; }

    Message message(const TableInput& input) const;
    QString prompt() const;
    QStringList messageLines(const Message& message, int width, int height) const;
    TableInput tableInput(int width, int height) const;
    Grid tableWithMessage(int width, int height);
    Grid trendWithMessage(int width, int height);
    void drawHelp(Grid* grid);

    ScreenModel& m_model;
    const bool m_unicode;
    QVector<TagLabel> m_labels;
    bool m_withPlc;
    NaturalWidths m_widths;
    History m_history;
    MessageLine m_message;

    Mode m_mode = Mode::Select;
    bool m_over = false;
    int m_help = -1; ///< first line shown; -1: no help
    int m_helpRows = 1;
    QVector<int> m_tags; ///< shown, in their order
    int m_tag = -1;      ///< selected; -1: none
    int m_page = 1;      ///< rows of the page last drawn
    QString m_filter;
    Order m_order = Order::AsGiven;
    qint64 m_sortedAt = 0;
    QSet<int> m_marked;
    QString m_typed;
    QString m_refusedText; ///< what was typed last for m_refusedTag and not written
    int m_refusedTag = -1;
    QVector<int> m_trend; ///< tags of the trend
    int m_trendFirst = 0;
    int m_trendPage = 1; ///< tags of the page last drawn
    int m_span = 1;      ///< of the spans of the trend
    bool m_oneScale = false;
};

} // namespace screen
} // namespace panel

#endif

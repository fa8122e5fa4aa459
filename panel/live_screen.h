#ifndef VELKOR_PANEL_LIVE_SCREEN_H
#define VELKOR_PANEL_LIVE_SCREEN_H

/// watch on a terminal: draws the table at a modest rate and takes keys.

#include "panel/message_line.h"
#include "panel/session.h"
#include "panel/table_view.h"
#include "panel/terminal.h"

namespace panel {

class LiveScreen {
public:
    LiveScreen(Session& session, const TagBoard& board);

    void redrawAll();
    /// `reason`: why it has failed. `modeSwitched`: the PLC was switched to MONITOR mode for it.
    void writeEnded(const TransferEnd& end, const QString& reason, bool modeSwitched);

private:
    void draw();
    void keyPressed(Key key, const QString& text);
    void keyWhileSelecting(Key key, const QString& text);
    void keyWhileTyping(Key key, const QString& text);
    void select(int index);
    void writeTyped();
    QString prompt() const;

    Session& m_session;
    const TagBoard& m_board;
    Terminal m_terminal;
    QTimer m_timer;
    int m_selected = 0;
    bool m_typing = false;
    QString m_typed;
    MessageLine m_message;
    const bool m_unicode;
};

} // namespace panel

#endif

#ifndef VELKOR_PANEL_SCREEN_SCREEN_H
#define VELKOR_PANEL_SCREEN_SCREEN_H

/// watch on a terminal: draws at a modest rate and takes keys, by the event loop of the thread that
/// made it.
///
///     Screen screen(model);
///     screen.onEnd = [] { QCoreApplication::exit(0); };
///     QString wrong = screen.open(); // not empty: print lines instead
///
/// While it is open, SIGINT, SIGTERM, SIGQUIT, SIGHUP and SIGWINCH belong to it: nobody else may
/// wait for them.

#include "panel/screen/curses_terminal.h"
#include "panel/screen/screen_view.h"

#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>

#include <memory>

#include <csignal>

namespace panel {
namespace screen {

class Screen {
public:
    /// `model` is borrowed.
    explicit Screen(ScreenModel& model) : m_model(model) {}
    /// Gives the terminal back.
    ~Screen() { close(); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Why there can be no screen here, one line; empty: there can. Changes nothing.
    static QString refusal() { return CursesTerminal::refusal(); }

    /// Takes the terminal. The result is empty, or says why not; then all is as it was.
    QString open();
    /// Gives the terminal back; does nothing when closed.
    void close();

    /// What became of something: for a few seconds on the last line. A warning stays longer, and
    /// stands before the reason why the selected value is not fresh.
    void note(const QString& text);
    void warn(const QString& text);

    /// Called once, from the event loop: the user wants to quit, a signal asks for the end, or the
    /// terminal is gone. The screen stays open until close(); it may not be destroyed in here.
    std::function<void()> onEnd;

private:
    QString takeSignals();
    void giveSignalsBack();
    void readSignals();
    void readKeys();
    void keysRead();
    void draw();
    void end();

    ScreenModel& m_model;
    CursesTerminal m_terminal;
    std::unique_ptr<KeyDecoder> m_decoder;
    std::unique_ptr<ScreenView> m_view;
    std::unique_ptr<QSocketNotifier> m_input;
    std::unique_ptr<QSocketNotifier> m_signalInput;
    std::unique_ptr<QTimer> m_timer;
    std::unique_ptr<QTimer> m_escapeWait;
    int m_signals = -1; ///< descriptor
    sigset_t m_maskBefore = {};
    bool m_ended = false;
};

} // namespace screen
} // namespace panel

#endif

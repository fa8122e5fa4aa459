#include "panel/screen/screen.h"

#include "panel/process/end_signals.h"
#include "panel/process/output_wait.h"

#include <cerrno>
#include <cstring>
#include <sys/signalfd.h>
#include <unistd.h>

namespace panel {
namespace screen {
namespace {

const int ESCAPE_WAIT_MS = 50;

} // namespace

QString Screen::open() {
    QString wrong = takeSignals();
    if (!wrong.isEmpty()) {
        return wrong;
    }
    wrong = m_terminal.open();
    if (!wrong.isEmpty()) {
        giveSignalsBack();
        return wrong;
    }
    m_ended = false;
    m_view = std::make_unique<ScreenView>(m_model, m_terminal.isUnicode());
    m_decoder = std::make_unique<KeyDecoder>(m_terminal.keySequences());
    m_decoder->onKey = [this](Key key, const QString& text) {
        if (key == Key::Redraw) {
            m_terminal.redrawAll();
        } else {
            m_view->keyPressed(key, text);
        }
    };
    m_escapeWait = std::make_unique<QTimer>();
    m_escapeWait->setSingleShot(true);
    QObject::connect(m_escapeWait.get(), &QTimer::timeout, m_escapeWait.get(), [this] {
        m_decoder->flush();
        keysRead();
    });
    m_input = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(m_input.get(), &QSocketNotifier::activated, m_input.get(),
                     [this] { readKeys(); });
    m_timer = std::make_unique<QTimer>();
    QObject::connect(m_timer.get(), &QTimer::timeout, m_timer.get(), [this] {
        m_view->tick();
        draw();
    });
    m_timer->start(History::SAMPLE_MS);
    m_view->tick();
    draw();
    return QString();
}

void Screen::close() {
    m_timer.reset();
    m_escapeWait.reset();
    m_input.reset();
    m_terminal.close();
    m_view.reset();
    m_decoder.reset();
    giveSignalsBack();
}

void Screen::note(const QString& text) {
    if (m_view) {
        m_view->note(text);
        draw();
    }
}

void Screen::warn(const QString& text) {
    if (m_view) {
        m_view->warn(text);
        draw();
    }
}

/// As calls from the event loop: a handler of the usual kind could not give the terminal back. The
/// result is empty, or says why not; then nobody would see a signal that is held.
QString Screen::takeSignals() {
    sigset_t wanted = endSignals();
    sigaddset(&wanted, SIGWINCH);
    m_signals = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_signals < 0) {
        return QStringLiteral("cannot receive signals: ") +
               QString::fromLocal8Bit(std::strerror(errno));
    }
    pthread_sigmask(SIG_BLOCK, &wanted, &m_maskBefore);
    m_signalInput = std::make_unique<QSocketNotifier>(m_signals, QSocketNotifier::Read);
    QObject::connect(m_signalInput.get(), &QSocketNotifier::activated, m_signalInput.get(),
                     [this] { readSignals(); });
    return QString();
}

void Screen::giveSignalsBack() {
    if (m_signals < 0) {
        return;
    }
    m_signalInput.reset();
    ::close(m_signals);
    m_signals = -1;
    pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
}

void Screen::readSignals() {
    signalfd_siginfo info = {};
    bool ends = false;
    while (::read(m_signals, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        if (info.ssi_signo == SIGWINCH) {
            m_terminal.resize();
            draw();
        } else {
            ends = true;
        }
    }
    if (ends) {
        endOutput();
        end();
    }
}

void Screen::readKeys() {
    char buffer[256];
    const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (length < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    if (length <= 0) {
        m_input->setEnabled(false);
        end();
        return;
    }
    m_escapeWait->stop();
    m_decoder->feed(QByteArray(buffer, static_cast<int>(length)));
    if (m_decoder->waiting()) {
        m_escapeWait->start(ESCAPE_WAIT_MS);
    }
    keysRead();
}

void Screen::keysRead() {
    if (m_view->isOver()) {
        end();
    } else {
        draw();
    }
}

void Screen::draw() {
    if (m_terminal.isGone()) {
        end();
    } else if (m_terminal.isReady()) { // else the next tick draws
        m_terminal.show(m_view->picture(m_terminal.width(), m_terminal.height()));
    }
}

void Screen::end() {
    if (!m_ended) {
        m_ended = true;
        m_timer->stop();
        if (onEnd) {
            onEnd();
        }
    }
}

} // namespace screen
} // namespace panel

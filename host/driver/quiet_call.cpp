#include "host/driver/quiet_call.h"

#include <QtCore/QtGlobal>

#include <atomic>

namespace velkor_host {
namespace {

thread_local int silences = 0; // a driver's callback may call it again

std::atomic<QtMessageHandler> handlerBehind{nullptr};

void handOn(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (silences == 0 || type != QtDebugMsg) {
        handlerBehind.load()(type, context, text);
    }
}

/// Installed once for good: a second time, a handler of the host's that hands on to this one would
/// be called by it in turn. It goes when this library is unloaded before the program ends.
class Filter {
public:
    Filter() {
        // Known before another thread can come here.
        handlerBehind = qInstallMessageHandler(nullptr);
        qInstallMessageHandler(&handOn);
    }
    ~Filter() {
        const QtMessageHandler last = qInstallMessageHandler(handlerBehind);
        if (last != &handOn) {
            qInstallMessageHandler(last);
        }
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;
};

} // namespace

DebugSilence::DebugSilence() {
    static const Filter filter;
    ++silences;
}

DebugSilence::~DebugSilence() {
    --silences;
}

} // namespace velkor_host

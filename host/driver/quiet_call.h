#ifndef VELKOR_HOST_DRIVER_QUIET_CALL_H
#define VELKOR_HOST_DRIVER_QUIET_CALL_H

/// Calls into the driver without the debug lines that it hands to Qt's message handler, one for
/// every write and every block: they are for its developers, and the handler is the host's.

#include <utility>

namespace velkor_host {

/// While one exists, debug messages of this thread are dropped. The first one of the process puts a
/// message handler before the one that is there; it hands on everything else. A handler that the
/// host installs later replaces it, and gets the driver's lines.
class DebugSilence {
public:
    DebugSilence();
    ~DebugSilence();
    DebugSilence(const DebugSilence&) = delete;
    DebugSilence& operator=(const DebugSilence&) = delete;
};

/// A function of the driver's, which is called as it is; null like a pointer to one.
template <typename Function> class QuietCall;

template <typename Result, typename... Arguments> class QuietCall<Result(Arguments...)> {
public:
    typedef Result (*Pointer)(Arguments...);

    QuietCall(Pointer function = nullptr) : m_function(function) {}
    Result operator()(Arguments... arguments) const {
        const DebugSilence silence;
        return m_function(std::forward<Arguments>(arguments)...);
    }
    Pointer pointer() const { return m_function; }

private:
    Pointer m_function;
};

} // namespace velkor_host

#endif

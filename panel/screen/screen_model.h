#ifndef VELKOR_PANEL_SCREEN_SCREEN_MODEL_H
#define VELKOR_PANEL_SCREEN_SCREEN_MODEL_H

/// Where the screen's values come from. The screen asks, from the thread's event loop, several
/// times a second; nothing here may wait.

#include "panel/picture/shown.h"

namespace panel {
namespace screen {

class ScreenModel {
public:
    ScreenModel() = default;
    ScreenModel(const ScreenModel&) = delete;
    ScreenModel& operator=(const ScreenModel&) = delete;
    virtual ~ScreenModel() = default;

    /// First line of the screen: "127.0.0.1:9600  5 tags, scan 200 ms".
    virtual QString title() const = 0;

    /// Tags are numbered from 0; how many, and their labels, stay as they are.
    virtual int tagCount() const = 0;
    virtual TagLabel label(int tag) const = 0;
    virtual TagNow status(int tag) const = 0;
    virtual TagTexts texts(int tag) const = 0;

    virtual QVector<PlcStatus> plcs() const = 0;

    /// Begins to write what the user has typed. The result is empty, or says why nothing will be
    /// written and what would be right. A value outside the tag's limits is refused so, unless
    /// `force` is set; the text then names the limits and says that "!" behind the value writes it
    /// all the same. What becomes of the write is told by Screen::note() or warn().
    virtual QString startWrite(int tag, const QString& typed, bool force) = 0;

    /// Microseconds, on a clock that never goes back.
    virtual qint64 now() const = 0;
};

} // namespace screen
} // namespace panel

#endif

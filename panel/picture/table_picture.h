#ifndef VELKOR_PANEL_PICTURE_TABLE_PICTURE_H
#define VELKOR_PANEL_PICTURE_TABLE_PICTURE_H

/// The live table: title, tags, what each PLC's link is like, and a message.

#include "panel/picture/cells.h"
#include "panel/picture/shown.h"

#include <functional>

namespace panel {
namespace screen {

/// One word of what the reader must know of the value; empty: it is as it should be.
QString stateWord(const TagNow& status);
Ink stateInk(const TagNow& status);

/// The value as it may be shown: one that is not fresh stands in brackets, one that was never read
/// is "-".
QString shownValue(const TagNow& status, const QString& value);

/// What the columns would like to be, of all tags.
struct NaturalWidths {
    int plc = 0; ///< 0: there is no such column
    int name = 0;
    int address = 0;
};

NaturalWidths naturalWidths(const QVector<TagLabel>& labels, bool withPlc);

struct TableInput {
    QString title;  ///< first line, on the left
    QString filter; ///< told in the title, as is the order
    QString order;
    int marked = 0;
    int allTags = 0;   ///< before the filter
    QVector<int> tags; ///< as they are to be shown
    int selected = -1; ///< of `tags`; -1: none
    NaturalWidths widths;
    QVector<PlcStatus> plcs;
    QStringList message; ///< last lines, at most as wide as the screen
    Ink messageInk = Ink::Plain;
    int width = 80;
    int height = 24;
    bool unicode = true;
    qint64 now = 0;

    std::function<TagLabel(int tag)> label;
    std::function<TagNow(int tag)> status;
    std::function<TagTexts(int tag)> texts;
    std::function<QVector<double>(int tag)> recent; ///< for the small graph
    std::function<bool(int tag)> isMarked;
};

/// Tags that a page of the table holds; at least 1.
int pageRows(const TableInput& input);

/// The selected tag is always on the page. A low window keeps it and the message.
Grid tablePicture(const TableInput& input);

/// Has a tag more to tell than its line has room for?
bool isCut(const TableInput& input, int tag);

/// The links in words: up to four lines for one PLC, else a line each, at most `most`, the silent
/// ones first. What does not fit `width` is cut.
QStringList statusLines(const QVector<PlcStatus>& plcs, int width, int most, bool unicode,
                        qint64 now);

} // namespace screen
} // namespace panel

#endif

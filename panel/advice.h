#ifndef VELKOR_PANEL_ADVICE_H
#define VELKOR_PANEL_ADVICE_H

/// What a failed request means to the person at the panel, and what to look at next.

#include "panel/session.h"

#include <QtCore/QStringList>

namespace panel {

/// "DM 100 (2 words)", "CIO_bit 3.5 (1 bit)"
QString requestText(const QString& reg, int address, int length);
QString requestText(const Settled& settled);

/// What the PLC now holds of a write that has failed: what was written, what perhaps, what was not.
/// One line each; none where the failed request says it all.
QStringList leftBehind(const TransferEnd& end);

/// The same of a recipe download, of which `blocksDone` blocks had been written.
QStringList recipeLeftBehind(int blocksDone, const Settled& last);

/// One line: why the request failed: tries, waiting time, end code in words.
QString failureReason(const Settled& settled, const LinkSettings& settings);

/// The same for a line of limited width, the key words first: "no answer: ...", "port unreachable:
/// ...", "refused: ...", "wrong length: ...".
QString shortReason(const Settled& settled, const LinkSettings& settings);

/// The likely causes, the likeliest first.
QStringList likelyCauses(const Settled& settled, const LinkSettings& settings,
                         const QVector<int>& nodes);

/// Headline and numbered causes.
QString failureText(const Settled& settled, const LinkSettings& settings,
                    const QVector<int>& nodes);

} // namespace panel

#endif

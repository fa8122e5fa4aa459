#ifndef VELKOR_PANEL_COMMANDS_OUTCOME_TEXT_H
#define VELKOR_PANEL_COMMANDS_OUTCOME_TEXT_H

/// What the PLC now holds, told when something did not end well.

#include <velkor/host/outcome.h>

#include <QtCore/QStringList>

namespace panel {
using namespace velkor_host;

/// Of a write: what was written, what perhaps, what was not. One line each; none where the failed
/// request says it all.
QStringList leftBehind(const WriteOutcome& outcome);

/// Of a recipe download that did not end well. None when nothing of it can be in the PLC.
QStringList leftBehind(const RecipeOutcome& outcome);

/// Of a write or a download that a signal has ended: what the PLC may hold of it. One line each.
QStringList interruptedText(const WriteOutcome& outcome);
QStringList interruptedText(const RecipeOutcome& outcome);

/// "written: DM 100 (2 words)", or what went wrong, on one line.
QString writeSummary(const WriteOutcome& outcome, const LineSettings& settings);

} // namespace panel

#endif

#ifndef VELKOR_PANEL_OUTPUT_OUTCOME_TEXT_H
#define VELKOR_PANEL_OUTPUT_OUTCOME_TEXT_H

/// What became of writes and recipes, where the host layer's own texts are not what the panel says.

#include "panel/output/output.h"

#include <velkor/host/outcome.h>

#include <QtCore/QStringList>

namespace panel {
using namespace velkor_host;

/// Of a write or a download that a signal has ended: what the PLC may hold of it. One line each.
QStringList interruptedText(const WriteOutcome& outcome);
QStringList interruptedText(const RecipeOutcome& outcome);

/// A write as a record for programs: the columns, and one for each outcome. `plc` says which PLC;
/// `name` is the tag's, empty when the write named a register.
QStringList writeColumns();
Record writeRecord(const WriteOutcome& outcome, const LineSettings& settings, const QString& plc,
                   const QString& name, const SettingNames& names = SettingNames());

/// What is told of changes of the PLC's mode while a command writes.
class ModeChangeNotes {
public:
    /// `next`: what comes after the first change, "writing once more"; that of each piece, or of
    /// the whole command.
    ModeChangeNotes(const QString& next, bool ofEachPiece)
        : m_next(next), m_ofEachPiece(ofEachPiece) {}

    /// Of a request that has ended; empty when it is nothing to tell. After a second change nothing
    /// is done once more, and nothing is told.
    QString of(const RequestEnd& end);

private:
    QString m_next;
    bool m_ofEachPiece;
    QString m_told; ///< the request
};

} // namespace panel

#endif

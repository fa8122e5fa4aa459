#include "endtoend/panel_claims.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace {

QString textOf(const TracedRange& range) {
    return QString("%1 %2 (%3 word%4)")
        .arg(range.area)
        .arg(range.address)
        .arg(range.count)
        .arg(range.count == 1 ? "" : "s");
}

/// "before DM 100 (2 words)behind" on the standard error; no words when that is not said.
TracedRange named(const PanelRun& run, const char* before, const char* behind = "") {
    const QRegularExpression form(
        QString(R"(%1([A-Z]+) (\d+) \((\d+) words?\)%2)").arg(before, behind));
    const QRegularExpressionMatch match = form.match(run.ended.err);
    return {match.captured(1), match.captured(2).toInt(), match.captured(3).toInt()};
}

bool holds(const TracedRange& range, const TracedRange& piece) {
    return range.area == piece.area && range.address <= piece.address &&
           piece.address + piece.count <= range.address + range.count;
}

/// Of the values of all words those of the piece.
QVector<quint16> valuesOf(const TracedRange& piece, const PanelRun& run,
                          const QVector<quint16>& all) {
    return all.mid(piece.address - run.range.address, piece.count);
}

QString untruthOfRead(const PanelRun& run, const PlcDeeds& deeds) {
    const QStringList lines = run.ended.out.split('\n', Qt::SkipEmptyParts);
    QVector<quint16> printed;
    for (int i = 0; i < run.range.count; ++i) {
        const QString word = QString("%1,%2,").arg(run.range.area).arg(run.range.address + i);
        if (!lines.value(i + 1).startsWith(word)) {
            return word + " is not printed";
        }
        printed.append(lines.at(i + 1).mid(word.size()).toUShort());
    }
    for (const TracedRange& piece : run.pieces()) {
        if (!deeds.hasTold(run.span, piece, valuesOf(piece, run, printed))) {
            return "the PLC has not told these values of " + textOf(piece);
        }
    }
    return QString();
}

QString untruthOfWritten(const PanelRun& run, const PlcDeeds& deeds) {
    if (run.ended.out != "written: " + textOf(run.range) + '\n') {
        return "it is not said to be written";
    }
    for (const TracedRange& piece : run.pieces()) {
        if (!deeds.hasTaken(run.span, piece, valuesOf(piece, run, run.values))) {
            return textOf(piece) + " is not written";
        }
    }
    return QString();
}

/// The PLC has taken what is said to be written, it has never taken what is not even said to be
/// perhaps written, and behind the piece that failed nothing was sent.
QString untruthOfFailure(const PanelRun& run, const PlcDeeds& deeds) {
    const TracedRange failed = named(run, "writing ", " failed: ");
    const TracedRange written = named(run, "written before that: ");
    const TracedRange perhaps = named(run, "perhaps written: ");
    const TracedRange spared = named(run, ": not written: ");
    const QVector<TracedRange> pieces = run.pieces();
    if (!pieces.contains(failed)) {
        return "it is not said what failed";
    }
    for (const TracedRange& piece : pieces) {
        const QVector<quint16> values = valuesOf(piece, run, run.values);
        if (holds(written, piece)) {
            if (!deeds.hasTaken(run.span, piece, values)) {
                return textOf(piece) + " is not written";
            }
        } else if (!holds(perhaps, piece)) {
            if (deeds.hasEverTaken(piece, values)) {
                return textOf(piece) + " is written";
            }
            if (pieces.size() > 1 && !holds(spared, piece)) {
                return textOf(piece) + " is not spoken of";
            }
        }
        if (piece.address > failed.address && deeds.wasSent(piece, values)) {
            return textOf(piece) + " was sent after the failure";
        }
    }
    return QString();
}

} // namespace

QVector<TracedRange> PanelRun::pieces() const {
    QVector<TracedRange> pieces;
    for (int done = 0; done < range.count; done += wordsPerFrame) {
        pieces.append(
            {range.area, range.address + done, std::min(wordsPerFrame, range.count - done)});
    }
    return pieces;
}

std::string PanelRun::text() const {
    return plain(QString("%1 %2, %3 words a frame\n%4%5")
                     .arg(write ? "write" : "read", textOf(range), QString::number(wordsPerFrame),
                          ended.out, ended.err));
}

QString untruthOf(const PanelRun& run, const PlcDeeds& deeds) {
    if (run.ended.exitCode != 0 && (run.ended.exitCode != 1 || !run.ended.out.isEmpty())) {
        return QString("exit code %1 after output").arg(run.ended.exitCode);
    }
    if (run.write) {
        return run.ended.exitCode == 0 ? untruthOfWritten(run, deeds)
                                       : untruthOfFailure(run, deeds);
    }
    return run.ended.exitCode == 0 ? untruthOfRead(run, deeds) : QString();
}

#ifndef VELKOR_TESTS_ENDTOEND_PANEL_CLAIMS_H
#define VELKOR_TESTS_ENDTOEND_PANEL_CLAIMS_H

/// What a panel said of a read or write of words, held against what the PLC did meanwhile.

#include "endtoend/plc_deeds.h"
#include "endtoend/programs.h"

/// One run of `velkor-panel read` or `write`, with --format csv.
struct PanelRun {
    bool write = false;
    TracedRange range;
    QVector<quint16> values; ///< that are written, each of them in this run alone
    int wordsPerFrame = 1;   ///< 1 or even: no frame is cut within two words
    Ended ended;
    TraceSpan span; ///< of the PLC's trace

    /// What goes into one frame each, in order.
    QVector<TracedRange> pieces() const;
    std::string text() const;
};

/// Empty when everything that was said is so, or what is not.
QString untruthOf(const PanelRun& run, const PlcDeeds& deeds);

#endif

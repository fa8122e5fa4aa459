#ifndef VELKOR_PANEL_WATCH_PANEL_TAG_H
#define VELKOR_PANEL_WATCH_PANEL_TAG_H

#include <velkor/host/tag.h>

namespace panel {
using namespace velkor_host;

/// A tag as a tag file names it.
struct PanelTag {
    Tag tag;
    QString plc; ///< name of the PLC; empty with a single one without a name
    QString comment;
};

} // namespace panel

#endif

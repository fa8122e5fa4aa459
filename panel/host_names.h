#ifndef VELKOR_PANEL_HOST_NAMES_H
#define VELKOR_PANEL_HOST_NAMES_H

/// The panel is written in the host layer's terms.

namespace velkor_host {}

namespace panel {
using namespace velkor_host;
} // namespace panel

#endif

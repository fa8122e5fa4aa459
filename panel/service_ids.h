#ifndef VELKOR_PANEL_SERVICE_IDS_H
#define VELKOR_PANEL_SERVICE_IDS_H

/// Where a host begins to count its service IDs.
///
/// A reply is known by its service ID alone, and the driver counts from 1 on in each process. A
/// reply that comes late to an earlier process at the same local port would so answer a request of
/// this one. A host that begins at random meets that reply's ID once in 255 times.

#include "panel/driver_library.h"

#include <functional>

namespace panel {

/// The driver issues 0 to 254, round and round.
const int SERVICE_IDS = 255;

/// Uses up `count` service IDs before the first request. `bind` calls intf_initProperty for a
/// driver whose callback has been set; the driver is bound when this returns.
///
/// As often, a frame is built, which takes an ID, and is not sent: binding afresh drops it, and the
/// driver keeps nothing of it but the ID. No callback is called and no byte of the host's written.
void useUpServiceIds(const DriverApi& api, int count, const std::function<void()>& bind);

} // namespace panel

#endif

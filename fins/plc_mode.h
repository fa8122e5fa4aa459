#ifndef VELKOR_FINS_PLC_MODE_H
#define VELKOR_FINS_PLC_MODE_H

#include "driver/host_interface.h"

/// Appends the node-address request to the frame queue. Exported; nothing inside the driver calls
/// it: a host that wants the node numbers learnt clears driver.nodeLearned and calls it. Takes no
/// service ID.
VELKOR_EXPORT void connectToServer();

/// Puts the command that switches the PLC to MONITOR mode at the head of the frame queue, before
/// the refused write that provoked it.
void changePLCModeToMonitor();

#endif

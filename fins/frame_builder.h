#ifndef VELKOR_FINS_FRAME_BUILDER_H
#define VELKOR_FINS_FRAME_BUILDER_H

/// Builds FINS command frames from requests and puts them on the driver's frame queue.

#include "driver/records.h"

/// The service ID for the next frame: 1, 2, … 254, 0, 1, …; 255 is never issued. driver.SID holds
/// the one issued last.
unsigned char getSSID();

/// A frame, all zero but for the FINS header with a fresh service ID.
FRAME_PRO frameWithHeader();

/// Appends a memory area read of request.len words to the frame queue.
void getReadFrame(const VARIABLE& request);

/// Appends a memory area write to the frame queue: of bits for a "_bit" name, else of words. A
/// request that does not fit one frame (more than 503 words or 1006 bits) builds nothing and takes
/// no service ID.
void getWriteFrame(const VARIABLE& request);

#endif

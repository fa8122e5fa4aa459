#ifndef VELKOR_TESTS_CONTRACT_HOST_SYMBOLS_H
#define VELKOR_TESTS_CONTRACT_HOST_SYMBOLS_H

/// Names that this host itself exports, ahead of every library it loads.

#include <vector>

/// A host's own `driver`. A library that did not bind its names to itself would use this one.
extern "C" unsigned char driver[65536];

/// One registration of a destructor that is to run at unload.
struct ExitRegistration {
    void* object;  ///< what the destructor is called for; null for an array
    void* library; ///< an address inside the library that registers
};

/// The registrations made between start and stop, in order.
void startRecordingExitRegistrations();
std::vector<ExitRegistration> stopRecordingExitRegistrations();

#endif

#ifndef VELKOR_TESTS_SUPPORT_SILENCE_H
#define VELKOR_TESTS_SUPPORT_SILENCE_H

#include "support/message_handler.h"

/// Keeps the driver's debug lines off the screen while it lives.
class Silence {
public:
    Silence() { installMessageHandler(&ignoreMessage); }
    ~Silence() { installMessageHandler(nullptr); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
};

#endif

#include "contract/host_symbols.h"

#include <dlfcn.h>

unsigned char driver[65536];

namespace {

bool recording = false;

std::vector<ExitRegistration>& registrations() {
    static std::vector<ExitRegistration>* list = new std::vector<ExitRegistration>();
    return *list;
}

typedef int (*RegisterExit)(void (*)(void*), void*, void*);

} // namespace

// Every library calls this for each of its static objects; the program's own comes before libc's.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __cxa_atexit(void (*destroy)(void*), void* object, void* library) {
    static const RegisterExit next =
        reinterpret_cast<RegisterExit>(dlsym(RTLD_NEXT, "__cxa_atexit"));
    if (recording) {
        registrations().push_back({object, library});
    }
    return next(destroy, object, library);
}

void startRecordingExitRegistrations() {
    registrations().clear();
    recording = true;
}

std::vector<ExitRegistration> stopRecordingExitRegistrations() {
    recording = false;
    return registrations();
}

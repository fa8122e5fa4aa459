// Preloaded into a program, it lets one file operation fail: the VELKOR_FAIL_NUMBER-th (from 1)
// call of VELKOR_FAIL_CALL ("write", "fsync", "close", "rename", "fflush" or "fclose") on a file in
// the folder VELKOR_FAIL_FOLDER, with the error number VELKOR_FAIL_ERROR. Then, and only then, it
// makes the empty file VELKOR_FAIL_NOTE.
//
// The C library's streams write past the names that can be taken: of them it is the flush that
// fails. A close that fails has closed the file all the same, as Linux does it.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

int seen = 0;

template <typename Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

const char* setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool inFolder(const char* path) {
    const char* folder = setting("VELKOR_FAIL_FOLDER");
    return *folder != '\0' && std::strncmp(path, folder, std::strlen(folder)) == 0;
}

bool isInFolder(int descriptor) {
    char link[64];
    char path[PATH_MAX] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    return readlink(link, path, sizeof path - 1) > 0 && inFolder(path);
}

/// For a call on a file in the folder.
bool isToFail(const char* call) {
    if (std::strcmp(call, setting("VELKOR_FAIL_CALL")) != 0 ||
        ++seen != std::atoi(setting("VELKOR_FAIL_NUMBER"))) {
        return false;
    }
    const int note = ::open(setting("VELKOR_FAIL_NOTE"), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (note >= 0) {
        next<int(int)>("close")(note);
    }
    errno = std::atoi(setting("VELKOR_FAIL_ERROR"));
    return true;
}

} // namespace

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t count) {
    return isInFolder(descriptor) && isToFail("write")
               ? -1
               : next<ssize_t(int, const void*, size_t)>("write")(descriptor, bytes, count);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
    return isInFolder(descriptor) && isToFail("write")
               ? -1
               : next<ssize_t(int, const iovec*, int)>("writev")(descriptor, pieces, count);
}

int fsync(int descriptor) {
    return isInFolder(descriptor) && isToFail("fsync") ? -1 : next<int(int)>("fsync")(descriptor);
}

int fdatasync(int descriptor) {
    return isInFolder(descriptor) && isToFail("fsync") ? -1
                                                       : next<int(int)>("fdatasync")(descriptor);
}

int close(int descriptor) {
    const bool concerned = isInFolder(descriptor);
    const int result = next<int(int)>("close")(descriptor);
    return concerned && isToFail("close") ? -1 : result;
}

int rename(const char* from, const char* to) {
    return inFolder(to) && isToFail("rename")
               ? -1
               : next<int(const char*, const char*)>("rename")(from, to);
}

int fflush(FILE* stream) {
    return stream != nullptr && isInFolder(fileno(stream)) && isToFail("fflush")
               ? EOF
               : next<int(FILE*)>("fflush")(stream);
}

int fclose(FILE* stream) {
    const bool concerned = isInFolder(fileno(stream));
    const int result = next<int(FILE*)>("fclose")(stream);
    return concerned && isToFail("fclose") ? EOF : result;
}

} // extern "C"

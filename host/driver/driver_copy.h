#ifndef VELKOR_HOST_DRIVER_DRIVER_COPY_H
#define VELKOR_HOST_DRIVER_DRIVER_COPY_H

/// One copy of the driver, with a state of its own.
///
/// The system's loader gives everybody who opens a file the same library, and the driver has one
/// state for each loaded library. So the file is copied, the copy is loaded, and its name is taken
/// off the disk at once. A process killed in the moment between leaves that one file,
/// velkor-XXXXXX.so, where temporary files lie.

#include "host/driver/driver_api.h"

#include <memory>

namespace velkor_host {

class DriverCopy {
public:
    DriverCopy();
    ~DriverCopy(); ///< unloads it
    DriverCopy(const DriverCopy&) = delete;
    DriverCopy& operator=(const DriverCopy&) = delete;

    /// Loads a copy of `file`, or, when it is empty, of libvelkor.so.1 from the program's own
    /// folder, else from that of the shared library which this is a part of, else from where the
    /// installation puts libraries, else from a folder of the system's loader; of those that only
    /// /etc/ld.so.conf names nothing is known.
    /// The result is empty or says what is wrong; then nothing is loaded.
    QString load(const QString& file);
    void unload();
    bool isLoaded() const { return m_library != nullptr; }

    const DriverApi& api() const { return m_api; }

private:
    QString loadCopyIn(const QString& folder, const QByteArray& bytes);

    DriverApi m_api;
    std::unique_ptr<QLibrary> m_library;
};

} // namespace velkor_host

#endif

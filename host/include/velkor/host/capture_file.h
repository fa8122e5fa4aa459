#ifndef VELKOR_HOST_CAPTURE_FILE_H
#define VELKOR_HOST_CAPTURE_FILE_H

/// A capture of the datagrams of one or more lines for Wireshark and its kin, readable while it is
/// being written. Off port 9600 Wireshark is told: -d udp.port==N,omron

#include <velkor/host/endpoint.h>
#include <velkor/host/export.h>
#include <velkor/host/witness.h>

#include <memory>

namespace velkor_host {

/// One file, used on one thread. Its witnesses must not outlive it.
class VELKOR_HOST_EXPORT CaptureFile {
public:
    CaptureFile();
    ~CaptureFile();
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;

    /// Begins the file anew. The result is empty or says why it cannot be written.
    QString open(const QString& path);

    /// For one line, between these two addresses (see Line::localEndpoint()).
    std::unique_ptr<FrameWitness> witness(const Endpoint& local, const Endpoint& plc);

    /// Empty while every packet has been written; else why one could not, and the file ends before
    /// it.
    QString fault() const;

private:
    class File;
    class Witness;
    std::unique_ptr<File> m_file;
};

} // namespace velkor_host

#endif

#ifndef VELKOR_HOST_CAPTURE_FILE_H
#define VELKOR_HOST_CAPTURE_FILE_H

/// A capture of the exchange for Wireshark and its kin, readable while it is being written.

#include <velkor/host/endpoint.h>
#include <velkor/host/witness.h>

#include <pcap/pcap.h>

#include <memory>

namespace velkor_host {

class CaptureFile : public FrameWitness {
public:
    /// The result is empty or says why the file cannot be written.
    QString open(const QString& path, const Endpoint& local, const Endpoint& plc);

    void sent(const QByteArray& frame, int attempt) override;
    void received(const QByteArray& datagram, Verdict verdict) override;
    void timedOut(const QByteArray& /*frame*/) override {}
    void portRefused() override {}

private:
    struct CloseHandle {
        void operator()(pcap_t* handle) const { pcap_close(handle); }
    };
    struct CloseDumper {
        void operator()(pcap_dumper_t* dumper) const { pcap_dump_close(dumper); }
    };

    void write(const Endpoint& source, const Endpoint& target, const QByteArray& payload);

    std::unique_ptr<pcap_t, CloseHandle> m_handle;
    std::unique_ptr<pcap_dumper_t, CloseDumper> m_dumper;
    Endpoint m_local;
    Endpoint m_plc;
};

} // namespace velkor_host

#endif

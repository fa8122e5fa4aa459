#include <velkor/host/witness.h>

#include "host/watch/udp_packet.h"

#include <QtCore/QFile>

#include <pcap/pcap.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace velkor_host {

class CaptureFile::File {
public:
    QString open(const QString& path);
    void write(const Endpoint& source, const Endpoint& target, const QByteArray& payload,
               const timeval& when);
    const QString& fault() const { return m_fault; }

private:
    struct CloseHandle {
        void operator()(pcap_t* handle) const { pcap_close(handle); }
    };
    struct CloseDumper {
        void operator()(pcap_dumper_t* dumper) const { pcap_dump_close(dumper); }
    };

    bool flush();
    QString systemError() const;

    QString m_path;
    int m_written = 0; ///< datagrams
    std::unique_ptr<pcap_t, CloseHandle> m_handle;
    std::unique_ptr<pcap_dumper_t, CloseDumper> m_dumper;
    QString m_fault;
};

QString CaptureFile::File::open(const QString& path) {
    m_dumper.reset();
    m_path = path;
    m_written = 0;
    m_fault.clear();
    m_handle.reset(pcap_open_dead(DLT_RAW, 65535));
    m_dumper.reset(pcap_dump_open(m_handle.get(), QFile::encodeName(path).constData()));
    if (!m_dumper) {
        m_fault = QStringLiteral("cannot write the capture: %1")
                      .arg(QString::fromLocal8Bit(pcap_geterr(m_handle.get())));
    } else if (!flush()) {
        m_fault = QStringLiteral("cannot write the capture %1: %2").arg(path, systemError());
    }
    return m_fault;
}

/// Interrupted by the host: see open().
QString CaptureFile::File::systemError() const {
    return errno == EINTR ? QStringLiteral("its reader has stopped reading")
                          : QString::fromLocal8Bit(std::strerror(errno));
}

/// The file is readable while it is being written, and a full disk is noticed at once: the
/// library's writer returns nothing, but the stream under it knows.
bool CaptureFile::File::flush() {
    return pcap_dump_flush(m_dumper.get()) == 0 && std::ferror(pcap_dump_file(m_dumper.get())) == 0;
}

void CaptureFile::File::write(const Endpoint& source, const Endpoint& target,
                              const QByteArray& payload, const timeval& when) {
    if (!m_dumper || !m_fault.isEmpty()) {
        return;
    }
    const QByteArray packet = udpPacket(source.address.toIPv4Address(), source.port,
                                        target.address.toIPv4Address(), target.port, payload);
    pcap_pkthdr header = {};
    header.ts = when;
    header.caplen = static_cast<bpf_u_int32>(packet.size());
    header.len = header.caplen;
    errno = 0;
    pcap_dump(reinterpret_cast<u_char*>(m_dumper.get()), &header,
              reinterpret_cast<const u_char*>(packet.constData()));
    if (!flush()) {
        m_fault = QStringLiteral("the capture %1 is not whole: behind %2 nothing more could be "
                                 "written: %3")
                      .arg(m_path,
                           m_written == 1 ? QStringLiteral("1 datagram")
                                          : QStringLiteral("%1 datagrams").arg(m_written),
                           systemError());
        return;
    }
    ++m_written;
}

class CaptureFile::Witness : public FrameWitness {
public:
    Witness(File& file, const Endpoint& local, const Endpoint& plc)
        : m_file(file), m_local(local), m_plc(plc) {}

    void leaving() override { m_leaving = now(); }
    void sent(const QByteArray& frame, int /*attempt*/) override {
        m_file.write(m_local, m_plc, frame, m_leaving);
    }
    void received(const QByteArray& datagram, Verdict /*verdict*/) override {
        m_file.write(m_plc, m_local, datagram, now());
    }
    void timedOut(const QByteArray& /*frame*/) override {}
    void portRefused() override {}
    void moved(const Endpoint& local) override { m_local = local; }

private:
    static timeval now() {
        using namespace std::chrono;
        const auto since1970 = system_clock::now().time_since_epoch();
        timeval when = {};
        // On a 32-bit machine these are narrower; so are the times in a capture.
        when.tv_sec = static_cast<time_t>(duration_cast<seconds>(since1970).count());
        when.tv_usec =
            static_cast<suseconds_t>(duration_cast<microseconds>(since1970 % seconds(1)).count());
        return when;
    }

    File& m_file;
    Endpoint m_local;
    const Endpoint m_plc;
    timeval m_leaving = {};
};

CaptureFile::CaptureFile() : m_file(std::make_unique<File>()) {}
CaptureFile::~CaptureFile() = default;

QString CaptureFile::open(const QString& path) {
    return m_file->open(path);
}

std::unique_ptr<FrameWitness> CaptureFile::witness(const Endpoint& local, const Endpoint& plc) {
    return std::make_unique<Witness>(*m_file, local, plc);
}

QString CaptureFile::fault() const {
    return m_file->fault();
}

} // namespace velkor_host

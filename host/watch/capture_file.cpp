#include <velkor/host/capture_file.h>

#include "host/watch/udp_packet.h"

#include <QtCore/QFile>

#include <sys/time.h>

namespace velkor_host {

QString CaptureFile::open(const QString& path, const Endpoint& local, const Endpoint& plc) {
    m_local = local;
    m_plc = plc;
    m_handle.reset(pcap_open_dead(DLT_RAW, 65535));
    m_dumper.reset(pcap_dump_open(m_handle.get(), QFile::encodeName(path).constData()));
    if (!m_dumper) {
        return QStringLiteral("cannot write the capture: %1")
            .arg(QString::fromLocal8Bit(pcap_geterr(m_handle.get())));
    }
    return QString();
}

void CaptureFile::sent(const QByteArray& frame, int /*attempt*/) {
    write(m_local, m_plc, frame);
}

void CaptureFile::received(const QByteArray& datagram, Verdict /*verdict*/) {
    write(m_plc, m_local, datagram);
}

void CaptureFile::write(const Endpoint& source, const Endpoint& target, const QByteArray& payload) {
    const QByteArray packet = udpPacket(source.address.toIPv4Address(), source.port,
                                        target.address.toIPv4Address(), target.port, payload);
    pcap_pkthdr header = {};
    gettimeofday(&header.ts, nullptr);
    header.caplen = static_cast<bpf_u_int32>(packet.size());
    header.len = header.caplen;
    pcap_dump(reinterpret_cast<u_char*>(m_dumper.get()), &header,
              reinterpret_cast<const u_char*>(packet.constData()));
    pcap_dump_flush(m_dumper.get());
}

} // namespace velkor_host

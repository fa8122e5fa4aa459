#include "faults/datagram_fault.h"

#include "host/wire/fins_decode.h"

#include <velkor/host/end_codes.h>

namespace {

const int HEADER_AND_COMMAND = 12;
const int END_CODE = 12;
const int COUNT = 16; ///< of a memory command: how many items

bool isMemoryCommand(const QByteArray& request) {
    return isReadFrame(request) || isWriteFrame(request);
}

} // namespace

std::string DatagramFault::name() const {
    static const char* const NAMES[] = {"drop",     "delay",   "duplicate", "truncate",
                                        "lengthen", "reorder", "corrupt",   "end code"};
    return std::string(NAMES[kind]) + ' ' + std::to_string(value) +
           (mask != 0 ? " xor " + std::to_string(mask) : "");
}

/// A try of the line under test takes 50 ms at most, and three tries 150.
std::vector<DatagramFault> faultsOf(bool request) {
    std::vector<DatagramFault> faults = {{DatagramFault::Drop}, {DatagramFault::Reorder}};
    for (const int late : {20000, 49500, 70000, 120000, 400000}) {
        faults.push_back({DatagramFault::Delay, late});
    }
    for (const int later : {0, 2500, 60000, 300000}) {
        faults.push_back({DatagramFault::Duplicate, later});
    }
    for (const int left : {0, 1, 9, 10, 12, 13, 14, 16, 17, 18, -1, -2}) {
        faults.push_back({DatagramFault::Truncate, left});
    }
    for (const int more : {1, 2, 2000}) {
        faults.push_back({DatagramFault::Lengthen, more});
    }
    for (int byte = 0; byte < HEADER_AND_COMMAND; ++byte) {
        for (const int mask : {0x01, 0x40, 0x80, 0xFF}) {
            faults.push_back({DatagramFault::Corrupt, byte, mask});
        }
    }
    if (request) {
        for (const int mask : {0x01, 0x02, 0x80}) {
            faults.push_back({DatagramFault::Corrupt, COUNT, mask});
            faults.push_back({DatagramFault::Corrupt, COUNT + 1, mask});
        }
        return faults;
    }
    for (const int code : {0x0000, 0x0040, 0x0001, 0x0205, 0x1103, 0x2101, 0x2203, 0x7777}) {
        faults.push_back({DatagramFault::EndCode, code});
    }
    return faults;
}

QByteArray SpoiltWire::damaged(const QByteArray& datagram) {
    QByteArray bytes = datagram;
    const int size = static_cast<int>(bytes.size());
    switch (m_fault.kind) {
    case DatagramFault::Truncate:
        bytes.truncate(m_fault.value < 0 ? size + m_fault.value : m_fault.value);
        break;
    case DatagramFault::Lengthen:
        bytes.append(QByteArray(m_fault.value, '\x55'));
        break;
    case DatagramFault::Corrupt:
        if (m_fault.value < size && (m_fault.value < COUNT || isMemoryCommand(datagram))) {
            bytes[m_fault.value] = static_cast<char>(bytes.at(m_fault.value) ^ m_fault.mask);
        }
        break;
    case DatagramFault::EndCode: {
        const bool normal = velkor_host::isNormalEnd(velkor_host::decodeFins(datagram).endCode);
        m_lied = normal != velkor_host::isNormalEnd(m_fault.value);
        bytes[END_CODE] = static_cast<char>(m_fault.value >> 8);
        bytes[END_CODE + 1] = static_cast<char>(m_fault.value & 0xFF);
        break;
    }
    default:
        break;
    }
    return bytes;
}

std::vector<SimulatedLine::Arrival> SpoiltWire::carry(const QByteArray& datagram, bool toPlc) {
    if (toPlc != m_toPlc) {
        return {{datagram}};
    }
    if (++m_seen != m_number) {
        std::vector<SimulatedLine::Arrival> arrivals = {{datagram}};
        if (!m_held.isEmpty()) { // it has been overtaken
            arrivals.push_back({m_held, 1});
            m_held.clear();
        }
        return arrivals;
    }
    m_met = true;
    switch (m_fault.kind) {
    case DatagramFault::Drop:
        return {};
    case DatagramFault::Delay:
        return {{datagram, m_fault.value}};
    case DatagramFault::Duplicate:
        return {{datagram}, {datagram, m_fault.value}};
    case DatagramFault::Reorder:
        m_held = datagram;
        return {};
    default:
        return {{damaged(datagram)}};
    }
}

#ifndef VELKOR_TESTS_FAULTS_DATAGRAM_FAULT_H
#define VELKOR_TESTS_FAULTS_DATAGRAM_FAULT_H

/// What can happen to one datagram on its way, and a wire on which it happens to the n-th one.
///
/// Damage is only such as somebody can notice: FINS has no checksum, and that of UDP is taken to
/// have failed. A word of data, an address or an area code that has become another passes for what
/// was meant, and so does an end code that has become another known one: the last is here all the
/// same, marked, because no more than the truth about that request may be lost by it.

#include "host/simulated_line.h"

#include <string>
#include <vector>

struct DatagramFault {
    enum Kind { Drop, Delay, Duplicate, Truncate, Lengthen, Reorder, Corrupt, EndCode };
    Kind kind;
    /// Delay and Duplicate: microseconds. Truncate: bytes that are left, below zero: that are lost.
    /// Lengthen: bytes more. Corrupt: the byte. EndCode: the new one.
    int value = 0;
    int mask = 0; ///< Corrupt: bits that are turned over

    std::string name() const;
};

/// All that can happen to a request, or to a reply.
std::vector<DatagramFault> faultsOf(bool request);

/// To be a SimulatedLine's wire. The n-th datagram (from 1, of one direction) meets the fault.
class SpoiltWire {
public:
    SpoiltWire(bool toPlc, int number, const DatagramFault& fault)
        : m_toPlc(toPlc), m_number(number), m_fault(fault) {}
    std::vector<SimulatedLine::Arrival> carry(const QByteArray& datagram, bool toPlc);

    /// Whether the fault has met its datagram.
    bool met() const { return m_met; }
    /// Whether a reply now says that a write was refused that was executed, or the reverse: nobody
    /// can know better.
    bool lied() const { return m_lied; }

private:
    QByteArray damaged(const QByteArray& datagram);

    const bool m_toPlc;
    const int m_number;
    const DatagramFault m_fault;
    int m_seen = 0;
    bool m_met = false;
    bool m_lied = false;
    QByteArray m_held;
};

#endif

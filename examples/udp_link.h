// The example's line to its PLC, by the system's sockets: it needs no part of Qt.
#ifndef VELKOR_EXAMPLES_UDP_LINK_H
#define VELKOR_EXAMPLES_UDP_LINK_H

#include <chrono>

/// So many milliseconds from its making.
class Deadline {
public:
    explicit Deadline(int milliseconds);
    /// Milliseconds, rounded up; 0 when it has passed.
    int left() const;

private:
    std::chrono::steady_clock::time_point m_end;
};

class UdpLink {
public:
    UdpLink() = default;
    ~UdpLink();
    UdpLink(const UdpLink&) = delete;
    UdpLink& operator=(const UdpLink&) = delete;

    /// From a free local port to one PLC, an IPv4 address; from now on only its datagrams arrive.
    /// False: errno says why not.
    bool open(const char* address, unsigned short port);
    /// The last octet of the address that the PLC sees, and of the PLC's: the usual node numbers.
    unsigned ownNode() const;
    unsigned plcNode() const;

    /// What cannot be sent is like a frame that got lost.
    void send(const unsigned char* bytes, int length) const;
    /// The length of the next datagram, or -1 when none has come in time.
    int receive(char* buffer, int size, const Deadline& deadline) const;

private:
    int m_socket = -1;
};

#endif

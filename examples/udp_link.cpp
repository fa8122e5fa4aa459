#include "udp_link.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstddef>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

unsigned lastOctet(const sockaddr_in& address) {
    return ntohl(address.sin_addr.s_addr) & 0xFFU;
}

} // namespace

Deadline::Deadline(int milliseconds)
    : m_end(std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)) {}

int Deadline::left() const {
    const auto left = m_end - std::chrono::steady_clock::now() + std::chrono::microseconds(999);
    const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(left).count();
    return whole > 0 ? static_cast<int>(whole) : 0;
}

UdpLink::~UdpLink() {
    if (m_socket >= 0) {
        close(m_socket);
    }
}

bool UdpLink::open(const char* address, unsigned short port) {
    sockaddr_in plc = {};
    plc.sin_family = AF_INET;
    plc.sin_port = htons(port);
    if (inet_pton(AF_INET, address, &plc.sin_addr) != 1) {
        errno = EINVAL;
        return false;
    }
    // Bound and connected in one call, so nobody else's datagram is in the queue.
    m_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return m_socket >= 0 && connect(m_socket, reinterpret_cast<sockaddr*>(&plc), sizeof plc) == 0;
}

unsigned UdpLink::ownNode() const {
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&own), &size);
    return lastOctet(own);
}

unsigned UdpLink::plcNode() const {
    sockaddr_in plc = {};
    socklen_t size = sizeof plc;
    getpeername(m_socket, reinterpret_cast<sockaddr*>(&plc), &size);
    return lastOctet(plc);
}

void UdpLink::send(const unsigned char* bytes, int length) const {
    const std::size_t size = static_cast<std::size_t>(length);
    // The first call may fail with the refusal of an earlier frame; it then has sent nothing.
    if (::send(m_socket, bytes, size, MSG_NOSIGNAL) < 0 && errno == ECONNREFUSED) {
        ::send(m_socket, bytes, size, MSG_NOSIGNAL);
    }
}

int UdpLink::receive(char* buffer, int size, const Deadline& deadline) const {
    for (;;) {
        pollfd wait = {m_socket, POLLIN, 0};
        const int left = deadline.left();
        if (poll(&wait, 1, left) > 0) {
            const ssize_t length = recv(m_socket, buffer, static_cast<std::size_t>(size), 0);
            if (length >= 0) {
                return static_cast<int>(length);
            }
            // "Port unreachable": the PLC may be starting, and the deadline goes on.
        }
        if (left == 0) {
            return -1;
        }
    }
}

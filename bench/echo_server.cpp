#include "echo_server.h"

#include "wire_clients.h"

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const size_t READ_COMMAND = 18;
const size_t REPLY_HEAD = 14;
const size_t MOST_GAPS = 1000000;

/// Destination and source change places.
size_t makeReply(const unsigned char* request, unsigned char* reply) {
    const unsigned char head[] = {0xC0,        0,           2,          request[6], request[7],
                                  request[8],  request[3],  request[4], request[5], request[9],
                                  request[10], request[11], 0,          0};
    std::memcpy(reply, head, sizeof head);
    const size_t words = static_cast<size_t>(request[16] << 8 | request[17]);
    return REPLY_HEAD + 2 * words;
}

} // namespace

EchoServer::EchoServer() : m_socket(loopbackSocket(0)) {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    m_gaps.reserve(MOST_GAPS);
    m_thread = std::thread([this] { serve(); });
}

EchoServer::~EchoServer() {
    m_ending = true;
    const int wake = loopbackSocket(m_port);
    ::send(wake, "", 1, 0);
    m_thread.join();
    ::close(wake);
    ::close(m_socket);
}

double EchoServer::takeMedianGap() {
    std::vector<std::int64_t> gaps;
    gaps.reserve(MOST_GAPS);
    gaps.swap(m_gaps);
    if (gaps.empty()) {
        return 0;
    }
    const auto middle = gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2);
    std::nth_element(gaps.begin(), middle, gaps.end());
    return static_cast<double>(*middle);
}

void EchoServer::serve() {
    unsigned char request[2048];
    unsigned char reply[2048 + REPLY_HEAD] = {};
    std::int64_t sent = 0;
    while (!m_ending) {
        sockaddr_in from = {};
        socklen_t size = sizeof from;
        const ssize_t length = recvfrom(m_socket, request, sizeof request, 0,
                                        reinterpret_cast<sockaddr*>(&from), &size);
        const std::int64_t arrived = nanoseconds();
        if (length < static_cast<ssize_t>(READ_COMMAND)) {
            continue;
        }
        if (sent != 0 && m_gaps.size() < MOST_GAPS) {
            m_gaps.push_back(arrived - sent);
        }
        const size_t bytes = std::min(makeReply(request, reply), sizeof reply);
        sendto(m_socket, reply, bytes, 0, reinterpret_cast<sockaddr*>(&from), size);
        sent = nanoseconds();
    }
}

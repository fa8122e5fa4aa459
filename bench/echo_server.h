#ifndef VELKOR_BENCH_ECHO_SERVER_H
#define VELKOR_BENCH_ECHO_SERVER_H

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

/// Answers FINS reads on a loopback port at once, with words that are all zero, from a thread of
/// its own: the other end of the wire, as fast as it gets. Notes how long its client takes from a
/// reply to the next request, as somebody on the wire would see it.
class EchoServer {
public:
    EchoServer(); ///< ends the program when there is no socket
    ~EchoServer();
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

    std::uint16_t port() const { return m_port; }

    /// Nanoseconds from the end of a reply's sending to the arrival of the next request, the median
    /// since the last call. To be called while no client is at work.
    double takeMedianGap();

private:
    void serve();

    int m_socket;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_ending{false};
    std::vector<std::int64_t> m_gaps; ///< written by the thread while a client works
    std::thread m_thread;
};

#endif

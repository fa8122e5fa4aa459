/// How close to the wire the driver comes: a bare client, a host's plain loop around the driver,
/// and a line of the host layer, in turn, against an echo and against velkor-plc. See
/// tools/wire.sh.

#include "echo_server.h"
#include "support/plc_process.h"
#include "wire_clients.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

enum { FAILED = 1, WRONG_USAGE = 2 };

const int ROUNDS = 9;
const std::int64_t ROUND_MS = 150;
const char* const CLIENTS[] = {"bare client", "plain loop", "line"};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

struct Results {
    std::map<std::string, std::vector<double>> rates;
    std::map<std::string, std::vector<double>> gaps; ///< microseconds
};

class Measurement {
public:
    Measurement(const char* driverFile, std::uint16_t plcPort)
        : m_driverFile(driverFile), m_driver(loadDriver(driverFile)), m_plcPort(plcPort) {}

    /// False when an exchange failed.
    bool measure(int words) {
        Results echo;
        Results plc;
        for (int round = 0; round < ROUNDS; ++round) {
            if (!everybodyOnce(words, m_echo.port(), &echo) ||
                !everybodyOnce(words, m_plcPort, &plc)) {
                return false;
            }
        }
        print(words, "echo", echo);
        print(words, "velkor-plc", plc);
        const double more =
            1e6 / median(plc.rates[CLIENTS[0]]) - 1e6 / median(echo.rates[CLIENTS[0]]);
        std::printf("%5d  velkor-plc takes %.1f us longer than the echo\n\n", words, more);
        return true;
    }

private:
    bool everybodyOnce(int words, std::uint16_t port, Results* results) {
        for (const char* name : CLIENTS) {
            const std::unique_ptr<WireClient> client = makeClient(name, words, port);
            client->exchangesIn(ROUND_MS / 10); // caches warm, every word known
            m_echo.takeMedianGap();
            const long exchanges = client->exchangesIn(ROUND_MS);
            if (exchanges < 1) {
                std::fprintf(stderr, "wire_rates: %s, %d words: an exchange failed\n", name, words);
                return false;
            }
            results->rates[name].push_back(1000.0 * static_cast<double>(exchanges) / ROUND_MS);
            results->gaps[name].push_back(m_echo.takeMedianGap() / 1000);
        }
        return true;
    }

    std::unique_ptr<WireClient> makeClient(const std::string& name, int words, std::uint16_t port) {
        if (name == CLIENTS[0]) {
            return bareClient(port, words);
        }
        return name == CLIENTS[1] ? loopClient(m_driver, port, words)
                                  : lineClient(m_driverFile, port, words);
    }

    static void print(int words, const char* against, Results& results) {
        const double bare = median(results.rates[CLIENTS[0]]);
        const double bareGap = median(results.gaps[CLIENTS[0]]);
        for (const char* name : CLIENTS) {
            const double rate = median(results.rates[name]);
            std::printf("%5d  %-11s  %-11s %10.0f %8.1f %%", words, against, name, rate,
                        100 * rate / bare);
            if (bareGap > 0) {
                std::printf(" %9.1f", median(results.gaps[name]) - bareGap);
            }
            std::printf("\n");
        }
    }

    std::string m_driverFile;
    DriverEntries m_driver;
    EchoServer m_echo;
    std::uint16_t m_plcPort;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: wire_rates LIBRARY VELKOR_PLC\n");
        return WRONG_USAGE;
    }
    dropDebugLines();
    PlcProcess plc;
    const QString fault = plc.start(QString::fromLocal8Bit(argv[2]), QStringList());
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "wire_rates: %s\n", qPrintable(fault));
        return FAILED;
    }
    Measurement measurement(argv[1], plc.port());
    std::printf("words  against      client       exchanges/s  of bare  us of its own\n");
    for (int words : {1, 64, 256}) {
        if (!measurement.measure(words)) {
            return FAILED;
        }
    }
    return 0;
}

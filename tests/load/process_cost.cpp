#include "load/process_cost.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>

#include <sys/resource.h>

namespace {

double inSeconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

long privateMemory() {
    std::ifstream in("/proc/self/smaps_rollup");
    long sum = 0;
    for (std::string name; in >> name;) {
        if (name == "Private_Clean:" || name == "Private_Dirty:") {
            long kib = 0;
            in >> kib;
            sum += kib;
        }
    }
    return sum;
}

} // namespace

ProcessCost ProcessCost::now() {
    using namespace std::chrono;
    ProcessCost cost;
    cost.wallSeconds = duration<double>(steady_clock::now().time_since_epoch()).count();
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    cost.systemSeconds = inSeconds(used.ru_stime);
    cost.cpuSeconds = inSeconds(used.ru_utime) + cost.systemSeconds;
    cost.privateKib = privateMemory();
    getloadavg(&cost.loadAverage, 1);
    return cost;
}

ProcessCost operator-(const ProcessCost& end, const ProcessCost& begin) {
    ProcessCost difference = end;
    difference.wallSeconds -= begin.wallSeconds;
    difference.cpuSeconds -= begin.cpuSeconds;
    difference.systemSeconds -= begin.systemSeconds;
    return difference;
}

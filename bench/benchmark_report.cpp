#include "benchmark_report.h"

#include <algorithm>
#include <cstdio>

namespace {

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

bool BenchmarkReport::ReportContext(const Context& context) {
    std::printf("%d cores of %.0f MHz%s\n\n", context.cpu_info.num_cpus,
                context.cpu_info.cycles_per_second / 1e6,
                context.cpu_info.scaling == benchmark::CPUInfo::ENABLED
                    ? "; their clock is scaled, the figures sway"
                    : "");
    std::printf("%-44s %14s %14s %8s\n", "one call, or one exchange", "driver ns", "textbook ns",
                "ratio");
    return true;
}

void BenchmarkReport::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string name = run.run_name.function_name;
        if (run.error_occurred) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
            m_failed = true;
        } else if (run.run_type == Run::RT_Iteration) {
            const size_t slash = name.find('/');
            const std::string which = name.substr(slash + 1);
            if (m_nanoseconds.find(which) == m_nanoseconds.end()) {
                m_order.push_back(which);
            }
            const auto units = run.counters.find("units");
            const double perRound = units == run.counters.end() ? 1 : units->second.value;
            m_nanoseconds[which][name.substr(0, slash)].push_back(run.GetAdjustedCPUTime() /
                                                                  perRound);
        }
    }
}

void BenchmarkReport::Finalize() {
    for (const std::string& which : m_order) {
        auto& times = m_nanoseconds[which];
        std::printf("%-44s", which.c_str());
        for (const char* side : {"driver", "textbook"}) {
            if (times.count(side) == 0) {
                std::printf(" %14s", "-");
            } else {
                std::printf(" %14.0f", medianOf(times[side]));
            }
        }
        if (times.size() == 2) {
            std::printf(" %8.1f", medianOf(times["textbook"]) / medianOf(times["driver"]));
        }
        std::printf("\n");
    }
}

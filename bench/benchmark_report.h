#ifndef VELKOR_BENCH_BENCHMARK_REPORT_H
#define VELKOR_BENCH_BENCHMARK_REPORT_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// One line for each case, with the time of the driver, that of the textbook's algorithms, and how
/// many times faster the driver was. Cases are named "driver/CASE" and "textbook/CASE"; repeated
/// ones count by their median.
class BenchmarkReport : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;
    /// True when a case was given up.
    bool failed() const { return m_failed; }

private:
    std::vector<std::string> m_order;
    std::map<std::string, std::map<std::string, std::vector<double>>> m_nanoseconds;
    bool m_failed = false;
};

#endif

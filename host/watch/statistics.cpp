#include <velkor/host/statistics.h>

#include <velkor/host/end_codes.h>

#include <algorithm>

namespace velkor_host {
namespace {

const int MOST_SAMPLES = 1000;
const qint64 RATE_WINDOW = 2000000;

} // namespace

void RoundTrips::add(qint64 microseconds) {
    if (m_samples.size() < MOST_SAMPLES) {
        m_samples.append(microseconds);
        return;
    }
    m_samples[m_next] = microseconds;
    m_next = (m_next + 1) % MOST_SAMPLES;
}

qint64 RoundTrips::percentile(int percent) const {
    if (m_samples.isEmpty()) {
        return -1;
    }
    QVector<qint64> sorted = m_samples;
    std::sort(sorted.begin(), sorted.end());
    const int size = count();
    const int rank = (percent * size + 99) / 100;
    return sorted.at(std::min(std::max(rank, 1), size) - 1);
}

void LinkStatistics::received(Verdict verdict) {
    m_dropped += verdict == Verdict::Reply ? 0 : 1;
}

void LinkStatistics::requestEnded(const RequestEnd& settled, qint64 now) {
    if (settled.endCode >= 0) {
        m_lastEndCode = settled.endCode;
        m_lastEndCodeAt = now;
    }
    const int error = settled.endCode >= 0 && !isNormalEnd(settled.endCode)
                          ? settled.endCode
                          : settled.refusalBeforeModeChange;
    if (error >= 0) {
        m_lastError = error;
        m_lastErrorAt = now;
    }
    m_cannotSend = settled.unsent >= settled.tries;
    if (settled.ok || settled.silent < settled.tries) {
        m_silentSince = -1;
    } else if (m_silentSince < 0) {
        m_silentSince = now - settled.waited;
    }
}

void LinkStatistics::exchangeEnded(const RequestEnd& whole, qint64 now) {
    ++m_exchanges;
    m_retries += std::max(0, whole.tries - 1);
    m_failures += whole.ok ? 0 : 1;
    if (whole.roundTrip >= 0) {
        m_roundTrips.add(whole.roundTrip);
    }
    m_recent.append(now);
    const auto old = std::find_if(m_recent.begin(), m_recent.end(),
                                  [now](qint64 time) { return time > now - RATE_WINDOW; });
    m_recent.erase(m_recent.begin(), old);
}

double LinkStatistics::exchangeRate(qint64 now) const {
    const auto inWindow = std::count_if(m_recent.begin(), m_recent.end(),
                                        [now](qint64 time) { return time > now - RATE_WINDOW; });
    return static_cast<double>(inWindow) * 1e6 / static_cast<double>(RATE_WINDOW);
}

} // namespace velkor_host

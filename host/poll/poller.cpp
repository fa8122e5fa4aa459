#include "host/poll/poller.h"

#include <algorithm>

namespace velkor_host {
namespace {

bool same(const WordRange& a, const WordRange& b) {
    return a.reg == b.reg && a.address == b.address && a.length == b.length;
}

WordRange rangeOf(const RequestEnd& end) {
    return {end.reg, end.address, end.length};
}

} // namespace

Poller::Poller(BoundDriver& driver, const Settings& settings)
    : m_driver(driver), m_settings(settings), m_pace(settings.scanMs) {}

FetchFunction Poller::fetch() const {
    return [this](const WordRange& range) {
        return m_driver.items(range.reg, range.address, range.length);
    };
}

void Poller::setTags(const QVector<Tag>& tags, qint64 now) {
    m_board = TagBoard(tags);
    m_refused.clear();
    m_gaps.clear();
    m_isolations.clear();
    m_searchRests = false;
    m_searchedLast = false;
    m_fruitless.clear();
    m_retries.clear();
    m_nextRetry = -1;
    m_scanEnded = false;
    if (m_oneShot != OneShot::None) {
        m_oneShot = OneShot::Forgotten;
    }
    plan();
    m_pace.restart(now);
    m_nextScan = now;
    beginScan(now);
}

void Poller::plan() {
    m_planDue = false;
    m_searched.clear();
    QVector<WordRange> holes = m_gaps;
    for (const RefusedRange& refused : m_refused) {
        holes.append(refused.range);
    }
    m_plan =
        planPolling(m_board.words(), holes, m_settings.wordsPerFrame,
                    [this](const QVector<WordRange>& ranges) { return m_driver.poll(ranges); });
    m_board.lookAtAll();
}

void Poller::beginScan(qint64 now) {
    m_blocksLeft = static_cast<int>(m_plan.blocks.size());
    m_apartNext = 0;
    m_searchRests = false;
    m_nextScan = std::max(m_nextScan + qint64(m_settings.scanMs) * 1000, now);
}

bool Poller::blockDue(qint64 now) {
    if (scanOver() && now >= m_nextScan && m_board.size() > 0) {
        if (m_planDue) { // once for all that the last scan has brought to light
            plan();
        }
        beginScan(now);
    }
    return m_blocksLeft > 0;
}

std::optional<WordRange> Poller::oneShotDue(qint64 now) {
    blockDue(now); // begins the scan
    m_oneShotRange = WordRange();
    fillRetries(now);
    switch (nextOneShot()) {
    case OneShot::Probe:
        m_oneShotRange = *m_isolations.front().next();
        break;
    case OneShot::Apart:
        m_oneShotRange = m_plan.apart.at(m_apartNext);
        break;
    case OneShot::Retry:
        m_oneShotRange = m_retries.last();
        break;
    case OneShot::None:
    case OneShot::Forgotten:
        return std::nullopt;
    }
    return m_oneShotRange;
}

void Poller::fillRetries(qint64 now) {
    if (m_nextRetry < 0 || now < m_nextRetry || !m_retries.isEmpty()) {
        return;
    }
    for (const RefusedRange& refused : m_refused) {
        m_retries.append(refused.range);
    }
    m_nextRetry = now + qint64(m_settings.refusedRetryMs) * 1000;
}

/// Searches and retries take turns with the scan: where every scan is late there is no time between
/// them, and a search for many words takes long.
Poller::OneShot Poller::nextOneShot() const {
    const bool apart = m_apartNext < m_plan.apart.size();
    if (!(apart && m_searchedLast)) {
        if (!m_isolations.empty() && !m_searchRests) {
            return OneShot::Probe;
        }
        if (!m_retries.isEmpty()) {
            return OneShot::Retry;
        }
    }
    return apart ? OneShot::Apart : OneShot::None;
}

void Poller::oneShotBegun() {
    m_oneShot = nextOneShot();
    m_searchedLast = m_oneShot != OneShot::Apart;
}

qint64 Poller::nextDue() const {
    if (m_board.size() == 0) {
        return -1;
    }
    return m_nextRetry >= 0 ? std::min(m_nextRetry, m_nextScan) : m_nextScan;
}

void Poller::blockEnded(const RequestEnd& end, qint64 now) {
    if (m_blocksLeft > 0) {
        --m_blocksLeft;
    }
    rangeEnded(rangeOf(end), end, now);
}

/// Of the scan: a block, or a range apart.
void Poller::rangeEnded(const WordRange& range, const RequestEnd& end, qint64 now) {
    if (!isAddressRefusal(end) || !searchedFor(range)) {
        credit(range, end, now);
    } // else it is refused as before, which says nothing of what the search has read of it since
    partOfScanEnded(now);
    if (end.ok) {
        dropSearch(range);
    } else {
        searchFor(range, end, now);
    }
}

void Poller::oneShotEnded(const RequestEnd& end, qint64 now) {
    const OneShot ended = m_oneShot;
    m_oneShot = OneShot::None;
    switch (ended) {
    case OneShot::Apart:
        ++m_apartNext;
        // The driver announces changes of the words only that it polls itself.
        m_board.lookAt(m_oneShotRange);
        rangeEnded(m_oneShotRange, end, now);
        return;
    case OneShot::Probe:
        probeEnded(end, now);
        return;
    case OneShot::Retry:
        retryEnded(end, now);
        return;
    case OneShot::None:
    case OneShot::Forgotten:
        return;
    }
}

void Poller::credit(const WordRange& asked, const RequestEnd& end, qint64 now) {
    if (end.ok) {
        m_board.wordsRead(asked, fetch(), now - end.waited, now);
    } else {
        m_board.readFailed(asked, m_settings.reason(end), now - end.waited, now);
    }
}

void Poller::partOfScanEnded(qint64 now) {
    if (scanOver()) {
        m_board.scanEnded(fetch(), now);
        m_pace.scanEnded(now);
        timePasses(now);
        m_scanEnded = true;
    }
}

/// Begins to look for the words that have made the PLC refuse a whole block.
void Poller::searchFor(const WordRange& block, const RequestEnd& end, qint64 now) {
    if (end.ok || !isAddressRefusal(end)) {
        return;
    }
    for (const Fruitless& fruitless : m_fruitless) {
        if (same(fruitless.block, block) && now < fruitless.until) {
            return;
        }
    }
    if (searchedFor(block)) {
        return;
    }
    m_isolations.emplace_back(block, m_board.words(), end);
    if (m_isolations.back().finished()) { // a single run of words: it is the one
        m_isolations.push_front(std::move(m_isolations.back()));
        m_isolations.pop_back();
        isolationEnded(now);
    }
}

bool Poller::beingSearched(const WordRange& block) const {
    return std::any_of(m_isolations.begin(), m_isolations.end(),
                       [&](const Isolation& search) { return same(search.block(), block); });
}

bool Poller::searchedFor(const WordRange& block) const {
    return beingSearched(block) ||
           std::any_of(m_searched.begin(), m_searched.end(),
                       [&](const WordRange& searched) { return same(searched, block); });
}

/// The PLC has given the block after all.
void Poller::dropSearch(const WordRange& block) {
    // What has been asked for the first search is still to be told to it.
    const auto begin = m_isolations.begin() + (m_oneShot == OneShot::Probe ? 1 : 0);
    m_isolations.erase(
        std::remove_if(begin, m_isolations.end(),
                       [&](const Isolation& search) { return same(search.block(), block); }),
        m_isolations.end());
}

/// A read of the search counts as any other for the tags in it. Where it got no answer to its
/// question, it rests, because an error that comes at once would be asked for without a pause; and
/// the other searches go on before it, because it may never get one.
void Poller::probeEnded(const RequestEnd& end, qint64 now) {
    m_board.lookAt(m_oneShotRange); // as with a range apart
    credit(m_oneShotRange, end, now);
    m_isolations.front().ended(end);
    if (m_isolations.front().finished()) {
        isolationEnded(now);
    } else if (!end.ok && !isAddressRefusal(end)) {
        m_searchRests = true;
        m_isolations.push_back(std::move(m_isolations.front()));
        m_isolations.pop_front();
    }
}

void Poller::isolationEnded(qint64 now) {
    const Isolation isolation = m_isolations.front();
    m_isolations.pop_front();
    if (isolation.refused().isEmpty() && isolation.gaps().isEmpty()) {
        m_fruitless.erase(std::remove_if(m_fruitless.begin(), m_fruitless.end(),
                                         [now](const Fruitless& old) { return now >= old.until; }),
                          m_fruitless.end());
        m_fruitless.append({isolation.block(), now + qint64(m_settings.refusedRetryMs) * 1000});
        return;
    }
    m_searched.append(isolation.block());
    m_refused += isolation.refused();
    m_gaps += isolation.gaps();
    refusalsChanged(now);
}

void Poller::retryEnded(const RequestEnd& end, qint64 now) {
    const WordRange range = m_oneShotRange;
    m_retries.removeLast();
    if (!end.ok) {
        if (isAddressRefusal(end)) {
            refusedStill(range, end, now);
        }
        return;
    }
    m_refused.erase(
        std::remove_if(m_refused.begin(), m_refused.end(),
                       [&](const RefusedRange& refused) { return same(refused.range, range); }),
        m_refused.end());
    refusalsChanged(now);
}

/// Perhaps for another reason than before.
void Poller::refusedStill(const WordRange& range, const RequestEnd& end, qint64 now) {
    for (RefusedRange& refused : m_refused) {
        if (same(refused.range, range)) {
            refused.refusal = end;
        }
    }
    m_board.setRefused(m_refused, m_settings.reason, now);
}

void Poller::refusalsChanged(qint64 now) {
    if (m_refused.isEmpty()) {
        m_nextRetry = -1;
    } else if (m_nextRetry < 0) {
        m_nextRetry = now + qint64(m_settings.refusedRetryMs) * 1000;
    }
    m_board.setRefused(m_refused, m_settings.reason, now);
    m_planDue = true;
    if (m_isolations.empty() && m_retries.isEmpty()) {
        m_nextScan = std::min(m_nextScan, now); // the neighbours have waited long enough
    }
}

void Poller::timePasses(qint64 now) {
    m_board.timePasses(now, m_pace.staleAfter());
}

bool Poller::takeScanEnd() {
    const bool ended = m_scanEnded;
    m_scanEnded = false;
    return ended;
}

} // namespace velkor_host

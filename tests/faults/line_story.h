#ifndef VELKOR_TESTS_FAULTS_LINE_STORY_H
#define VELKOR_TESTS_FAULTS_LINE_STORY_H

/// All that a host does with a line, once: polls, writes short and long, words and bits, one that
/// the PLC refuses, a read, a recipe both ways, a write for which the PLC's mode is changed; and
/// the end. Afterwards what the line has told is held against what the PLC holds and has executed.

#include "host/simulated_line.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

class LineStory {
public:
    /// `atOnce`: everything is handed over before the first of it is settled. `retries`: see
    /// LineSettings; with a single try whatever goes wrong ends the request.
    LineStory(bool atOnce, int retries);

    SimulatedLine& line() { return m_line; }

    void tell();
    /// What was told and is not so, or is not as it must be; at most one for each thing that was
    /// handed over.
    std::vector<std::string> untruths();
    /// Everything that was told: results in words, by id.
    std::string told() const;

private:
    void fillPlc();
    void lockAfterTheFirstWrite(int dmAddress);
    void write(const char* reg, int address, const velkor_host::Items& items);
    void handOverTransfers();
    void settle();

    void judge(const velkor_host::WriteOutcome& outcome);
    void judge(const velkor_host::ReadOutcome& outcome);
    void judge(const velkor_host::RecipeOutcome& outcome);
    std::string faultOf(const velkor_host::WriteOutcome& outcome) const;
    std::string faultOf(const velkor_host::RecipeOutcome& outcome) const;
    void judgeNumbers();
    void judgeMode();
    void judgeOtherWords();
    void require(bool holds, const std::string& what);

    bool executed(const QString& reg, int address, int value) const;
    std::string itemWrong(const QString& reg, int address, int value, bool written) const;

    const bool m_atOnce;
    SimulatedLine m_line;
    plc::Memory m_before;
    std::map<quint64, velkor_host::Items> m_written; ///< by id
    std::set<quint64> m_ids;                         ///< handed over
    std::set<std::pair<QString, int>> m_concerned;   ///< words that may change
    quint64 m_modeWrite = 0;
    std::vector<std::string> m_untruths;
};

#endif

#ifndef VELKOR_TESTS_FAULTS_DRIVER_STORY_H
#define VELKOR_TESTS_FAULTS_DRIVER_STORY_H

/// All that a host does with the loaded driver, once, with the simulated PLC's core at the other
/// end; in one call of the driver memory runs out. Afterwards PLC and driver hold what they must.

#include "contract/loaded_driver.h"
#include "plc/plc_core.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class DriverStory {
public:
    /// What the host does when a call has thrown std::bad_alloc: the same call again, or what comes
    /// next. It configures the driver again in any case.
    enum Answer { Again, GoOn };

    /// The `failing`-th allocation (from 1) that the driver makes finds no memory; 0: all do.
    DriverStory(Answer answer, long failing);
    void tell();

    /// Whether there have been so many allocations.
    bool failed() const { return !m_failedIn.empty(); }
    /// The function that the failure came out of, such as "setData".
    const std::string& failedIn() const { return m_failedIn; }
    /// Whether the driver object was afterwards, field by field, what it was before the call.
    bool leftNoTrace() const { return m_noTrace; }
    /// Whether the PLC does not hold a write that the driver has told as failed.
    bool writeLost() const { return m_writeLost; }
    /// What is not as it must be at the end.
    const std::vector<std::string>& wrong() const { return m_wrong; }

private:
    /// False: it has thrown, and was not repeated. `perform` must allocate nothing itself.
    bool call(const char* name, const std::function<void()>& perform, bool always = false);
    void configure();
    void ask();
    void turn(bool silent = false);
    void turns(int count);
    void write(const char* reg, int address, const std::vector<int>& items);
    void readOnce(const char* reg, int address, int count);
    void moveRecipe();
    void requestRecipe(int byte);
    void judge();
    void judgeHostWords(const char* reg, int address, int count);
    void noteFailure();
    void require(bool holds, const std::string& what);
    std::uint64_t sumOfObject() const;

    const Answer m_answer;
    long m_untilFailure;
    std::string m_failedIn;
    bool m_noTrace = true;
    bool m_writeLost = false;
    Library m_library;
    host::Entries m_intf;
    plc::Core m_plc;
    std::vector<unsigned char> m_hostBlock;
    std::vector<unsigned char> m_statusBlock;
    std::vector<unsigned short> m_recipe;
    QMutex m_mutex;
    host::FramePro m_out;
    struct Written {
        std::string reg;
        int address;
        std::vector<int> items;
        bool lost;   ///< the call has thrown: some of it may be there
        bool failed; ///< the driver has told a frame of it as failed
    };
    bool plcHolds(const Written& write) const;
    std::vector<Written> m_written;
    std::vector<std::string> m_wrong;
};

#endif

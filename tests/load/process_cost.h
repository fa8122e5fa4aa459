#ifndef VELKOR_TESTS_LOAD_PROCESS_COST_H
#define VELKOR_TESTS_LOAD_PROCESS_COST_H

/// What this process has used so far.
struct ProcessCost {
    double wallSeconds = 0; ///< on a clock that is never set
    double cpuSeconds = 0;  ///< user and system
    double systemSeconds = 0;
    long privateKib = 0;    ///< resident memory that no other process shares
    double loadAverage = 0; ///< of the machine, over the last minute

    static ProcessCost now();
};

/// Times are differences; the rest is as in `end`.
ProcessCost operator-(const ProcessCost& end, const ProcessCost& begin);

#endif

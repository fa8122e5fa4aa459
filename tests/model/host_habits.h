#ifndef VELKOR_TESTS_MODEL_HOST_HABITS_H
#define VELKOR_TESTS_MODEL_HOST_HABITS_H

/// What the host of one sequence is like: its settings, the registers it is interested in, how
/// good its line is, and how much nonsense it talks. Few names and addresses, so that they meet.

#include "model/call.h"
#include "model/random.h"

namespace model {

enum Mood { Polling, Writing, Reciping, AskingOnce, Querying, Chaos, MoodCount };

struct HostHabits {
    explicit HostHabits(Random& random);

    Mood mood;
    int nonsense;   ///< percent of values that no sane host gives
    int badReplies; ///< percent
    bool large;     ///< many words are cached, which is slow
    bool flooding;  ///< queues are filled to their ends
    int reacting;   ///< percent of calls with something done inside callbacks
    int tag;
    int wordsPerFrame;
    int retryLimit;
    int writeDisabled;
    int spread; ///< words
    std::vector<QString> names;
    std::vector<int> bases;
    std::vector<int> stations;

    QString properties() const;
    QString name(Random& random) const;
    int address(Random& random, const QString& ofName) const;
    int length(Random& random) const;
    int station(Random& random) const { return random.oneOf(stations); }
    Range range(Random& random) const;
};

/// An int that is at some edge.
int edgeNumber(Random& random);
bool isBitName(const QString& name);

} // namespace model

#endif

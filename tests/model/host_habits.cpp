#include "model/host_habits.h"

#include <climits>

namespace model {

namespace {

std::vector<QString> texts(const std::vector<const char*>& latin) {
    std::vector<QString> list;
    list.reserve(latin.size());
    for (const char* text : latin) {
        list.push_back(QString::fromLatin1(text));
    }
    return list;
}

const std::vector<QString>& saneNames() {
    static const std::vector<QString> names =
        texts({"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit", "CIO", "WR", "HR", "AR", "T", "C",
               "DM", "DM", "DM_bit", "CIO", "CIO_bit"});
    return names;
}

const std::vector<QString>& oddNames() {
    static const std::vector<QString> names =
        texts({"", "dm", "DM ", "_bit", "CIO_bit_bit", "A_B_bit", "C_bit", "T_bit", "bit", "%1",
               "%4 %2", "D\"M", "DM_BIT", "_", "CIO_", "X"});
    return names;
}

int saneWordsPerFrame(Random& random) {
    static const std::vector<int> values = {64, 64, 64, 16, 8, 4, 3, 2, 1, 1, 200, 498, 503};
    return random.oneOf(values);
}

int oddWordsPerFrame(Random& random) {
    static const std::vector<int> values = {0,    -1,     504,     512,     513,        1006,
                                            1007, 100000, INT_MAX, INT_MIN, 0x20000000, 0x10000001};
    return random.oneOf(values);
}

} // namespace

int edgeNumber(Random& random) {
    static const std::vector<int> edges = {0,
                                           1,
                                           -1,
                                           2,
                                           -2,
                                           7,
                                           8,
                                           15,
                                           16,
                                           17,
                                           -8,
                                           -15,
                                           -16,
                                           -17,
                                           255,
                                           256,
                                           503,
                                           504,
                                           512,
                                           513,
                                           1006,
                                           1007,
                                           4095,
                                           4096,
                                           6143,
                                           6144,
                                           32767,
                                           32768,
                                           65534,
                                           65535,
                                           65536,
                                           -32768,
                                           98303,
                                           98304,
                                           524287,
                                           524288,
                                           INT_MAX,
                                           INT_MAX - 1,
                                           INT_MIN,
                                           INT_MIN + 1,
                                           INT_MAX - 6,
                                           INT_MIN + 5,
                                           INT_MIN + 510,
                                           0x40000000,
                                           0x40000005,
                                           -0x40000000,
                                           0x3FFFFFFF,
                                           0x3FFFFFF9,
                                           0x08000000};
    return random.oneOf(edges);
}

bool isBitName(const QString& name) {
    return name.endsWith(QLatin1String("_bit"));
}

HostHabits::HostHabits(Random& random) {
    static const std::vector<int> nonsenses = {0, 0, 1, 5, 30};
    static const std::vector<int> badnesses = {0, 3, 10, 30, 60};
    static const std::vector<int> reactings = {0, 0, 5, 20};
    static const std::vector<int> tags = {7, 7, 7, 1, 0, -1};
    static const std::vector<int> limits = {3, 3, 3, 1, 2, 5};
    static const std::vector<int> oddLimits = {0, -1, INT_MIN, INT_MAX};
    static const std::vector<int> spreads = {2, 4, 12, 40, 100};
    static const std::vector<int> places = {0, 0, 100, 447, 500, 950, 4090, 6140, 32760};
    mood = static_cast<Mood>(random.below(MoodCount));
    nonsense = mood == Chaos ? 30 : random.oneOf(nonsenses);
    badReplies = random.oneOf(badnesses);
    reacting = random.oneOf(reactings);
    tag = random.oneOf(tags);
    wordsPerFrame = random.percent(10) ? oddWordsPerFrame(random) : saneWordsPerFrame(random);
    large = random.percent(3);
    flooding = wordsPerFrame > 0 && wordsPerFrame < 6 && random.percent(25);
    retryLimit = random.percent(10) ? random.oneOf(oddLimits) : random.oneOf(limits);
    writeDisabled = random.percent(5) ? 1 : 0;
    spread = random.oneOf(spreads);
    for (int i = random.between(1, 4); i > 0; --i) {
        names.push_back(random.percent(nonsense) ? random.oneOf(oddNames())
                                                 : random.oneOf(saneNames()));
    }
    for (int i = random.between(1, 2); i > 0; --i) {
        bases.push_back(random.percent(nonsense) ? edgeNumber(random) : random.oneOf(places));
    }
    stations.push_back(1);
    if (random.percent(20)) {
        stations.push_back(edgeNumber(random));
    }
}

QString HostHabits::properties() const {
    return QString(QLatin1String("%1#%2#0#%3#%4"))
        .arg(tag)
        .arg(writeDisabled)
        .arg(retryLimit)
        .arg(wordsPerFrame);
}

QString HostHabits::name(Random& random) const {
    if (random.percent(nonsense / 4)) {
        return random.oneOf(oddNames());
    }
    return random.percent(4) ? random.oneOf(saneNames()) : random.oneOf(names);
}

int HostHabits::address(Random& random, const QString& ofName) const {
    if (random.percent(nonsense / 2)) {
        return edgeNumber(random);
    }
    const long long word = static_cast<long long>(random.oneOf(bases)) + random.below(spread);
    const long long address = isBitName(ofName) ? 16 * word + random.below(16) : word;
    return static_cast<int>(static_cast<unsigned>(address));
}

int HostHabits::length(Random& random) const {
    if (random.percent(nonsense / 2)) {
        const int edge = edgeNumber(random);
        return !large && edge > 40 && edge < 100000 ? edge % 40 : edge;
    }
    const int what = random.below(100);
    if (what < 70) {
        return random.between(1, 4);
    }
    if (what < 88) {
        return random.between(1, 24);
    }
    if (what < 90) {
        return random.between(-1, 0);
    }
    const int limit = wordsPerFrame < 1 || wordsPerFrame > 600 ? 503 : wordsPerFrame;
    const int around = large ? limit : qMin(limit, 20);
    return around * random.between(1, 2) + random.between(-2, 2);
}

Range HostHabits::range(Random& random) const {
    Range range = Range();
    range.tag = random.percent(85) ? tag : random.between(-1, 7);
    range.station = station(random);
    range.name = name(random);
    range.addr = address(random, range.name);
    range.len = length(random);
    range.offset = random.percent(50) ? random.below(40) : random.below(350);
    range.countKind = random.percent(30) ? -1 : random.between(-2, 1);
    return range;
}

} // namespace model

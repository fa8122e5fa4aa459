#ifndef VELKOR_TESTS_SUPPORT_NOTICE_H
#define VELKOR_TESTS_SUPPORT_NOTICE_H

/// What a test host records of the value-change callback.

#include <ostream>
#include <string>

/// One call of the value-change callback.
struct Notice {
    int tag;
    int station;
    std::string regName;
    int address;

    bool operator==(const Notice& other) const {
        return tag == other.tag && station == other.station && regName == other.regName &&
               address == other.address;
    }
};

inline std::ostream& operator<<(std::ostream& out, const Notice& notice) {
    return out << '(' << notice.tag << ", " << notice.station << ", \"" << notice.regName << "\", "
               << notice.address << ')';
}

#endif

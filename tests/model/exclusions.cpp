#include "model/exclusions.h"

#include "model/session.h"

// What is never done to the driver, and why:
//
// - a frame asked for before the driver is bound: it would lock a mutex that nobody has lent;
// - a change of values before a callback is set: the driver calls it untested (each session sets
//   one first);
// - a recipe variable whose words may lie outside the lent buffer: its size is the host's to keep;
// - inside a callback, anything but reading, writing, condition reads and the queries;
// - ranges for which the test has no memory: one record is made for each word of a merge, one
//   request for each piece of a condition read, and the host's own buffers have an end;
// - texts with a zero in them: a debug line ends there.

namespace model {

namespace {

const long long mostMonitored = 6000;
const int mostPieces = 5000;
const int mostItems = 3000;
const int mostReplyWords = 1050;

bool fitsMemory(const std::vector<Range>& ranges) {
    long long records = 0;
    for (const Range& range : ranges) {
        records += qMax(range.len, 0);
    }
    return records <= mostMonitored;
}

bool liesInRecipeBuffer(const std::vector<Range>& ranges) {
    for (const Range& range : ranges) {
        if (range.offset < 0 || range.offset > RecipeWords - mostReplyWords) {
            return false;
        }
    }
    return true;
}

bool hasFewPieces(const Range& range, const Driver& driver) {
    const int limit = range.countKind == -1 ? driver.maxBitsPerFrame() : driver.wordsPerFrame();
    return limit <= 0 || range.len / limit <= mostPieces;
}

bool mayBeMadeInCallback(Kind kind) {
    return kind == GetData || kind == SetData || kind == ConditionRead || kind == ProtocolType ||
           kind == DriverParameter || kind == PropertyPage || kind == RegList ||
           kind == RegDescription || kind == CheckValidity || kind == CheckAddress;
}

} // namespace

bool isToldToHosts(const Call& call, const Driver& driver) {
    for (const Call::Reaction& reaction : call.reactions) {
        if (!mayBeMadeInCallback(reaction.call.kind) || !isToldToHosts(reaction.call, driver)) {
            return false;
        }
    }
    switch (call.kind) {
    case Send:
    case Deal:
        return driver.isBound();
    case Merge:
        return fitsMemory(call.ranges);
    case Recipe:
        return liesInRecipeBuffer(call.ranges);
    case ConditionRead:
        return call.ranges.size() == 1 && hasFewPieces(call.ranges[0], driver);
    case GetData:
    case SetData:
    case MultiCopy:
        return call.count <= mostItems;
    default:
        return true;
    }
}

} // namespace model

#include "model/naive_driver.h"

#include <cstring>

namespace model {

int NaiveDriver::setRcpAddress(const QVector<host::RecipeVariable>& variables) {
    s.rcpVarVector.clear();
    for (int i = 0; i < variables.size(); ++i) {
        if (variables.at(i).hostTag == s.hostTag) {
            s.rcpVarVector.push_back(variables.at(i));
        }
    }
    sortByWeight(s.rcpVarVector);
    s.rcpBlockFirst.clear();
    s.rcpVector.clear();
    if (s.rcpVarVector.empty()) {
        return 0;
    }
    std::vector<host::KeyAddress> ranges;
    for (const host::RecipeVariable& variable : s.rcpVarVector) {
        host::KeyAddress range = host::KeyAddress();
        range.addr = variable.addr;
        range.len = variable.len;
        range.regName = variable.regName;
        range.station = variable.station;
        range.rcpOffset = variable.rcpOffset;
        ranges.push_back(range);
    }
    for (const host::KeyAddress& joined :
         joinTouching(ranges, s.maxWordsPerFrame, &s.rcpBlockFirst)) {
        host::RecipeVariable block = host::RecipeVariable();
        block.station = joined.station;
        block.regName = joined.regName;
        block.addr = joined.addr;
        block.len = joined.len;
        block.rcpOffset = joined.rcpOffset;
        s.rcpVector.push_back(block);
    }
    return static_cast<int>(s.rcpVarVector.size());
}

void NaiveDriver::blockToCurrent(const host::RecipeVariable& block, bool withData) {
    host::Variable& request = s.currentVar; // its type stays
    request.station = block.station;
    request.regName = block.regName;
    request.addr = block.addr;
    request.len = block.len;
    std::memset(request.data, 0, sizeof request.data);
    if (withData && block.len > 0) {
        const int words = block.len > 512 ? 512 : block.len;
        std::memcpy(request.data, s.hostRecipeBuffer + block.rcpOffset,
                    2 * static_cast<std::size_t>(words));
    }
}

} // namespace model

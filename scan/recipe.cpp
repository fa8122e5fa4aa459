#include "scan/recipe.h"

#include "driver/host_areas.h"
#include "driver/int_math.h"
#include "driver/velkor.h"
#include "scan/address_merge.h"
#include "scan/weight_sort.h"

#include <cstring>

namespace {

QVector<_RCP_VAR_PRO> ownVariables(const QVector<_RCP_VAR_PRO>& variables) {
    QVector<_RCP_VAR_PRO> own;
    for (int i = 0; i < variables.size(); ++i) {
        if (variables.at(i).hostTag == driver.hostTag) {
            own.append(variables.at(i));
        }
    }
    return own;
}

KEY_ADDRESS toKey(const _RCP_VAR_PRO& variable) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.rcpOffset = variable.rcpOffset;
    key.station = variable.station;
    key.regName = variable.regName;
    key.addr = variable.addr;
    key.len = variable.len;
    return key;
}

_RCP_VAR_PRO toBlock(const KEY_ADDRESS& key) {
    _RCP_VAR_PRO block = _RCP_VAR_PRO();
    block.station = key.station;
    block.regName = key.regName;
    block.addr = key.addr;
    block.len = key.len;
    block.rcpOffset = key.rcpOffset;
    return block;
}

} // namespace

int intf_setRcpAddress(const QVector<_RCP_VAR_PRO>& variables) {
    driver.rcpVarVector = ownVariables(variables);
    sortByWeight(driver.rcpVarVector);
    QList<KEY_ADDRESS> keys;
    for (int i = 0; i < driver.rcpVarVector.size(); ++i) {
        keys.append(toKey(driver.rcpVarVector.at(i)));
    }
    driver.rcpBlockFirst.clear();
    driver.rcpVector.clear();
    addrMerge(keys, MERGE_RECIPE);
    for (int i = 0; i < keys.size(); ++i) {
        driver.rcpVector.append(toBlock(keys.at(i)));
    }
    return static_cast<int>(driver.rcpVarVector.size());
}

void rcpAddrToVar(const _RCP_VAR_PRO& block, VARIABLE& request, int withData) {
    request.station = block.station;
    request.regName = block.regName;
    request.addr = block.addr;
    request.len = block.len;
    std::memset(request.data, 0, sizeof request.data);
    if (withData != 0) {
        const qint64 bytes = 2 * static_cast<qint64>(block.len);
        const qint64 room = VELKOR_DATA_SIZE;
        copyFromRecipeBuffer(block.rcpOffset, wrapToInt(qBound<qint64>(0, bytes, room)),
                             request.data);
    }
}

#include "scan/address_merge.h"

#include "data/data_area.h"
#include "driver/bit_address.h"
#include "driver/debug_line.h"
#include "driver/int_math.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"
#include "scan/weight_sort.h"

#include <QtCore/QTextStream>

namespace {

/// Every cyclic read carries this tag.
const int cyclicReadType = 4;

/// Bits become the smallest run of words that holds them, under the word register's name, so that
/// bit and word ranges of one memory area merge with each other.
void normaliseBits(QList<KEY_ADDRESS>& keys) {
    for (int i = 0; i < keys.size(); ++i) {
        if (isBitRegister(keys.at(i).regName)) {
            KEY_ADDRESS& key = keys[i];
            const WordRange words = wordsHoldingBits(key.addr, key.len);
            key.regName = withoutBitSuffix(key.regName);
            key.addr = words.addr;
            key.len = words.len;
        }
    }
}

/// Words between the end of `block` and the start of `next`; zero or less when they touch or
/// overlap.
int gapBetween(const KEY_ADDRESS& block, const KEY_ADDRESS& next) {
    return wrapSubtract(next.addr, wrapAdd(block.addr, block.len));
}

/// Length of a block that begins with `block` and ends where `next` ends. For a `next` that lies
/// inside `block` this is less than the block's length, and the block is cut back: hosts rely on it
/// being so, and the host guide tells them to split such ranges.
int spanOf(const KEY_ADDRESS& block, const KEY_ADDRESS& next) {
    return wrapSubtract(wrapAdd(next.addr, next.len), block.addr);
}

/// One sweep: each record joins the block before it when it has the same name, the gap is no larger
/// than `largestGap` and the block stays within a frame; otherwise it begins a new block, whose
/// index in `keys` is appended to `blockFirst` (where given). Stations are not compared.
QList<KEY_ADDRESS> joinRanges(const QList<KEY_ADDRESS>& keys, int largestGap,
                              QList<int>* blockFirst) {
    QList<KEY_ADDRESS> blocks;
    for (int i = 0; i < keys.size(); ++i) {
        const KEY_ADDRESS& next = keys.at(i);
        if (!blocks.isEmpty()) {
            KEY_ADDRESS& block = blocks.last();
            const int span = spanOf(block, next);
            if (next.regName == block.regName && gapBetween(block, next) <= largestGap &&
                span <= driver.maxWordsPerFrame) {
                block.len = span;
                continue;
            }
        }
        blocks.append(next);
        if (blockFirst != nullptr) {
            blockFirst->append(i);
        }
    }
    return blocks;
}

void logRange(const KEY_ADDRESS& key) {
    QString line;
    QTextStream stream(&line);
    stream << "step \"" << key.regName << "\" " << key.addr << ' ' << key.len << ' ';
    stream.flush();
    debugLine(line);
}

void logBlock(int index, const VARIABLE& block) {
    const QString text = QString(QLatin1String("step3:id=%1,reg=%2,address=%3,len=%4"))
                             .arg(index)
                             .arg(block.regName)
                             .arg(block.addr)
                             .arg(block.len);
    debugLine(QLatin1Char('"') + text + QLatin1String("\" "));
}

void monitorRanges(const QList<KEY_ADDRESS>& keys) {
    clearMonitorFlags();
    DataAreaIndex words;
    for (int i = 0; i < keys.size(); ++i) {
        const KEY_ADDRESS& key = keys.at(i);
        words.setMonitorFlag(key.station, key.regName, key.addr, key.len);
        logRange(key);
    }
}

void appendCyclicRead(const KEY_ADDRESS& block) {
    VARIABLE request = VARIABLE();
    request.type = cyclicReadType;
    request.station = block.station;
    request.regName = block.regName;
    request.addr = block.addr;
    request.len = block.len;
    driver.readList.append(request);
}

} // namespace

void addrMerge(QList<KEY_ADDRESS>& keys, int mode) {
    const int touching = 0;
    if (mode == MERGE_RECIPE) {
        keys = joinRanges(keys, touching, &driver.rcpBlockFirst);
        return;
    }
    normaliseBits(keys);
    sortByWeight(keys);
    keys = joinRanges(keys, touching, nullptr);
    keys = joinRanges(keys, driver.maxWordsPerFrame, nullptr);
}

int intf_addrMerge(QList<KEY_ADDRESS>& keys) {
    monitorRanges(keys);
    driver.readList.clear();
    addrMerge(keys, MERGE_CYCLIC);
    for (int i = 0; i < keys.size(); ++i) {
        appendCyclicRead(keys.at(i));
    }
    for (int i = 0; i < driver.readList.size(); ++i) {
        logBlock(i, driver.readList.at(i));
    }
    return driver.readList.size();
}

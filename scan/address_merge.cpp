#include "scan/address_merge.h"

#include "data/data_area.h"
#include "driver/bit_address.h"
#include "driver/debug_line.h"
#include "driver/int_math.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"
#include "scan/weight_sort.h"

#include <QtCore/QVector>

namespace {

/// Every cyclic read carries this tag.
const int cyclicReadType = 4;

/// A range or a block of ranges on its way through the merge. A block is a copy of its first record
/// with a new length; as records are large, only the index of that record is carried along.
struct Range {
    QString regName;
    int addr;
    int len;
    int source; ///< index in the host's list
};

typedef QVector<Range> Ranges;

Ranges rangesOf(const QList<KEY_ADDRESS>& keys) {
    Ranges ranges;
    ranges.reserve(keys.size());
    for (int i = 0; i < keys.size(); ++i) {
        const KEY_ADDRESS& key = keys.at(i);
        const Range range = {key.regName, key.addr, key.len, i};
        ranges.append(range);
    }
    return ranges;
}

/// Bits become the smallest run of words that holds them, under the word register's name, so that
/// bit and word ranges of one memory area merge with each other.
void normaliseBits(Ranges& ranges) {
    for (int i = 0; i < ranges.size(); ++i) {
        Range& range = ranges[i];
        if (isBitRegister(range.regName)) {
            const WordRange words = wordsHoldingBits(range.addr, range.len);
            range.regName = withoutBitSuffix(range.regName);
            range.addr = words.addr;
            range.len = words.len;
        }
    }
}

/// Words between the end of `block` and the start of `next`; zero or less when they touch or
/// overlap.
int gapBetween(const Range& block, const Range& next) {
    return wrapSubtract(next.addr, wrapAdd(block.addr, block.len));
}

/// Length of a block that begins with `block` and ends where `next` ends. For a `next` that lies
/// inside `block` this is less than the block's length, and the block is cut back. That is
/// deliberate; the host guide tells hosts to split such ranges.
int spanOf(const Range& block, const Range& next) {
    return wrapSubtract(wrapAdd(next.addr, next.len), block.addr);
}

/// One sweep: each range joins the block before it when it has the same name, the gap is no larger
/// than `largestGap` and the block stays within a frame; otherwise it begins a new block, whose
/// index in `ranges` is appended to `blockFirst` (where given). Stations are not compared.
Ranges joinRanges(const Ranges& ranges, int largestGap, QList<int>* blockFirst) {
    Ranges blocks;
    for (int i = 0; i < ranges.size(); ++i) {
        const Range& next = ranges.at(i);
        if (!blocks.isEmpty()) {
            Range& block = blocks.last();
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

/// The blocks as records.
QList<KEY_ADDRESS> recordsOf(const Ranges& blocks, const QList<KEY_ADDRESS>& keys) {
    QList<KEY_ADDRESS> records;
    for (int i = 0; i < blocks.size(); ++i) {
        const Range& block = blocks.at(i);
        records.append(keys.at(block.source));
        KEY_ADDRESS& record = records.last();
        record.regName = block.regName;
        record.addr = block.addr;
        record.len = block.len;
    }
    return records;
}

void logRange(const KEY_ADDRESS& key) {
    DebugLine line;
    line << "step \"" << key.regName << "\" " << key.addr << " " << key.len << " ";
    debugLine(line.text());
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
        _setDataAreaMonitorFlag(key.station, key.regName, key.addr, key.len, &words);
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
    Ranges ranges = rangesOf(keys);
    if (mode == MERGE_RECIPE) {
        ranges = joinRanges(ranges, touching, &driver.rcpBlockFirst);
    } else {
        normaliseBits(ranges);
        sortByWeight(ranges);
        ranges = joinRanges(ranges, touching, nullptr);
        ranges = joinRanges(ranges, driver.maxWordsPerFrame, nullptr);
    }
    keys = recordsOf(ranges, keys);
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
    return static_cast<int>(driver.readList.size());
}

#include "model/naive_driver.h"

namespace model {

namespace {

int wordsHolding(int bits) {
    return bits % 16 == 0 ? bits / 16 : bits / 16 + 1;
}

/// The request of one piece of a condition read.
host::Variable conditionRequest(const host::KeyAddress& piece, int type) {
    host::Variable request = host::Variable();
    request.type = type;
    request.station = piece.station;
    request.regName = piece.regName;
    request.addr = piece.addr;
    request.len = piece.len;
    if (endsInBit(piece.regName)) { // the first bit's place in its word does not count here
        request.regName = piecesOf(piece.regName, QLatin1Char('_'))[0];
        request.addr = piece.addr / 16;
        request.len = wordsHolding(piece.len);
    }
    return request;
}

/// Bits as the words that hold them.
void normalise(host::KeyAddress& range) {
    if (!endsInBit(range.regName)) {
        return;
    }
    range.regName.chop(4);
    range.len = wordsHolding(wrapped(range.addr % 16 + static_cast<long long>(range.len)));
    range.addr = range.addr / 16;
}

/// The words between the end of `block` and the start of `next`.
int gapTo(const host::KeyAddress& block, const host::KeyAddress& next) {
    return wrapped(static_cast<long long>(next.addr) - block.addr - block.len);
}

/// The words from the start of `block` to the end of `next`.
int spanTo(const host::KeyAddress& block, const host::KeyAddress& next) {
    return wrapped(static_cast<long long>(next.addr) + next.len - block.addr);
}

std::vector<host::KeyAddress> bridgeGaps(const std::vector<host::KeyAddress>& blocks, int limit) {
    std::vector<host::KeyAddress> result;
    host::KeyAddress current = blocks[0];
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        const host::KeyAddress& block = blocks[i];
        if (block.regName == current.regName && gapTo(current, block) <= limit &&
            spanTo(current, block) <= limit) {
            current.len = spanTo(current, block);
        } else {
            result.push_back(current);
            current = block;
        }
    }
    result.push_back(current);
    return result;
}

QString stepLine(const host::KeyAddress& key) {
    return QLatin1String("step \"") + key.regName + QLatin1String("\" ") +
           QString::number(key.addr) + QLatin1Char(' ') + QString::number(key.len) +
           QLatin1Char(' ');
}

QString blockLine(int index, const host::Variable& request) {
    const QString text = QString(QLatin1String("step3:id=%1,reg=%2,address=%3,len=%4"))
                             .arg(index)
                             .arg(request.regName)
                             .arg(request.addr)
                             .arg(request.len);
    return QLatin1Char('"') + text + QLatin1String("\" ");
}

} // namespace

std::vector<host::KeyAddress> joinTouching(const std::vector<host::KeyAddress>& ranges, int limit,
                                           std::vector<int>* blockFirst) {
    std::vector<host::KeyAddress> result;
    host::KeyAddress current = ranges[0];
    blockFirst->push_back(0);
    for (std::size_t i = 1; i < ranges.size(); ++i) {
        const host::KeyAddress& range = ranges[i];
        if (range.regName == current.regName && gapTo(current, range) <= 0 &&
            spanTo(current, range) <= limit) {
            current.len = spanTo(current, range); // also when that is shorter
        } else {
            result.push_back(current);
            current = range;
            blockFirst->push_back(static_cast<int>(i));
        }
    }
    result.push_back(current);
    return result;
}

int NaiveDriver::addConditionRead(const host::KeyAddress& key, int type) {
    const int limit = key.countKind == -1 ? s.maxBitsPerFrame : s.wordsPerFrame;
    if (limit <= 0 || key.len <= limit) {
        s.conditionKey = conditionRequest(key, type);
        placeRequest(s.conditionReadList, s.conditionKey);
        return 1;
    }
    host::KeyAddress piece = key;
    for (long long done = 0; done < key.len; done += limit) {
        const long long left = key.len - done;
        piece.addr = wrapped(key.addr + done);
        piece.len = left < limit ? static_cast<int>(left) : limit;
        s.conditionKey = conditionRequest(piece, type);
        placeRequest(s.conditionReadList, s.conditionKey);
    }
    return 1;
}

int NaiveDriver::addrMerge(QList<host::KeyAddress>& keys) {
    for (host::DataRecord& record : s.dataAreaList) {
        record.wordMonitor = 0;
        record.bitMonitor = 0;
    }
    std::vector<host::KeyAddress> ranges;
    for (int i = 0; i < keys.size(); ++i) {
        const host::KeyAddress& key = keys.at(i);
        monitor(key.station, key.regName, key.addr, key.len);
        debugLine_(stepLine(key));
        ranges.push_back(key);
        normalise(ranges.back());
    }
    s.readList.clear();
    if (ranges.empty()) {
        return 0;
    }
    sortByWeight(ranges);
    std::vector<int> blockFirst;
    ranges = joinTouching(ranges, s.maxWordsPerFrame, &blockFirst);
    ranges = bridgeGaps(ranges, s.maxWordsPerFrame);

    keys.clear();
    for (const host::KeyAddress& block : ranges) {
        keys.append(block);
        host::Variable request = host::Variable();
        request.type = 4;
        request.station = block.station;
        request.regName = block.regName;
        request.addr = block.addr;
        request.len = block.len;
        s.readList.push_back(request);
    }
    const int count = static_cast<int>(s.readList.size());
    for (int i = 0; i < count; ++i) {
        debugLine_(blockLine(i, s.readList[static_cast<std::size_t>(i)]));
    }
    return count;
}

} // namespace model

#include "driver/int_math.h"
#include "driver/velkor.h"

#include <QtCore/QStringList>

namespace {

const int protocolAnswer = 2;
const int propertyItems = 5;

void readProperties(const char* propertyString) {
    const QStringList items = QString::fromLatin1(propertyString).split(QLatin1Char('#'));
    if (items.size() < propertyItems) {
        return;
    }
    driver.hostTag = items.at(0).toInt();
    driver.writeDisabled = items.at(1).toInt();
    driver.propertyItem2 = items.at(2).toInt();
    driver.retryLimit = items.at(3).toInt();
    driver.maxWordsPerFrame = items.at(4).toInt();
}

} // namespace

int intf_initProperty(unsigned char* hostBlock, unsigned char* statusBlock,
                      unsigned short* recipeBuffer, int* out, const char* propertyString,
                      QMutex* mutex) {
    *out = protocolAnswer;
    readProperties(propertyString);
    driver.hostBlock = hostBlock;
    driver.hostStatusBlock = statusBlock;
    driver.hostRecipeBuffer = recipeBuffer;
    driver.hostMutex = mutex;
    driver.readList.clear();
    driver.writeList.clear();
    driver.conditionReadList.clear();
    driver.dataAreaList.clear();
    driver.requestKind = KIND_IDLE;
    driver.requestCount = 0;
    driver.reserved22 = 0;
    driver.badReplyCount = 0;
    driver.maxBitsPerFrame = wrapMultiply(8, driver.maxWordsPerFrame);
    driver.wordsPerFrame = driver.maxWordsPerFrame;
    driver.lastError = 0;
    driver.frameQueue.clear();
    driver.reserved27 = 0;
    driver.reserved28 = 1;
    return 1;
}

void intf_setAddrValueChangeCallBack(AddrValueChangeCallBack callback) {
    driver.addrValueChangeCallBack = callback;
}

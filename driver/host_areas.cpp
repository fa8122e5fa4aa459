#include "driver/host_areas.h"

#include "driver/velkor.h"

#include <QtCore/QMutexLocker>

#include <cstring>

namespace {

const unsigned char requestActive = 1;
const unsigned char statusNoAnswer = 4;
const int noticeTag = 0; // of the words of the host that the driver has written
const int noStation = -1;

void notify(int tag, int station, const QString& regName, int address) {
    driver.addrValueChangeCallBack(tag, station, regName, address);
}

} // namespace

RecipeRequests readRecipeRequests() {
    QMutexLocker lock(driver.hostMutex);
    RecipeRequests requests;
    requests.download = driver.hostBlock[HOST_RECIPE_DOWNLOAD_REQUEST] == requestActive;
    requests.upload = driver.hostBlock[HOST_RECIPE_UPLOAD_REQUEST] == requestActive;
    return requests;
}

void clearRecipeRequest(int hostByteOffset) {
    QMutexLocker lock(driver.hostMutex);
    driver.hostBlock[hostByteOffset] = 0;
}

void reportCommunicationFailure() {
    driver.hostStatusBlock[HOST_COMMUNICATION_STATUS] = statusNoAnswer;
    driver.hostStatusBlock[HOST_COMMUNICATION_STATUS_DETAIL] = 0;
    const QString statusWords = QLatin1String("LW");
    notify(noticeTag, noStation, statusWords, HOST_COMMUNICATION_STATUS);
    notify(noticeTag, noStation, statusWords, HOST_COMMUNICATION_STATUS_DETAIL);
}

void storeRecipeWord(int wordIndex, unsigned char lowByte, unsigned char highByte) {
    unsigned char* word = reinterpret_cast<unsigned char*>(driver.hostRecipeBuffer + wordIndex);
    word[0] = lowByte;
    word[1] = highByte;
    notify(noticeTag, noStation, QLatin1String("RWI"), wordIndex);
}

void copyFromRecipeBuffer(int wordIndex, int byteCount, unsigned char* target) {
    if (byteCount > 0) {
        std::memcpy(target, driver.hostRecipeBuffer + wordIndex, static_cast<size_t>(byteCount));
    }
}

void notifyValueChange(int station, const QString& regName, int address) {
    notify(driver.hostTag, station, regName, address);
}

void notifyConditionReadEnded(int status) {
    notify(-1, -1, QLatin1String("-1"), status);
}

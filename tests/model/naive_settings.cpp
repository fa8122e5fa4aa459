#include "model/naive_driver.h"
namespace model {

bool endsInBit(const QString& name) {
    return name.right(4) == QLatin1String("_bit");
}

std::vector<QString> piecesOf(const QString& text, QChar separator) {
    std::vector<QString> pieces(1);
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == separator) {
            pieces.push_back(QString());
        } else {
            pieces.back().append(text.at(i));
        }
    }
    return pieces;
}

NaiveDriver::NaiveDriver(DebugLine debugLine) : s(), debugLine_(debugLine) {
    s.nodeLearned = 1;
}

void NaiveDriver::tellObject(Journal& journal) {
    teller_.tellWholeObject(journal, s);
}

int NaiveDriver::initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe,
                              int* out, const char* text, QMutex* mutex) {
    *out = 2;
    const std::vector<QString> items = piecesOf(QString::fromLatin1(text), QLatin1Char('#'));
    if (items.size() > 4) {
        s.hostTag = items[0].toInt();
        s.writeDisabled = items[1].toInt();
        s.propertyItem2 = items[2].toInt();
        s.retryLimit = items[3].toInt();
        s.maxWordsPerFrame = items[4].toInt();
    }
    s.hostBlock = block;
    s.hostStatusBlock = status;
    s.hostRecipeBuffer = recipe;
    s.hostMutex = mutex;
    s.readList.clear();
    s.writeList.clear();
    s.conditionReadList.clear();
    s.dataAreaList.clear();
    s.requestKind = 0;
    s.requestCount = 0;
    s.reserved22 = 0;
    s.badReplyCount = 0;
    s.maxBitsPerFrame = wrapped(8LL * s.maxWordsPerFrame);
    s.wordsPerFrame = s.maxWordsPerFrame;
    s.lastError = 0;
    s.frameQueue.clear();
    s.reserved27 = 0;
    s.reserved28 = 1;
    return 1;
}

void NaiveDriver::setAddrValueChangeCallBack(host::Callback function) {
    s.addrValueChangeCallBack = function;
}

void NaiveDriver::callBack(int tag, int station, const QString& name, int address) {
    s.addrValueChangeCallBack(tag, station, name, address);
}

void NaiveDriver::getProtocolType(int* out) {
    *out = 1;
}

void NaiveDriver::getDriverParameter(QString& out) {
    out = QLatin1String("0,9600,8,NONE,1,0,1,192.168.250.1,9600,omron_fins_ethernet,"
                        "CIO_bit,WR_bit,HR_bit,AR_bit,DM_bit,CIO,WR,HR,AR,T,C,DM");
}

void NaiveDriver::getDriverPropertyPage(QString& out) {
    out = QLatin1String("6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0");
}

void NaiveDriver::setDriverPropertyPage(const QString& page) {
    const std::vector<QString> items = piecesOf(page, QLatin1Char(','));
    if (items.size() != 7) {
        return;
    }
    s.DNA = items[1].toInt();
    s.DA1 = items[2].toInt();
    s.DA2 = items[3].toInt();
    s.SNA = items[4].toInt();
    s.SA1 = items[5].toInt();
    s.SA2 = items[6].toInt();
}

} // namespace model

#ifndef VELKOR_TESTS_MODEL_NAIVE_DRIVER_H
#define VELKOR_TESTS_MODEL_NAIVE_DRIVER_H

/// The driver once more, as plainly as can be: written from what hosts are told of it, by somebody
/// who had not read it. Every constant is typed in anew, and nothing is fast. The subjects:
///
///   naive_settings.cpp   binding, properties, node numbers, the exported object
///   naive_registers.cpp  register tables, address texts, multi-copy
///   naive_cache.cpp      cached words, monitor marks, change notices, host reads
///   naive_writes.cpp     host writes and their completion
///   naive_reads.cpp      condition reads and merging
///   naive_recipe.cpp     recipe variables and blocks
///   naive_frames.cpp     the four frames
///   naive_schedule.cpp   what is sent next
///   naive_replies.cpp    judging replies, decoding, closing a request

#include "model/driver.h"
#include "model/tell_object.h"

#include <vector>

namespace model {

/// The 32 bits of a result that is too large for an int.
inline int wrapped(long long value) {
    return static_cast<int>(static_cast<unsigned int>(value));
}

bool endsInBit(const QString& name);
/// The pieces of a text between separators, empty ones too.
std::vector<QString> piecesOf(const QString& text, QChar separator);

/// The fields of the object, as hosts know them, in plain vectors.
struct Object {
    host::Callback addrValueChangeCallBack;
    int hostTag;
    int writeDisabled;
    int propertyItem2;
    int retryLimit;
    int maxWordsPerFrame;
    unsigned char* hostBlock;
    unsigned char* hostStatusBlock;
    unsigned short* hostRecipeBuffer;
    QMutex* hostMutex;
    std::vector<host::Variable> readList;
    std::vector<host::Variable> writeList;
    std::vector<host::Variable> conditionReadList;
    std::vector<host::DataRecord> dataAreaList;
    std::vector<host::RecipeVariable> rcpVarVector;
    std::vector<host::RecipeVariable> rcpVector;
    std::vector<int> rcpBlockFirst;
    host::Variable conditionKey;
    host::Variable currentVar;
    int requestKind;
    int requestCount;
    int reserved22;
    int badReplyCount;
    int maxBitsPerFrame;
    int wordsPerFrame;
    int lastError;
    int reserved27;
    int reserved28;
    std::vector<host::FramePro> frameQueue;
    int rcpIndex;
    unsigned char nodeLearned;
    int SNA, SA1, SA2;
    int DNA, DA1, DA2;
    unsigned char SID;
    int reserved35;
};

/// Where a bit address lies. Negative addresses may name a bit that does not exist.
struct BitPlace {
    QString base;
    int word;
    int bit;
    int byteOfWord;
    int bitOfByte;
    bool exists;
};

BitPlace placeOf(const QString& name, int bitAddress);

/// Whether two requests ask for the same.
bool sameRequest(const host::Variable& a, const host::Variable& b);
/// Puts a request in a list of at most 513: in the place of a waiting one that asks for the same,
/// else at the end; in a full list, in the last place.
void placeRequest(std::vector<host::Variable>& list, const host::Variable& request);

class NaiveDriver : public Driver {
public:
    typedef void (*DebugLine)(const QString& line);

    /// `debugLine` is given each debug line.
    explicit NaiveDriver(DebugLine debugLine);

    int initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe, int* out,
                     const char* text, QMutex* mutex) override;
    void setAddrValueChangeCallBack(host::Callback function) override;
    void getProtocolType(int* out) override;
    void getDriverParameter(QString& out) override;
    void getDriverPropertyPage(QString& out) override;
    void setDriverPropertyPage(const QString& page) override;
    int getRegListByType(int type, QList<QString>& out) override;
    int getRegDiscription(const QString& name, QList<QString>& out) override;
    int checkAddrValidity(const QString& name, const QString& text, int* out, int count,
                          int wordExpected) override;
    int checkAddr(const QString& name, const QString& text, int* out, int countKind, int count,
                  int access) override;
    int addConditionRead(const host::KeyAddress& key, int type) override;
    int addrMerge(QList<host::KeyAddress>& keys) override;
    int setRcpAddress(const QVector<host::RecipeVariable>& variables) override;
    unsigned int getSendFrame(host::FramePro& out) override;
    unsigned int dealRcvFrame(QByteArray* reply, QString* message) override;
    int getData(int station, const QString& name, int addr, int count, unsigned char* out) override;
    int setData(int station, const QString& name, int addr, int count, unsigned char* data,
                int type) override;
    int multiCopy(const QString& name, int start, int count, int step, QVector<QString>& texts,
                  QVector<int>& values) override;
    void connectToServer() override;
    void byteDataChange(unsigned char* before, unsigned char* after, int station,
                        const QString& name, int addr) override;

    void setNodeLearned(unsigned char learned) override { s.nodeLearned = learned; }
    void setSid(unsigned char sid) override { s.SID = sid; }
    unsigned char sid() const override { return s.SID; }
    int wordsPerFrame() const override { return s.wordsPerFrame; }
    int maxBitsPerFrame() const override { return s.maxBitsPerFrame; }
    bool isBound() const override { return s.hostMutex != nullptr; }
    void tellObject(Journal& journal) override;
    host::Callback callback() const override { return s.addrValueChangeCallBack; }
    const unsigned char* hostBlock() const override { return s.hostBlock; }
    const unsigned char* hostStatusBlock() const override { return s.hostStatusBlock; }
    const unsigned short* hostRecipeBuffer() const override { return s.hostRecipeBuffer; }
    const QMutex* hostMutex() const override { return s.hostMutex; }

private:
    void callBack(int tag, int station, const QString& name, int address);

    // The cache.
    int findWord(int station, const QString& name, int address);
    void monitor(int station, const QString& name, int addr, int count);
    void wordChange(int before, int after, int station, const QString& name, int address);

    // Writes.
    void saveWords(int station, const QString& name, int addr, int count,
                   const unsigned char* data);
    void saveBit(int station, const QString& name, int address, int value);
    void settleWords(int station, const QString& name, int addr, int count, int result);
    void settleBits(int station, const QString& name, int addr, int count, int result);

    // Recipes.
    void blockToCurrent(const host::RecipeVariable& block, bool withData);

    // Frames.
    unsigned char nextSid();
    void fillHeader(host::FramePro& frame);
    void queueRead(const host::Variable& request);
    void queueWriteFrame(const host::Variable& request);
    void queueModeChange();

    // What is sent next.
    bool scheduleRecipe(bool download);
    bool scheduleLists();
    bool repeatByKind();

    // Replies.
    int judge(const QByteArray& reply);
    int judgeEndCode(const QByteArray& reply);
    unsigned int reject(const QByteArray& reply, QString* message);
    void failRequest();
    void decode(const QByteArray& reply);
    void decodeWord(const host::Variable& request, int address, unsigned char low,
                    unsigned char high);
    void takeUploadedWords(const QByteArray& reply, int first, int words);
    void finishRequest();
    void finishWrite();
    void finishConditionRead();
    void finishRecipeBlock(int requestByte);

    Object s;
    DebugLine debugLine_;
    ObjectTeller teller_;
};

/// Finds the place in the register table; -1 when there is none.
int registerIndex(const QString& name);
/// The area code on the wire; 0 for a name that is none of the twelve.
unsigned char areaCode(const QString& name);
/// The weight by which ranges are sorted.
unsigned int sortWeight(const QString& name, int address);
/// Joins ranges that touch; `blockFirst` gets the index of each block's first range.
std::vector<host::KeyAddress> joinTouching(const std::vector<host::KeyAddress>& ranges, int limit,
                                           std::vector<int>* blockFirst);
/// A bubble sort by weight of records with `regName` and `addr`.
template <typename Record> void sortByWeight(std::vector<Record>& records) {
    const std::size_t n = records.size();
    for (std::size_t pass = 0; pass + 1 < n; ++pass) {
        for (std::size_t j = 0; j + 1 < n - pass; ++j) {
            if (sortWeight(records[j].regName, records[j].addr) >
                sortWeight(records[j + 1].regName, records[j + 1].addr)) {
                std::swap(records[j], records[j + 1]);
            }
        }
    }
}

} // namespace model

#endif

#ifndef VELKOR_TESTS_MODEL_DRIVER_H
#define VELKOR_TESTS_MODEL_DRIVER_H

/// A driver as its host sees it: the eighteen entry points, the two further functions that are
/// exported, and the object `driver`. The loaded library is one, the naive driver is another.

#include "contract/host_records.h"
#include "model/journal.h"

namespace model {

class Driver {
public:
    virtual ~Driver() {}

    virtual int initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe,
                             int* out, const char* text, QMutex* mutex) = 0;
    virtual void setAddrValueChangeCallBack(host::Callback function) = 0;
    virtual void getProtocolType(int* out) = 0;
    virtual void getDriverParameter(QString& out) = 0;
    virtual void getDriverPropertyPage(QString& out) = 0;
    virtual void setDriverPropertyPage(const QString& page) = 0;
    virtual int getRegListByType(int type, QList<QString>& out) = 0;
    virtual int getRegDiscription(const QString& name, QList<QString>& out) = 0;
    virtual int checkAddrValidity(const QString& name, const QString& text, int* out, int count,
                                  int wordExpected) = 0;
    virtual int checkAddr(const QString& name, const QString& text, int* out, int countKind,
                          int count, int access) = 0;
    virtual int addConditionRead(const host::KeyAddress& key, int type) = 0;
    virtual int addrMerge(QList<host::KeyAddress>& keys) = 0;
    virtual int setRcpAddress(const QVector<host::RecipeVariable>& variables) = 0;
    virtual unsigned int getSendFrame(host::FramePro& out) = 0;
    virtual unsigned int dealRcvFrame(QByteArray* reply, QString* message) = 0;
    virtual int getData(int station, const QString& name, int addr, int count,
                        unsigned char* out) = 0;
    virtual int setData(int station, const QString& name, int addr, int count, unsigned char* data,
                        int type) = 0;
    virtual int multiCopy(const QString& name, int start, int count, int step,
                          QVector<QString>& texts, QVector<int>& values) = 0;

    virtual void connectToServer() = 0;
    virtual void byteDataChange(unsigned char* before, unsigned char* after, int station,
                                const QString& name, int addr) = 0;

    // What a host reaches through the exported object.
    virtual void setNodeLearned(unsigned char learned) = 0;
    virtual void setSid(unsigned char sid) = 0;
    virtual unsigned char sid() const = 0;
    virtual int wordsPerFrame() const = 0;
    virtual int maxBitsPerFrame() const = 0;
    virtual bool isBound() const = 0;
    /// Enters every field of the object, but for the pointers to the host's memory.
    virtual void tellObject(Journal& journal) = 0;
    /// The pointers.
    virtual host::Callback callback() const = 0;
    virtual const unsigned char* hostBlock() const = 0;
    virtual const unsigned char* hostStatusBlock() const = 0;
    virtual const unsigned short* hostRecipeBuffer() const = 0;
    virtual const QMutex* hostMutex() const = 0;
};

} // namespace model

#endif

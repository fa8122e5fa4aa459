#ifndef VELKOR_TESTS_CONTRACT_HOST_RECORDS_H
#define VELKOR_TESTS_CONTRACT_HOST_RECORDS_H

/// The driver as a host declares it: typed in from the host contract, without any header of the
/// project, so that a change of the project's own declarations does not go unnoticed.

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace host {

struct Variable {
    int type;
    int station;
    QString regName;
    int addr;
    int len;
    unsigned char data[1024];
};

struct KeyAddress {
    QString keyText;
    int keyValue;
    int rcpOffset;
    int station;
    QString regName;
    QString keyText2;
    int addr;
    int countKind;
    int len;
    unsigned char data[1024];
};

struct FramePro {
    unsigned char frame[1024];
    int sendLen;
    int rcvLen;
    int headLen;
    int dataLen;
    int spare;
    Variable var;
};

struct DataRecord {
    unsigned char firstByteFlag;
    unsigned char writePending;
    int pendingBits;
    int wordMonitor;
    int bitMonitor;
    int station;
    QString regName;
    int wordAddr;
    unsigned char readValue[4];
    unsigned char writeValue[4];
};

struct RecipeVariable {
    int hostTag;
    int station;
    QString regName;
    int addr;
    int len;
    int rcpOffset;
    int spare;
};

typedef int (*Callback)(int tag, int station, QString regName, int address);

/// The exported object `driver`.
struct DriverObject {
    Callback addrValueChangeCallBack;
    int hostTag;
    int writeDisabled;
    int propertyItem2;
    int retryLimit;
    int maxWordsPerFrame;
    unsigned char* hostBlock;
    unsigned char* hostStatusBlock;
    unsigned short* hostRecipeBuffer;
    QMutex* hostMutex;
    QList<Variable> readList;
    QList<Variable> writeList;
    QList<Variable> conditionReadList;
    QList<DataRecord> dataAreaList;
    QVector<RecipeVariable> rcpVarVector;
    QVector<RecipeVariable> rcpVector;
    QList<int> rcpBlockFirst;
    Variable conditionKey;
    Variable currentVar;
    int requestKind;
    int requestCount;
    int reserved22;
    int badReplyCount;
    int maxBitsPerFrame;
    int wordsPerFrame;
    int lastError;
    int reserved27;
    int reserved28;
    QList<FramePro> frameQueue;
    int rcpIndex;
    unsigned char nodeLearned;
    int SNA, SA1, SA2;
    int DNA, DA1, DA2;
    unsigned char SID;
    int reserved35;
};

/// The exported functions.
struct Entries {
    int (*initProperty)(unsigned char*, unsigned char*, unsigned short*, int*, const char*,
                        QMutex*);
    void (*setAddrValueChangeCallBack)(Callback);
    void (*getProtocolType)(int*);
    void (*getDriverParameter)(QString&);
    void (*getDriverPropertyPage)(QString&);
    void (*setDriverPropertyPage)(const QString&);
    int (*getRegListByType)(int, QList<QString>&);
    int (*getRegDiscription)(const QString&, QList<QString>&);
    int (*checkAddrValidity)(const QString&, const QString&, int*, int, int);
    int (*checkAddr)(const QString&, const QString&, int*, int, int, int);
    int (*addConditionRead)(KeyAddress, int);
    int (*addrMerge)(QList<KeyAddress>&);
    int (*setRcpAddress)(const QVector<RecipeVariable>&);
    unsigned int (*getSendFrame)(FramePro&);
    unsigned int (*dealRcvFrame)(QByteArray*, QString*);
    int (*getData)(int, QString, int, int, unsigned char*);
    int (*setData)(int, QString, int, int, unsigned char*, int);
    int (*multiCopy)(QString, int, int, int, QVector<QString>&, QVector<int>&);
    void (*connectToServer)();
    void (*byteDataChange)(unsigned char*, unsigned char*, int, QString, int);
};

} // namespace host

#endif

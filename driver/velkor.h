#ifndef VELKOR_DRIVER_VELKOR_H
#define VELKOR_DRIVER_VELKOR_H

/// The driver object: everything the driver knows, in one place. There is one for each loaded copy
/// of the library, built at load and destroyed at unload.

#include "driver/host_interface.h"
#include "driver/records.h"

/// What the request in flight is. 1 is never used.
enum RequestKind {
    KIND_IDLE = 0,
    KIND_WRITE = 2,
    KIND_CONDITION_READ = 3,
    KIND_CYCLIC_READ = 4,
    KIND_RECIPE_DOWNLOAD = 5,
    KIND_RECIPE_UPLOAD = 6
};

/// No base, no virtual functions. The order of the fields is fixed: containers are released in the
/// reverse of it. Fields that the constructor does not set start at zero because the object lies in
/// static storage; there is never a second one.
class velkor {
public:
    velkor();

    AddrValueChangeCallBack addrValueChangeCallBack;
    int hostTag;          ///< property item 0: data callbacks carry it, recipe variables match it
    int writeDisabled;    ///< property item 1: nonzero keeps host writes from the PLC
    int propertyItem2;    ///< property item 2: kept, read by nothing
    int retryLimit;       ///< property item 3: bad replies in a row that fail a request
    int maxWordsPerFrame; ///< property item 4: largest merged block, in words
    unsigned char* hostBlock;           ///< host shared block, see HostByteOffset
    unsigned char* hostStatusBlock;     ///< host status block, see HostByteOffset
    unsigned short* hostRecipeBuffer;   ///< recipe values, in the host's byte order
    QMutex* hostMutex;                  ///< guards hostBlock
    QList<VARIABLE> readList;           ///< cyclic reads; the head is next
    QList<VARIABLE> writeList;          ///< host writes; the head may be in flight
    QList<VARIABLE> conditionReadList;  ///< one-shot reads; the head may be in flight
    QList<_DATA_> dataAreaList;         ///< the cache: appended to, never shortened but at init
    QVector<_RCP_VAR_PRO> rcpVarVector; ///< this driver's recipe variables, sorted
    QVector<_RCP_VAR_PRO> rcpVector;    ///< recipe blocks, one frame each
    QList<int> rcpBlockFirst; ///< for each block, the index in rcpVarVector of its first variable
    VARIABLE conditionKey;    ///< the condition read queued last
    VARIABLE currentVar;      ///< the request in flight
    int requestKind;          ///< RequestKind of the request in flight
    int requestCount;         ///< writes and condition reads since the last cyclic read
    int reserved22;           ///< 0; kept for the layout
    int badReplyCount;        ///< bad replies in a row for the frame at the head of the queue
    int maxBitsPerFrame;      ///< 8 * maxWordsPerFrame: split limit of condition reads in bits
    int wordsPerFrame;        ///< maxWordsPerFrame: split limit of everything else
    int lastError;            ///< nonzero when the last exchange failed
    int reserved27;           ///< 0; kept for the layout
    int reserved28;           ///< 1; kept for the layout
    QList<FRAME_PRO> frameQueue; ///< frames built and not yet answered; the head goes out
    int rcpIndex;                ///< recipe block in transfer, index into rcpVector
    unsigned char nodeLearned;   ///< 1: node numbers are known; 0: the next reply of the length
                                 ///< expected, if it has 24 bytes, teaches them
    int SNA, SA1, SA2;           ///< FINS source network, node, unit
    int DNA, DA1, DA2;           ///< FINS destination network, node, unit
    unsigned char SID;           ///< service ID issued last
    int reserved35;              ///< 0; kept for the layout
};

/// The one driver.
VELKOR_EXPORT extern velkor driver;

#endif

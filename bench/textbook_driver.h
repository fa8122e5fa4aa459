#ifndef VELKOR_BENCH_TEXTBOOK_DRIVER_H
#define VELKOR_BENCH_TEXTBOOK_DRIVER_H

/// The driver's merge and cache as a textbook has them: every word is looked for from the start of
/// the list, keys are sorted as the records they are. What the driver's own ways are measured
/// against. Word registers alone, no writes of the host's; what it gives is compared with what the
/// driver gives before anything is measured (same_results.h).

#include <velkor/host_interface.h>

class TextbookDriver {
public:
    /// As items 0 and 4 of the property string, and intf_setAddrValueChangeCallBack.
    TextbookDriver(int hostTag, int wordsPerFrame, AddrValueChangeCallBack callback);

    /// As intf_addrMerge: `keys` become the blocks, their number is the result.
    int addrMerge(QList<KEY_ADDRESS>& keys);
    /// As intf_getSendFrame where nothing but the poll is to be sent; the block is kept as the one
    /// that is under way.
    unsigned getSendFrame(FRAME_PRO& frame);
    /// As intf_dealRcvFrame of a good reply to that.
    int dealRcvFrame(const QByteArray& reply);
    /// As intf_getData.
    void getData(int station, const QString& regName, int addr, int count, unsigned char* out);

private:
    int indexOf(int station, const QString& regName, int wordAddr);
    void take(_DATA_& record, const unsigned char* word);
    void tellChangedBits(const _DATA_& record, int before, int now) const;

    int m_hostTag;
    int m_wordsPerFrame;
    AddrValueChangeCallBack m_callback;
    QList<_DATA_> m_cache;
    QList<VARIABLE> m_readList;
    QList<FRAME_PRO> m_frameQueue;
    unsigned char m_serviceId = 0;
};

#endif

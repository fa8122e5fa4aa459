#ifndef VELKOR_TESTS_FUZZ_DRIVER_HOST_H
#define VELKOR_TESTS_FUZZ_DRIVER_HOST_H

/// The host that the targets of the library play, linked with the library's object files, and the
/// laws that hold whatever the driver is given.
///
/// Left out of what is generated, because the header leaves it to the host:
/// - null pointers, and a call before the callback is set (convention 2);
/// - buffers shorter than the counts say, among them a recipe buffer that is shorter than the
///   variables address;
/// - lengths that fit in no memory: lists and buffers stay below LONGEST;
/// - inside the callback, other entry points than those that convention 3 allows; a second thread.

#include "driver/velkor.h"
#include "fuzz/input.h"

#include <QtCore/QByteArray>

#include <functional>

/// Words or bits of one range.
const int LONGEST = 3000;
/// Words of the recipe buffer; variables lie within all but the last 512, which a block that the
/// host has laid out wrongly may reach into.
const int RECIPE_WORDS = 4096;
const int RECIPE_ROOM = RECIPE_WORDS - VELKOR_DATA_SIZE / 2;

/// A driver as it is right after the library has been loaded, bound with "7#0#0#3#64". One lives at
/// a time; each begins from the same state, so that an input does the same wherever it is run.
class DriverHost {
public:
    DriverHost();
    ~DriverHost();
    DriverHost(const DriverHost&) = delete;
    DriverHost& operator=(const DriverHost&) = delete;

    static void bind(const QByteArray& properties);
    static void requestDownload(unsigned char value = 1);
    static void requestUpload(unsigned char value = 1);
    static bool recipeRequested();
    static unsigned short* recipe();

    /// intf_getSendFrame with its laws; the frame is then in `frame`.
    bool ask();
    /// intf_dealRcvFrame with its laws.
    unsigned int deal(const QByteArray& reply);
    /// intf_getData with a buffer of exactly the length.
    static QByteArray data(int station, const QString& reg, int addr, int count);
    /// intf_setData; `bytes` is cut or filled with zeros to the length that the count needs.
    static void write(int station, const QString& reg, int addr, int count, QByteArray bytes,
                      int tag = 2);
    /// What always holds between two calls.
    static void checkState();
    /// No two records of the cache have one key.
    static void checkCache();

    FRAME_PRO frame = FRAME_PRO();
    /// Called inside every callback, up to three deep.
    std::function<void()> onNotice;

private:
    static int hear(int tag, int station, QString regName, int address);
    void checkFrame() const;
    static DriverHost* s_current;
    int m_depth = 0;
};

/// A register of the catalogue, seldom a name that is none.
QString registerName(Input& input);
KEY_ADDRESS keyOf(const QString& reg, int addr, int len, int station = 1);
/// A range as hosts have them, or with any address, length and station.
KEY_ADDRESS anyKey(Input& input);
/// Within the recipe buffer; most have the host's own tag 7.
_RCP_VAR_PRO anyVariable(Input& input);

/// What comes back to a frame: right, late, cut, refused, to another service ID, or anything.
QByteArray anyReply(const FRAME_PRO& frame, Input& input);
/// The reply of a PLC that has nothing against the frame; `fill` decides about the words read.
QByteArray goodReply(const FRAME_PRO& frame, unsigned char fill = 0);

#endif

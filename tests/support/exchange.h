#ifndef VELKOR_TESTS_SUPPORT_EXCHANGE_H
#define VELKOR_TESTS_SUPPORT_EXCHANGE_H

/// A fixture that plays the host's exchange loop, and builds the PLC's replies byte by byte. It has
/// its own idea of the wire and uses none of the driver's names for it.

#include "support/fresh_driver.h"

#include <initializer_list>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;
using Words = std::vector<unsigned short>;

/// The first sendLen bytes of a frame.
Bytes sentBytes(const FRAME_PRO& frame);
/// A reply of 14 bytes: header with this service ID, command code, end code.
Bytes endCodeReply(int sid, int mrc, int src, int mres = 0, int sres = 0);
/// A read's reply: 14 bytes, then the words high byte first.
Bytes readReply(int sid, const Words& words, int mres = 0, int sres = 0);
/// The reply to the node-address request, 24 bytes, all zero but the two node numbers.
Bytes nodeReply(int clientNode, int serverNode);

/// Names of what a frame asks for, from its bytes 10 and 11: "read", "write", "mode" or "?".
std::string commandOf(const FRAME_PRO& frame);
/// "read DM 100 10": what a frame asks for, from its bytes and its request copy.
std::string describe(const FRAME_PRO& frame);

class Exchange : public FreshDriver {
protected:
    /// intf_getSendFrame into `out`.
    unsigned int ask();
    /// intf_getSendFrame, then describe(out); "nothing" when it returns 0.
    std::string next();
    /// intf_dealRcvFrame; its text is then in `message`.
    unsigned int deal(const Bytes& reply);
    /// Answers `out` as a PLC does that has nothing against it: zeros for a read, else done. The
    /// service ID is the frame's own.
    unsigned int answer();
    /// Answers the read in `out` with these words.
    unsigned int answer(const Words& words);
    /// Answers the write in `out` with this end code.
    unsigned int refuse(int mres, int sres);
    /// Empty replies until the request fails; expects exactly the `retryLimit` that is set.
    void fail();
    /// next(), then answer().
    std::string turn();

    /// Puts a request on a list of the driver, with data.
    static VARIABLE withData(VARIABLE request, const Bytes& data);
    /// Recipe variables of the fixture's host tag, handed over with intf_setRcpAddress.
    static _RCP_VAR_PRO recipeVariable(const char* regName, int addr, int len, int offset,
                                       int station = 1);
    static void recipe(std::initializer_list<_RCP_VAR_PRO> variables);
    /// intf_addrMerge: makes these the cyclic reads (and monitors them).
    static void poll(std::initializer_list<KEY_ADDRESS> keys);
    static void conditionRead(const char* regName, int addr, int len, int station = 1);
    /// Monitors words or bits without queueing a read of them.
    static void monitor(const char* regName, int addr, int count, int station = 1);
    /// The word the host sees, through intf_getData.
    static int hostWord(const char* regName, int addr, int station = 1);
    static void hostWrites(const char* regName, int addr, const Words& words, int station = 1);
    static void hostWritesBits(const char* regName, int addr, const Bytes& bits, int station = 1);

    int downloadByte() const { return hostBlock[60115]; }
    int uploadByte() const { return hostBlock[60116]; }
    void requestDownload() { hostBlock[60115] = 1; }
    void requestUpload() { hostBlock[60116] = 1; }

    /// The callback's arguments, spelt out.
    static Notice changed(const char* regName, int address, int station = 1) {
        return {7, station, regName, address};
    }
    static Notice conditionEnded(int status) { return {-1, -1, "-1", status}; }
    static Notice recipeWord(int index) { return {0, -1, "RWI", index}; }
    /// The two notices of a failed request, then `more`.
    static std::vector<Notice> failureThen(std::vector<Notice> more = {});

    FRAME_PRO out = FRAME_PRO();
    std::string message;
    MessageRecorder debugLines; ///< keeps them off the screen
};

#endif

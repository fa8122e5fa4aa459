#ifndef VELKOR_TESTS_LOOP_LOOP_FIXTURE_H
#define VELKOR_TESTS_LOOP_LOOP_FIXTURE_H

/// The built library, loaded as a host loads it, and a PLC at the other end of a line that is a
/// function call.

#include "driver/host_interface.h"
#include "plc/plc_core.h"
#include "support/notice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

/// A piece of a register that the host polls or writes.
struct Tag {
    std::string regName;
    int addr;
    int len;
};

class LoopFixture : public ::testing::Test {
protected:
    /// Host tag 7, node 10 talking to node 1, `retryLimit` 3, 64 words a frame.
    LoopFixture();
    ~LoopFixture() override;

    void init(int retryLimit, int wordsPerFrame);
    /// intf_initProperty with this property string.
    void bind(const std::string& properties);
    /// intf_addrMerge; returns the number of cyclic blocks.
    int poll(const std::vector<Tag>& tags);
    /// The same in two steps, for a test that looks at the list that comes back.
    static QList<KEY_ADDRESS> keysOf(const std::vector<Tag>& tags);
    int merge(QList<KEY_ADDRESS>& keys);
    void conditionRead(const Tag& tag);
    void recipe(std::initializer_list<_RCP_VAR_PRO> variables);
    static _RCP_VAR_PRO recipeVariable(const char* regName, int addr, int len, int offset);

    /// One turn: asks for a frame, gives it to the PLC, gives the reply back. The result of
    /// intf_dealRcvFrame, or -1 when there was nothing to send.
    int turn();
    /// One turn in which no reply comes.
    int silentTurn();
    /// That many turns, each of which must be accepted; says which was not.
    void goodTurns(int count);
    /// Turns until nothing is to be sent, for a host that polls nothing. Nothing must be said more
    /// than once in a row, since the driver pauses once in a burst.
    void runUntilIdle();

    bool ask();
    int reply(const plc::Bytes& bytes);
    /// What the PLC says to the frame in `out`.
    plc::Bytes askPlc();

    int hostWord(const char* regName, int addr);
    int hostBit(const char* regName, int addr);
    void writeWords(const char* regName, int addr, const std::vector<int>& words);
    void writeBits(const char* regName, int addr, const std::vector<int>& bits);

    int plcWord(plc::Area area, int addr) const {
        return plc.memory().word(area, static_cast<std::uint32_t>(addr));
    }
    void setPlcWord(plc::Area area, int addr, int value) {
        plc.memory().setWord(area, static_cast<std::uint32_t>(addr),
                             static_cast<std::uint16_t>(value));
    }

    std::vector<Notice> takeNotices();
    /// Called inside every callback, after it has been recorded.
    std::function<void(const Notice&)> onNotice;

    plc::Core plc;
    FRAME_PRO out = FRAME_PRO();
    std::string message;
    std::vector<unsigned char> hostBlock;
    std::vector<unsigned char> statusBlock;
    std::vector<unsigned short> recipeBuffer;
    QMutex mutex;

private:
    template <typename Function> Function entry(const char* name) const;
    static int hear(int tag, int station, QString regName, int address);
    static LoopFixture* listener;

    void* library_;
    std::vector<Notice> notices_;
};

/// The PLC's area behind a register name of the driver, e.g. Cio for "CIO" and "CIO_bit".
plc::Area areaOf(const std::string& regName);
bool isBitName(const std::string& regName);

#endif

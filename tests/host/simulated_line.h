#ifndef VELKOR_TESTS_HOST_SIMULATED_LINE_H
#define VELKOR_TESTS_HOST_SIMULATED_LINE_H

/// A line over the loaded driver and the simulated PLC's core, with a clock of the test's own and a
/// wire on which chosen datagrams go wrong. Nothing waits: time jumps to what happens next.

#include "host/driver/driver_copy.h"
#include "host/line/line_core.h"
#include "plc/plc_core.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class ManualClock : public velkor_host::Clock {
public:
    qint64 now() const override { return time; }
    qint64 time = 1000000;
};

/// What happens to one frame and its reply.
struct Fate {
    int sendError = 0; ///< not taken by the system, which says this errno
    bool loseRequest = false;
    bool closedPort = false; ///< lost, and the PLC's computer says that nothing listens
    bool loseReply = false;
    int requests = 1;        ///< copies that reach the PLC
    int replies = 1;         ///< copies of each reply
    qint64 requestDelay = 0; ///< microseconds, above the usual
    qint64 replyDelay = 0;
    qint64 copyDelay = 0; ///< of every copy but the first
    int cutReplyTo = -1;
    int endCode = 0; ///< the PLC refuses with it
};

/// The PLC: notes what it executes, and refuses chosen words.
class Machine {
public:
    struct Write {
        int area;
        int word;
        int bit;
        std::vector<int> values; ///< words or bits
        qint64 at;
    };
    struct Refusal {
        int area; ///< as on the wire: 0x82 DM, 0xB2 HR, 0xB0 CIO
        int first;
        int last;
        int endCode;
        bool reads = true;
        bool writes = true;
    };

    Machine();
    /// Empty: no reply.
    QByteArray handle(const QByteArray& request, int forcedEndCode, qint64 now);
    int dm(int address) const;
    void setDm(int address, int value);

    plc::Core core;
    std::vector<Write> writes;                 ///< that were executed, in order
    std::function<void(const Write&)> onWrite; ///< called when one has been executed
    std::vector<QByteArray> modeChanges;
    std::vector<Refusal> refusals;

private:
    int endCodeFor(const QByteArray& request) const;
};

/// Loads the driver once and keeps its debug lines from the test's output.
class SimulatedLine : public velkor_host::Link {
public:
    /// `wrap` may put functions of its own before the driver's.
    typedef std::function<velkor_host::DriverApi(const velkor_host::DriverApi&)> Wrap;
    explicit SimulatedLine(const velkor_host::LineSettings& settings, const Wrap& wrap = Wrap());
    ~SimulatedLine() override;

    /// Lets everything happen that happens within so many microseconds.
    void run(qint64 microseconds);
    /// Until the condition holds. False: it did not within that time.
    bool runUntil(const std::function<bool()>& condition, qint64 microseconds = 60000000);
    /// Until no write, read or recipe is unsettled.
    bool settle() {
        return runUntil([this] { return core->pending() == 0; });
    }
    /// Hands what the core has to tell to the lists below.
    void collect();

    quint64 write(const char* reg, int address, const velkor_host::Items& items);
    quint64 read(const char* reg, int address, int count);
    quint64 download(const QVector<velkor_host::RecipeVariable>& recipe, bool readBack = false);
    quint64 upload(const QVector<velkor_host::RecipeVariable>& recipe);
    void setTags(const QVector<velkor_host::Tag>& tags);
    const velkor_host::TagStatus& status(int index) const { return core->board().at(index); }
    /// "10 20" when fresh, else the state's name: "stale", "refused", "not read".
    std::string shown(int index) const;
    int freshTags() const;
    void close();

    void prepare() override {
        if (onPrepare) {
            onPrepare();
        }
    }
    int send(const QByteArray& frame) override;
    /// Called before the driver is asked for a frame.
    std::function<void()> onPrepare;

    /// Decides what becomes of a frame; `number` counts the frames from 1.
    std::function<Fate(const QByteArray& frame, int number)> fate;

    /// A datagram as it arrives, so many microseconds later than usual.
    struct Arrival {
        QByteArray bytes;
        qint64 delay = 0;
    };
    /// What arrives of a datagram, whatever `fate` says besides. Unset: the datagram.
    std::function<std::vector<Arrival>(const QByteArray& datagram, bool toPlc)> wire;

    ManualClock clock;
    Machine machine;
    velkor_host::LineSettings settings;
    velkor_host::DriverCopy driver;
    std::unique_ptr<velkor_host::LineCore> core;
    std::vector<QByteArray> frames; ///< that the line has handed over, taken or not
    std::vector<velkor_host::WriteOutcome> writes;
    std::vector<velkor_host::ReadOutcome> reads;
    std::vector<velkor_host::RecipeOutcome> recipes;
    std::vector<velkor_host::RecipeProgress> progress;
    std::vector<velkor_host::RequestEnd> requests;
    std::vector<int> changedTags;
    int pendingNotices = 0;
    int scans = 0;
    /// Called for each notice of changed tags.
    std::function<void(const QVector<int>&)> onTags;
    /// Called for each request and for each write that has ended, as it ends.
    std::function<void(const velkor_host::RequestEnd&)> onRequest;
    std::function<void(const velkor_host::WriteOutcome&)> onWrite;
    qint64 usual = 1000; ///< microseconds of each way

private:
    struct Datagram {
        QByteArray bytes;
        bool toPlc;
        Fate fate;
    };
    void putUnderWay(const Datagram& datagram, qint64 delay);
    /// False: nothing will ever happen before `until`.
    bool next(qint64 until);
    void arrive(const Datagram& datagram);

    std::multimap<qint64, Datagram> m_underWay;
    quint64 m_lastId = 0;
};

velkor_host::LineSettings lineSettings();
velkor_host::Tag tagAt(const char* reg, int address, int count = 1,
                       velkor_host::ValueType type = velkor_host::ValueType::Uint16);
velkor_host::RecipeVariable variable(const char* reg, int address, const velkor_host::Items& words);
/// Words from `first` upwards.
velkor_host::Items counting(int count, int first);

bool isWriteFrame(const QByteArray& frame);
bool isReadFrame(const QByteArray& frame);
bool isModeChangeFrame(const QByteArray& frame);

#endif

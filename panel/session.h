#ifndef VELKOR_PANEL_SESSION_H
#define VELKOR_PANEL_SESSION_H

/// The host around one loaded driver: its memory areas, its callback, its socket and its clock, and
/// the order in which work is given to it.
///
/// Reads and writes are handed to the driver one at a time, so that each one's end is known for
/// certain; polling goes on between them. All polled blocks are read once in each scan interval.

#include "panel/driver_library.h"
#include "panel/exchange.h"
#include "panel/statistics.h"
#include "panel/tag.h"
#include "panel/transfer_queue.h"
#include "panel/udp_link.h"

#include <QtCore/QMutex>
#include <QtCore/QTimer>

#include <functional>
#include <vector>

namespace panel {

struct LinkSettings {
    Endpoint plc;
    Endpoint local;
    QVector<int> nodes; ///< DNA, DA1, DA2, SNA, SA1, SA2; empty: from the two addresses
    int wordsPerFrame = 256;
    int retries = 3;
    int timeoutMs = 500;
    int scanMs = 200;
};

/// Something that watches frames: trace and capture.
class FrameWitness {
public:
    FrameWitness() = default;
    FrameWitness(const FrameWitness&) = delete;
    FrameWitness& operator=(const FrameWitness&) = delete;
    virtual ~FrameWitness() = default;
    virtual void sent(const QByteArray& frame, int attempt) = 0;
    virtual void received(const QByteArray& datagram, Verdict verdict) = 0;
    virtual void timedOut(const QByteArray& frame) = 0;
    virtual void portRefused() = 0;
};

class SteadyClock : public Clock {
public:
    qint64 now() const override;
};

enum class RecipeTransfer { Download, Upload };

class Session : private FrameSource, private ExchangeObserver {
public:
    Session(const DriverApi& api, const LinkSettings& settings);
    ~Session() override;

    /// Opens the socket and binds the driver. The result is empty or says what is wrong.
    QString open();

    /// Node numbers in use (DNA ... SA2), after open().
    QVector<int> nodes() const { return m_nodes; }
    Endpoint local() const { return m_link.local(); }
    const LinkSettings& settings() const { return m_settings; }
    const LinkStatistics& statistics() const { return m_statistics; }
    qint64 now() const { return m_clock.now(); }
    QString lastSendFault() const { return m_sendFault; }
    void addWitness(FrameWitness* witness) { m_witnesses.append(witness); }

    /// What is read in every scan from now on. The ranges must not overlap (disjointRanges).
    void setPolled(const QVector<WordRange>& ranges);

    /// Queues a read of words. Ranges longer than a frame are read piece by piece; behind a piece
    /// that failed nothing more of it is sent. It ends by onTransferEnd.
    void read(const WordRange& range);

    /// The same of a write of words or bits.
    void write(const QString& reg, int address, const Items& items);

    /// Declares the recipe. Variables name words of recipeBuffer(), which has RECIPE_WORDS of them.
    void setRecipe(const QVector<_RCP_VAR_PRO>& variables);
    std::vector<unsigned short>& recipeBuffer() { return m_recipe; }
    void startRecipe(RecipeTransfer transfer);
    /// Blocks that the transfer has moved so far, from the first; also of a run before one that had
    /// to begin anew.
    int recipeBlocksDone() const { return m_recipeBlocksDone; }

    /// See Exchange.
    std::optional<Settled> requestInTrouble() const { return m_exchange.requestInTrouble(); }

    /// Items as the host should show them (intf_getData).
    Items items(const QString& reg, int address, int count) const;

    /// Every request that ends, except a write that is about to be written once more.
    std::function<void(const Settled&)> onSettled;
    /// A read() or write() has ended: told once for each, behind onSettled of its last request.
    std::function<void(const TransferEnd&)> onTransferEnd;
    /// A write failed because the driver first had to switch the PLC's mode; it is written again.
    std::function<void(const Settled&)> onWrittenAgain;
    /// A word of a word register, or a bit, has changed in the driver's cache.
    std::function<void(const QString& reg, int address)> onValueChanged;
    /// Every polled block has been asked for once more.
    std::function<void()> onScanEnd;
    /// A recipe transfer has ended.
    std::function<void(bool ok, const Settled& last)> onRecipeEnd;

    static const int HOST_TAG = 1;
    static const int STATION =
        1; ///< one for one PLC: the driver joins ranges whatever their station
    static const int RECIPE_WORDS = 65536;
    static const int READ_TAG = 3;
    static const int CYCLIC_TAG = 4; ///< the driver's own, of every cyclic read
    static const int WRITE_TAG = 2;

private:
    bool nextFrame(FRAME_PRO* frame) override;
    int dealWithReply(QByteArray reply, QString* message) override;
    void frameSent(const QByteArray& frame, int attempt) override;
    void datagramReceived(const QByteArray& datagram, Verdict verdict) override;
    void tryTimedOut(const QByteArray& frame) override;
    void requestSettled(const Settled& settled) override;

    static int valueChanged(int tag, int station, QString regName, int address);
    void chooseNodes();
    void bindDriver();
    void work();
    void turn();
    void askForFrame();
    bool handOverPiece();
    bool scanDue();
    void armTimer();
    void pieceSettled(const Settled& settled);
    void cyclicSettled();
    void recipeSettled(const Settled& settled);
    bool recipeBeginsAnew(const Settled& settled) const;
    bool recipeRequested();
    void requestRecipe(bool requested);

    DriverApi m_api;
    LinkSettings m_settings;
    SteadyClock m_clock;
    UdpLink m_link;
    Exchange m_exchange;
    LinkStatistics m_statistics;
    QTimer m_timer;
    QVector<FrameWitness*> m_witnesses;
    QVector<int> m_nodes;
    QString m_sendFault;

    // Lent to the driver.
    std::vector<unsigned char> m_hostBlock;
    std::vector<unsigned char> m_statusBlock;
    std::vector<unsigned short> m_recipe;
    QMutex m_mutex;

    TransferQueue m_transfers;

    int m_blocks = 0;     ///< cyclic reads that the driver has made of the polled ranges
    int m_blocksLeft = 0; ///< of the scan under way
    qint64 m_nextScan = 0;

    bool m_recipeActive = false;
    int m_recipeRun = 0;         ///< from 1; a change of the PLC's mode makes another one
    int m_recipeBlocksOfRun = 0; ///< moved in this run
    int m_recipeBlocksDone = 0;
    RecipeTransfer m_transfer = RecipeTransfer::Upload;
};

} // namespace panel

#endif

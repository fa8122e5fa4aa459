#ifndef VELKOR_HOST_DRIVER_BOUND_DRIVER_H
#define VELKOR_HOST_DRIVER_BOUND_DRIVER_H

/// A driver bound to the memory that it borrows: the host's side of its contract, byte by byte.

#include "host/driver/driver_api.h"
#include "host/driver/host_tags.h"
#include "host/values/word_range.h"

#include <velkor/host/registers.h>
#include <velkor/host/value.h>

#include <QtCore/QMutex>
#include <QtCore/QVector>

#include <vector>

namespace velkor_host {

/// The station number of every request: one, because the driver joins ranges into blocks whatever
/// their stations.
const int STATION = 1;

/// What a frame's VARIABLE::type says of where it came from, recipe frames apart.
enum RequestTag { TAG_WRITE = 2, TAG_READ = 3, TAG_POLL = 4 };

class BoundDriver {
public:
    static const int RECIPE_WORDS = 65536;

    /// The listener and the driver's library must outlive this.
    BoundDriver(const DriverApi& api, ChangeListener* listener);
    ~BoundDriver();
    BoundDriver(const BoundDriver&) = delete;
    BoundDriver& operator=(const BoundDriver&) = delete;

    struct Settings {
        int retries = 3;
        int wordsPerFrame = 256;
        QVector<int> nodes; ///< DNA, DA1, DA2, SNA, SA1, SA2
        /// How many service IDs are used up before the first frame, of the 255 that the driver
        /// issues round and round. A reply is known by its ID alone, and each copy of the driver
        /// counts from 1 on: a reply that comes late to an earlier program at the same port would
        /// pass for one to this. A line that begins at random meets its ID once in 255 times.
        int skippedServiceIds = 0;
    };
    /// Restarts the exchange from idle with an empty cache. May be called again only while no
    /// recipe is under way.
    void bind(const Settings& settings);
    /// Of Settings, for the frames that are built from now on: a request under way keeps those that
    /// it was built with.
    void setNodes(const QVector<int>& nodes);

    bool nextFrame(FRAME_PRO* frame) { return m_api.getSendFrame(*frame) == 1; }
    /// A ReplyResult. The reply's bytes need not outlive the call.
    int dealWithReply(const QByteArray& reply, QString* message);

    /// Declares what is polled. The result is the blocks that the driver has made of it.
    QVector<WordRange> poll(const QVector<WordRange>& ranges);
    void queueRead(const WordRange& range);
    void queueWrite(const QString& reg, int address, const Items& items);
    /// In the order in which the driver lists them, and moves them in a recipe.
    QStringList wordRegisters() const;
    /// Items as the driver has them (intf_getData).
    Items items(const QString& reg, int address, int count) const;

    void setRecipe(const QVector<_RCP_VAR_PRO>& variables) { m_api.setRcpAddress(variables); }
    std::vector<unsigned short>& recipeBuffer() { return m_recipe; }
    int hostTag() const { return m_tag; }
    void requestRecipe(bool download);
    /// The driver clears the request when the transfer has ended, well or not.
    bool recipeRequested();

private:
    void initialise(int retries, int wordsPerFrame);

    DriverApi m_api;
    const int m_tag;
    // Lent to the driver.
    std::vector<unsigned char> m_hostBlock;
    std::vector<unsigned char> m_statusBlock;
    std::vector<unsigned short> m_recipe;
    QMutex m_mutex;
};

} // namespace velkor_host

#endif

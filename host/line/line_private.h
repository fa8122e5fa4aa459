#ifndef VELKOR_HOST_LINE_LINE_PRIVATE_H
#define VELKOR_HOST_LINE_LINE_PRIVATE_H

/// A line with its socket and its event loop, behind the calls of line.h.

#include "host/driver/api_catalogue.h"
#include "host/driver/driver_copy.h"
#include "host/line/line_core.h"
#include "host/line/steady_clock.h"
#include "host/line/udp_link.h"

#include <QtCore/QHash>
#include <QtCore/QTimer>

namespace velkor_host {

/// What lives while the line is open.
struct Connection {
    DriverCopy driver;
    ApiCatalogue registers;
    UdpLink link;
    std::unique_ptr<LineCore> core;
};

class Line::Private : public std::enable_shared_from_this<Line::Private> {
public:
    Private(Line* owner, const LineSettings& lineSettings);

    QString open();
    void close();
    QVector<int> nodesFrom(const Endpoint& local) const;
    void noteTagsNotRead();
    LineCore* core() const { return connection ? connection->core.get() : nullptr; }

    const Catalogue& registers() const { return connection->registers; } ///< of an open line
    bool accept(const QString& wrong, QString* fault) const;
    quint64 recipe(RecipeDirection direction, const QVector<RecipeVariable>& variables,
                   bool readBack, QString* fault, const QString& note);
    quint64 newId(const QString& note);
    void giveNoteBack(Notice* notice);
    void forgetTagNotices();
    void afterEvent();
    void armTimer();
    void collect();
    void deliver();
    int outcomesNotTold() const;

    Line* line; ///< null once it has been destroyed
    LineSettings settings;
    SteadyClock clock;
    std::unique_ptr<Connection> connection;
    QVector<int> nodes;
    QTimer timer;    ///< for the core's due()
    QTimer delivery; ///< of notices: at once, but never from inside a call or a socket's turn
    QVector<Tag> tags;
    TagBoard board;            ///< while closed
    LinkStatistics statistics; ///< of the last time it was open
    QVector<FrameWitness*> witnesses;
    std::deque<Notice> notices;
    quint64 lastId = 0;
    QHash<quint64, QString> notes; ///< of what has no outcome yet, by id
};

} // namespace velkor_host

#endif

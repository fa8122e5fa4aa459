#include <velkor/host/line.h>

#include "host/driver/api_catalogue.h"
#include "host/driver/driver_copy.h"
#include "host/line/line_checks.h"
#include "host/line/line_core.h"
#include "host/line/line_notices.h"
#include "host/line/steady_clock.h"
#include "host/line/udp_link.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QTimer>

#include <algorithm>

namespace velkor_host {
namespace {

const int SERVICE_IDS = 255; // the driver issues 0 to 254

int lastOctet(const QHostAddress& address) {
    return static_cast<int>(address.toIPv4Address() & 0xFFU);
}

QString closedText() {
    return QStringLiteral("the line is closed; open() it first");
}

} // namespace

/// What lives while the line is open.
struct Connection {
    DriverCopy driver;
    ApiCatalogue registers;
    UdpLink link;
    std::unique_ptr<LineCore> core;
};

class Line::Private : public std::enable_shared_from_this<Line::Private> {
public:
    Private(Line* owner, const LineSettings& lineSettings) : line(owner), settings(lineSettings) {
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
            core()->turn();
            afterEvent();
        });
        delivery.setSingleShot(true);
        QObject::connect(&delivery, &QTimer::timeout, &delivery, [this] { deliver(); });
    }

    QString open();
    void close();
    void noteTagsNotRead();
    LineCore* core() const { return connection ? connection->core.get() : nullptr; }

    const Catalogue& registers() const { return connection->registers; } ///< of an open line
    bool accept(const QString& wrong, QString* fault) const;
    quint64 recipe(RecipeDirection direction, const QVector<RecipeVariable>& variables,
                   bool readBack, QString* fault);
    quint64 newId() { return ++lastId; }
    void forgetTagNotices();
    void afterEvent();
    void armTimer();
    void collect();
    void deliver();
    int outcomesNotTold() const;
    const TagBoard& lastBoard() const { return connection ? core()->board() : board; }

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
};

QString Line::Private::open() {
    QString fault = settingsFault(settings);
    if (!fault.isEmpty()) {
        return fault;
    }
    auto opened = std::make_unique<Connection>();
    fault = opened->driver.load(settings.driverFile);
    if (!fault.isEmpty() && settings.driverFile.isEmpty()) {
        fault += QStringLiteral("; LineSettings::driverFile names another file");
    }
    if (fault.isEmpty()) {
        fault = opened->link.bind(settings.local);
    }
    if (fault.isEmpty()) {
        fault = opened->link.connectTo(settings.plc);
    }
    if (!fault.isEmpty()) {
        return fault;
    }
    opened->registers.take(opened->driver.api());
    nodes = settings.nodes;
    if (nodes.isEmpty()) {
        // These PLCs take the last octet of an IPv4 address for its node number.
        nodes = {0, lastOctet(settings.plc.address),         0,
                 0, lastOctet(opened->link.local().address), 0};
    }
    // As good as random: what is still under way to this address and port, for an earlier process
    // or line, does not pass for a reply to a frame of this one.
    const int skippedServiceIds = QRandomGenerator::system()->bounded(SERVICE_IDS);
    opened->core = std::make_unique<LineCore>(opened->driver.api(), settings, nodes,
                                              skippedServiceIds, opened->link, clock);
    for (FrameWitness* witness : witnesses) {
        opened->core->addWitness(witness);
    }
    opened->link.onDatagram = [this](const QByteArray& datagram) {
        core()->receive(datagram);
        afterEvent();
    };
    opened->link.onPortRefused = [this] { core()->portRefused(); };
    connection = std::move(opened);
    core()->setTags(tags);
    afterEvent();
    return QString();
}

void Line::Private::close() {
    if (!connection) {
        return;
    }
    timer.stop();
    core()->close();
    collect();
    noteTagsNotRead();
    statistics = core()->statistics();
    board = TagBoard(tags);
    connection.reset();
    afterEvent();
}

/// Every tag that was anything else is about to be NotRead.
void Line::Private::noteTagsNotRead() {
    TagsChanged changed;
    for (int index = 0; index < core()->board().size(); ++index) {
        const TagStatus& status = core()->board().at(index);
        if (status.state != TagState::NotRead || status.pending) {
            changed.indices.append(index);
        }
    }
    if (!changed.indices.isEmpty() && wanted(changed, line)) {
        notices.push_back(std::move(changed));
    }
}

void Line::Private::armTimer() {
    const qint64 due = connection ? core()->due() : -1;
    if (due < 0) {
        timer.stop();
        return;
    }
    const qint64 wait = std::max<qint64>(0, due - clock.now());
    timer.start(static_cast<int>(std::min<qint64>((wait + 999) / 1000, 60000)));
}

void Line::Private::afterEvent() {
    collect();
    armTimer();
    if (!notices.empty() && !delivery.isActive()) {
        delivery.start(0);
    }
}

/// Takes over what the core has to tell, and leaves out what nobody listens for.
void Line::Private::collect() {
    while (connection) {
        std::optional<Notice> notice = core()->take();
        if (!notice) {
            return;
        }
        if (wanted(*notice, line)) {
            notices.push_back(std::move(*notice));
        }
    }
}

/// The host may close or destroy the line from inside any of these.
void Line::Private::deliver() {
    const std::shared_ptr<Private> alive = shared_from_this();
    while (line != nullptr && !notices.empty()) {
        const Notice notice = std::move(notices.front());
        notices.pop_front();
        tell(notice, *line);
    }
    // With a destroyed line all of this goes here, the timer included that calls it: nothing may be
    // touched behind this.
}

int Line::Private::outcomesNotTold() const {
    return static_cast<int>(std::count_if(notices.begin(), notices.end(), [](const Notice& notice) {
        return std::holds_alternative<WriteOutcome>(notice) ||
               std::holds_alternative<ReadOutcome>(notice) ||
               std::holds_alternative<RecipeOutcome>(notice);
    }));
}

bool Line::Private::accept(const QString& wrong, QString* fault) const {
    if (fault != nullptr) {
        *fault = wrong;
    }
    return wrong.isEmpty();
}

quint64 Line::Private::recipe(RecipeDirection direction, const QVector<RecipeVariable>& variables,
                              bool readBack, QString* fault) {
    QString wrong = connection ? QString() : closedText();
    for (const RecipeVariable& variable : variables) {
        if (wrong.isEmpty() && isBitRegister(variable.reg)) {
            wrong = QStringLiteral("%1 is a bit register; a recipe takes word registers")
                        .arg(variable.reg);
        }
        if (wrong.isEmpty()) {
            wrong = wrongItems(registers(), variable.reg, variable.address, variable.count);
        }
    }
    if (wrong.isEmpty()) {
        wrong = RecipeWork::fault(variables, direction, BoundDriver::RECIPE_WORDS);
    }
    if (!accept(wrong, fault)) {
        return 0;
    }
    const quint64 id = newId();
    core()->recipe(id, direction, variables, readBack);
    afterEvent();
    return id;
}

/// Indices of the old list would be taken for those of the new one, and so would its scan.
void Line::Private::forgetTagNotices() {
    collect();
    notices.erase(std::remove_if(notices.begin(), notices.end(),
                                 [](const Notice& notice) {
                                     return std::holds_alternative<TagsChanged>(notice) ||
                                            std::holds_alternative<ScanEnded>(notice);
                                 }),
                  notices.end());
}

// --- The line itself ----------------------------------------------------------------------------

Line::Line(const LineSettings& settings) : d(std::make_shared<Private>(this, settings)) {}

Line::~Line() {
    d->line = nullptr;
    d->close();
    d->notices.clear();
    d->delivery.stop();
}

QString Line::open() {
    return d->connection ? QString() : d->open();
}

void Line::close() {
    d->close();
}

bool Line::isOpen() const {
    return d->connection != nullptr;
}

const LineSettings& Line::settings() const {
    return d->settings;
}

QVector<int> Line::nodes() const {
    return d->nodes;
}

Endpoint Line::localEndpoint() const {
    return d->connection ? d->connection->link.local() : Endpoint();
}

QString Line::setTags(const QVector<Tag>& tags) {
    if (!isOpen()) {
        return closedText();
    }
    for (int index = 0; index < tags.size(); ++index) {
        const QString wrong = wrongTag(d->registers(), tags.at(index));
        if (!wrong.isEmpty()) {
            return QStringLiteral("tag %1 (%2): %3").arg(index).arg(tags.at(index).name, wrong);
        }
    }
    d->tags = tags;
    d->forgetTagNotices();
    d->core()->setTags(tags);
    d->afterEvent();
    return QString();
}

const QVector<Tag>& Line::tags() const {
    return d->tags;
}

const TagStatus& Line::status(int index) const {
    if (index >= 0 && index < d->lastBoard().size()) {
        return d->lastBoard().at(index);
    }
    static const TagStatus none = [] {
        TagStatus status;
        status.reason = QStringLiteral("no such tag: the index is outside the list of tags");
        return status;
    }();
    return none;
}

bool Line::allFresh() const {
    return d->lastBoard().allFresh();
}

quint64 Line::write(const QString& reg, int address, const Items& items, QString* fault) {
    const QString wrong = isOpen() ? wrongWrite(d->registers(), reg, address, items) : closedText();
    if (!d->accept(wrong, fault)) {
        return 0;
    }
    const quint64 id = d->newId();
    d->core()->write(id, reg, address, items);
    d->afterEvent();
    return id;
}

quint64 Line::read(const QString& reg, int address, int count, QString* fault) {
    const QString wrong = isOpen() ? wrongItems(d->registers(), reg, address, count) : closedText();
    if (!d->accept(wrong, fault)) {
        return 0;
    }
    const quint64 id = d->newId();
    d->core()->read(id, reg, address, count);
    d->afterEvent();
    return id;
}

quint64 Line::download(const QVector<RecipeVariable>& recipe, bool readBack, QString* fault) {
    return d->recipe(RecipeDirection::Download, recipe, readBack, fault);
}

quint64 Line::upload(const QVector<RecipeVariable>& recipe, QString* fault) {
    return d->recipe(RecipeDirection::Upload, recipe, false, fault);
}

void Line::giveUpRecipe(quint64 id) {
    if (isOpen()) {
        d->core()->giveUpRecipe(id);
        d->afterEvent();
    }
}

int Line::pending() const {
    return (isOpen() ? d->core()->pending() : 0) + d->outcomesNotTold();
}

LinkStatistics Line::statistics() const {
    return d->connection ? d->core()->statistics() : d->statistics;
}

std::optional<RequestEnd> Line::requestInTrouble() const {
    return isOpen() ? d->core()->requestInTrouble() : std::nullopt;
}

void Line::addWitness(FrameWitness* witness) {
    d->witnesses.append(witness);
    if (isOpen()) {
        d->core()->addWitness(witness);
    }
}

void Line::removeWitness(FrameWitness* witness) {
    d->witnesses.removeAll(witness);
    if (isOpen()) {
        d->core()->removeWitness(witness);
    }
}

qint64 Line::now() const {
    return d->clock.now();
}

} // namespace velkor_host

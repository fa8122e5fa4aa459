#include "host/line/line_private.h"

#include "host/line/line_checks.h"

#include <QtCore/QRandomGenerator>

#include <algorithm>

namespace velkor_host {
namespace {

const int SERVICE_IDS = 255; // the driver issues 0 to 254

int lastOctet(const QHostAddress& address) {
    return static_cast<int>(address.toIPv4Address() & 0xFFU);
}

template <typename Listener, typename... Arguments>
void call(const Listener& listener, const Arguments&... arguments) {
    if (listener) {
        const Listener kept = listener; // it may be replaced, or go with the line
        kept(arguments...);
    }
}

/// Whether anybody listens. Nobody does at a line that has been destroyed (null).
bool wanted(const Notice& notice, const Line* line) {
    return line != nullptr && std::visit(
                                  [line](const auto& content) {
                                      using Kind = std::decay_t<decltype(content)>;
                                      if constexpr (std::is_same_v<Kind, TagsChanged>) {
                                          return bool(line->onTags);
                                      } else if constexpr (std::is_same_v<Kind, PendingChanged>) {
                                          return bool(line->onPending);
                                      } else if constexpr (std::is_same_v<Kind, ScanEnded>) {
                                          return bool(line->onScan);
                                      } else if constexpr (std::is_same_v<Kind, RequestEnd>) {
                                          return bool(line->onRequest);
                                      } else if constexpr (std::is_same_v<Kind, RecipeProgress>) {
                                          return bool(line->onRecipeProgress);
                                      } else {
                                          return true; // outcomes: the listener may still be set
                                      }
                                  },
                                  notice);
}

/// Calls the listener, which may destroy the line.
void tell(const Notice& notice, const Line& line) {
    std::visit(
        [&line](const auto& content) {
            using Kind = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Kind, TagsChanged>) {
                call(line.onTags, content.indices);
            } else if constexpr (std::is_same_v<Kind, PendingChanged>) {
                call(line.onPending, content.indices);
            } else if constexpr (std::is_same_v<Kind, ScanEnded>) {
                call(line.onScan);
            } else if constexpr (std::is_same_v<Kind, WriteOutcome>) {
                call(line.onWrite, content);
            } else if constexpr (std::is_same_v<Kind, ReadOutcome>) {
                call(line.onRead, content);
            } else if constexpr (std::is_same_v<Kind, RecipeOutcome>) {
                call(line.onRecipe, content);
            } else if constexpr (std::is_same_v<Kind, RecipeProgress>) {
                call(line.onRecipeProgress, content);
            } else {
                call(line.onRequest, content);
            }
        },
        notice);
}

} // namespace

Line::Private::Private(Line* owner, const LineSettings& lineSettings)
    : line(owner), settings(lineSettings) {
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
        core()->turn();
        afterEvent();
    });
    delivery.setSingleShot(true);
    QObject::connect(&delivery, &QTimer::timeout, &delivery, [this] { deliver(); });
}

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
    nodes = nodesFrom(opened->link.local());
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
    opened->link.onMoved = [this] {
        const Endpoint local = connection->link.local();
        nodes = nodesFrom(local);
        core()->moved(local, nodes);
    };
    connection = std::move(opened);
    core()->setTags(tags);
    afterEvent();
    return QString();
}

/// These PLCs take the last octet of an IPv4 address for its node number.
QVector<int> Line::Private::nodesFrom(const Endpoint& local) const {
    return settings.nodes.isEmpty()
               ? QVector<int>{0, lastOctet(settings.plc.address), 0, 0, lastOctet(local.address), 0}
               : settings.nodes;
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
    PendingChanged pending;
    for (int index = 0; index < core()->board().size(); ++index) {
        const TagStatus& status = core()->board().at(index);
        if (status.state != TagState::NotRead) {
            changed.indices.append(index);
        }
        if (status.pending) {
            pending.indices.append(index);
        }
    }
    if (!changed.indices.isEmpty() && wanted(changed, line)) {
        notices.push_back(std::move(changed));
    }
    if (!pending.indices.isEmpty() && wanted(pending, line)) {
        notices.push_back(std::move(pending));
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
        giveNoteBack(&*notice);
        if (wanted(*notice, line)) {
            notices.push_back(std::move(*notice));
        }
    }
}

quint64 Line::Private::newId(const QString& note) {
    ++lastId;
    if (!note.isEmpty()) {
        notes.insert(lastId, note);
    }
    return lastId;
}

void Line::Private::giveNoteBack(Notice* notice) {
    std::visit(
        [this](auto& content) {
            using Kind = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Kind, WriteOutcome> || std::is_same_v<Kind, ReadOutcome> ||
                          std::is_same_v<Kind, RecipeOutcome>) {
                content.note = notes.take(content.id);
            }
        },
        *notice);
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
                              bool readBack, QString* fault, const QString& note) {
    QString wrong = connection ? QString() : lineClosedText();
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
    const quint64 id = newId(note);
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
                                            std::holds_alternative<PendingChanged>(notice) ||
                                            std::holds_alternative<ScanEnded>(notice);
                                 }),
                  notices.end());
}

} // namespace velkor_host

// The calls of a host, checked and handed on.

#include "host/line/line_checks.h"
#include "host/line/line_private.h"

namespace velkor_host {

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

void Line::closeAndTell() {
    const std::shared_ptr<Private> kept = d; // a listener may destroy the line
    kept->close();
    kept->deliver();
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
        return lineClosedText();
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
    if (index >= 0 && index < d->tags.size()) {
        return d->connection ? d->core()->status(index) : d->board.at(index);
    }
    static const TagStatus none = [] {
        TagStatus status;
        status.reason = QStringLiteral("no such tag: the index is outside the list of tags");
        return status;
    }();
    return none;
}

int Line::tagIndex(const QString& name) const {
    for (int index = 0; index < d->tags.size(); ++index) {
        if (d->tags.at(index).name == name) {
            return index;
        }
    }
    return -1;
}

bool Line::allFresh() const {
    return d->connection ? d->core()->allFresh() : d->board.allFresh();
}

quint64 Line::write(const QString& reg, int address, const Items& items, QString* fault,
                    const QString& note) {
    const QString wrong =
        isOpen() ? wrongWrite(d->registers(), reg, address, items) : lineClosedText();
    if (!d->accept(wrong, fault)) {
        return 0;
    }
    const quint64 id = d->newId(note);
    d->core()->write(id, reg, address, items);
    d->afterEvent();
    return id;
}

quint64 Line::write(const Tag& tag, const Items& items, QString* fault) {
    const QString wrong = wrongTagItems(tag, items);
    return d->accept(wrong, fault) ? write(tag.reg, tag.address, items, fault, tag.name) : 0;
}

quint64 Line::read(const Tag& tag, QString* fault) {
    return read(tag.reg, tag.address, tag.itemCount(), fault, tag.name);
}

quint64 Line::read(const QString& reg, int address, int count, QString* fault,
                   const QString& note) {
    const QString wrong =
        isOpen() ? wrongItems(d->registers(), reg, address, count) : lineClosedText();
    if (!d->accept(wrong, fault)) {
        return 0;
    }
    const quint64 id = d->newId(note);
    d->core()->read(id, reg, address, count);
    d->afterEvent();
    return id;
}

quint64 Line::download(const QVector<RecipeVariable>& recipe, bool readBack, QString* fault,
                       const QString& note) {
    return d->recipe(RecipeDirection::Download, recipe, readBack, fault, note);
}

quint64 Line::upload(const QVector<RecipeVariable>& recipe, QString* fault, const QString& note) {
    return d->recipe(RecipeDirection::Upload, recipe, false, fault, note);
}

bool Line::takeBack(quint64 id) {
    if (!isOpen() || !d->core()->takeBack(id)) {
        return false;
    }
    d->afterEvent();
    return true;
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

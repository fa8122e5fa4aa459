#include "host/driver/host_tags.h"

#include <QtCore/QHash>
#include <QtCore/QMutex>
#include <QtCore/QMutexLocker>

namespace velkor_host {
namespace {

struct Registry {
    QMutex mutex;
    QHash<int, ChangeListener*> listeners;
    int last = 0;
};

Registry& registry() {
    // Never destroyed: a line may live longer than the statics of this file.
    static Registry* const registry = new Registry;
    return *registry;
}

} // namespace

int takeHostTag(ChangeListener* listener) {
    Registry& all = registry();
    const QMutexLocker lock(&all.mutex);
    do {
        all.last = all.last < 0x7FFFFFFF ? all.last + 1 : 1;
    } while (all.listeners.contains(all.last));
    all.listeners.insert(all.last, listener);
    return all.last;
}

void giveBackHostTag(int tag) {
    Registry& all = registry();
    const QMutexLocker lock(&all.mutex);
    all.listeners.remove(tag);
}

int hearDriver(int tag, int station, QString regName, int address) {
    if (station < 0) {
        return 0; // notices: a condition read's end, status bytes, uploaded recipe words
    }
    ChangeListener* listener = nullptr;
    {
        Registry& all = registry();
        const QMutexLocker lock(&all.mutex);
        listener = all.listeners.value(tag, nullptr);
    }
    if (listener != nullptr) {
        listener->valueChanged(regName, address);
    }
    return 0;
}

} // namespace velkor_host

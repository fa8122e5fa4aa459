#ifndef VELKOR_HOST_DRIVER_HOST_TAGS_H
#define VELKOR_HOST_DRIVER_HOST_TAGS_H

/// Which line a callback of a driver belongs to. The callback carries no pointer, only the host tag
/// that its driver was bound with; so each line of the process has a tag of its own.
///
/// May be used from several threads: a listener is called on the thread that called its driver.

#include <QtCore/QString>

namespace velkor_host {

class ChangeListener {
public:
    ChangeListener() = default;
    ChangeListener(const ChangeListener&) = delete;
    ChangeListener& operator=(const ChangeListener&) = delete;
    virtual ~ChangeListener() = default;
    /// A monitored word of a word register, or bit of a bit register, has changed in the cache.
    virtual void valueChanged(const QString& reg, int address) = 0;
};

/// Above 0, different from that of every other listener; the driver's own notices carry 0 and -1.
int takeHostTag(ChangeListener* listener);
void giveBackHostTag(int tag);

/// The callback that every driver is given.
int hearDriver(int tag, int station, QString regName, int address);

} // namespace velkor_host

#endif

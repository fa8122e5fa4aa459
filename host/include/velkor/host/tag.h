#ifndef VELKOR_HOST_TAG_H
#define VELKOR_HOST_TAG_H

/// What a line polls, and what is known of it.

#include <velkor/host/export.h>
#include <velkor/host/registers.h>
#include <velkor/host/scaled_value.h>

#include <QtCore/QString>

#include <optional>

namespace velkor_host {

/// A value, or a run of values, of the PLC.
struct Tag {
    QString name;    ///< the host's own; the line only keeps it
    QString reg;     ///< register, e.g. "DM", or "CIO_bit" for single bits
    int address = 0; ///< word, or word * 16 + bit in a register whose name ends in "_bit"
    ValueType type = ValueType::Uint16;
    int count = 1;               ///< values; for a string, words
    Scaling scaling = Scaling(); ///< from the PLC's number to the host's unit; see scaled_value.h

    bool bitRegister() const { return isBitRegister(reg); }
    /// Words, or bits in a bit register.
    int itemCount() const { return count * itemsPerValue(type); }
};

/// "DM 100" or "CIO_bit 100.5"
VELKOR_HOST_EXPORT QString tagAddressText(const Tag& tag);

enum class TagState {
    NotRead, ///< no complete value has been read since the tag was handed over
    Fresh,   ///< read within the staleness limit, and no request for it has failed since
    Stale,   ///< read once, but not within the limit, or a request for it has failed since
    Refused  ///< the PLC refuses to give one of its words (end code in `reason`); it is tried again
             ///< from time to time
};

/// "not read", "read", "stale" or "refused".
VELKOR_HOST_EXPORT QString tagStateName(TagState state);

/// The value of a tag that is Fresh, or nothing: as std::optional, but it points to the items of
/// the status that it is of, and holds as long as that does. So `for (quint16 word :
/// *line.status(0).value())` is safe.
class FreshValue {
public:
    explicit FreshValue(const Items* items) : m_items(items) {}

    bool has_value() const { return m_items != nullptr; }
    explicit operator bool() const { return has_value(); }
    /// Of one that has a value.
    const Items& operator*() const { return *m_items; }
    const Items* operator->() const { return m_items; }
    /// A copy, to be kept.
    operator std::optional<Items>() const {
        return has_value() ? std::optional<Items>(*m_items) : std::nullopt;
    }
    friend bool operator==(const FreshValue& value, const Items& items) {
        return value.has_value() && *value == items;
    }

private:
    const Items* m_items;
};

/// All times are microseconds on the scale of Line::now(); -1: never.
class VELKOR_HOST_EXPORT TagStatus {
public:
    TagState state = TagState::NotRead;
    /// A write to one of its words or bits is not settled, or was taken and the (fresh) value was
    /// read before that: the PLC holds another value, or is about to. The value is the one last
    /// read.
    bool pending = false;
    qint64 readAt = -1;    ///< when the word read longest ago was asked for: the PLC held the value
                           ///< then or later, however slow its answer was
    qint64 changedAt = -1; ///< when a reading last differed from the one before
    int changes = 0;       ///< how often that was
    /// Why it is not fresh: empty, or one line whose key words stand before a colon, such as
    /// "no answer: 3 tries of 500 ms to 192.168.250.1:9600".
    QString reason;
    qint64 since = -1; ///< since when `reason` holds
    int endCode = -1;  ///< of the refusal, for Refused; else -1

    /// The value, if it may be shown as one: in the state Fresh alone.
    FreshValue value() const { return FreshValue(state == TagState::Fresh ? &m_items : nullptr); }
    /// What was read last, however long ago; empty when nothing was. Whoever shows it says so.
    const Items& lastRead() const { return m_items; }

private:
    friend class TagBoard;
    Items m_items;
};

} // namespace velkor_host

#endif

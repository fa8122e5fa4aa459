#ifndef VELKOR_HOST_TAG_H
#define VELKOR_HOST_TAG_H

/// What a line polls, and what is known of it.

#include <velkor/host/export.h>
#include <velkor/host/registers.h>
#include <velkor/host/scaled_value.h>

#include <QtCore/QString>

#include <limits>
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
    QString unit = QString();    ///< that unit as people read it, such as "l"; may be empty
    Limits limits = Limits();    ///< in that unit. The line polls and writes whatever they say:
                                 ///< they are for limitOf() and parseTagText()

    bool bitRegister() const { return isBitRegister(reg); }
    /// Words, or bits in a bit register. What an int does not hold is its nearest number.
    int itemCount() const {
        const qint64 items = qint64(count) * itemsPerValue(type);
        const qint64 lowest = std::numeric_limits<int>::min();
        const qint64 highest = std::numeric_limits<int>::max();
        return static_cast<int>(qBound(lowest, items, highest));
    }
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
    qint64 since = -1; ///< since when `reason` holds, by its key words: what stands behind them is
                       ///< of the last request and may change while they hold
    int endCode = -1;  ///< of the refusal, for Refused; else -1

    /// The value, if it may be shown as one: in the state Fresh alone.
    FreshValue value() const { return FreshValue(state == TagState::Fresh ? &m_items : nullptr); }
    /// What was read last, however long ago; empty when nothing was. Whoever shows it says so.
    const Items& lastRead() const { return m_items; }

private:
    friend class TagBoard;
    Items m_items;
};

/// Where a value of the tag lies, as limitOf() in scaled_value.h.
VELKOR_HOST_EXPORT Limit limitOf(const Tag& tag, const Items& items);

/// "low", "high", "low and high" (of several values) or "no number" when the tag is Fresh and has
/// limits, and a value of it does not lie between them, as limitOf() says; else empty.
VELKOR_HOST_EXPORT QString limitMark(const Tag& tag, const TagStatus& status);

/// "0 to 200 l", "at least 0 l"; empty when the tag has no limits.
VELKOR_HOST_EXPORT QString limitsText(const Tag& tag);

/// "46.371 l": scaled, with the tag's decimals and its unit. A unit that begins with a digit is a
/// factor: "241 × 0.1 l", without `unicode` "241 x 0.1 l". Of no items: empty. `mostDigits` of a
/// float that is not scaled, 6 to 9.
VELKOR_HOST_EXPORT QString valueText(const Tag& tag, const Items& items, bool unicode = true,
                                     int mostDigits = 9);

/// What a host may show for the tag now: "70.6 l", "190.0 l (high)", "not read", "stale: 70.6 l",
/// "refused". Never a value that was not read, never an old one without saying so; why it is not
/// fresh stands in `status.reason`.
VELKOR_HOST_EXPORT QString tagText(const Tag& tag, const TagStatus& status);

/// The items that stand for what a person has typed, for Line::write(): the values in the tag's
/// unit, separated by blanks, as many as the tag has or fewer, from its first; for a string the
/// whole text. The result is empty, or says what would be right; then `*items` is unchanged. A
/// value outside the tag's limits is refused unless `force` is set; `howToForce`, if not empty,
/// says in the text what the person does then: "--force".
VELKOR_HOST_EXPORT QString parseTagText(const Tag& tag, const QString& text, Items* items,
                                        bool force = false, const QString& howToForce = QString());
/// The same of values that stand apart: one text for each.
VELKOR_HOST_EXPORT QString parseTagValues(const Tag& tag, const QStringList& texts, Items* items,
                                          bool force = false,
                                          const QString& howToForce = QString());

} // namespace velkor_host

#endif

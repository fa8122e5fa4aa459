#include "panel/watch/watch_progress.h"

#include "panel/output/output.h"

#include <velkor/host/registers.h>

#include <algorithm>

namespace panel {
namespace {

const int MISSING_SHOWN = 5;

bool sameRange(const RequestEnd& one, const RequestEnd& other) {
    return one.reg == other.reg && one.address == other.address && one.length == other.length;
}

/// The words that a tag lies in, as a read would ask for them.
RequestEnd wordsOf(const Tag& tag) {
    const int wordItems = tag.bitRegister() ? 16 : 1;
    RequestEnd words;
    words.reg = wordRegisterName(tag.reg);
    words.address = tag.address / wordItems;
    words.length = (tag.address + tag.itemCount() - 1) / wordItems - words.address + 1;
    return words;
}

/// Those of the words of `part` that are among the words of `whole`, counted from its first one.
struct Common {
    int first = 0;
    int behind = 0; ///< no word is common where it is not above `first`
};

Common commonWords(const RequestEnd& whole, const RequestEnd& part) {
    if (whole.reg != part.reg) {
        return Common();
    }
    return {std::max(0, part.address - whole.address),
            std::min(whole.length, part.address + part.length - whole.address)};
}

} // namespace

WatchProgress::WatchProgress(const WatchedTags& tags)
    : m_tags(tags), m_lines(tags.lines()), m_changes(tags.size(), 0) {}

void WatchProgress::tagsChanged(const QVector<int>& changed) {
    for (const int index : changed) {
        OfLine& line = m_lines[m_tags.lineIndexOf(index)];
        line.changedInScan = true;
        if (m_changes.at(index) != m_tags.status(index).changes) {
            m_changes[index] = m_tags.status(index).changes;
            line.scansSinceAChange = 0;
        }
    }
}

void WatchProgress::scanEnded(int line) {
    OfLine& own = m_lines[line];
    ++own.scans;
    const bool quiet = !own.changedInScan && m_tags.line(line).allFresh();
    own.quietScans = quiet ? own.quietScans + 1 : 0;
    own.changedInScan = false;
    ++own.scansSinceAChange;
}

void WatchProgress::requestEnded(int line, const RequestEnd& end) {
    if (end.write) {
        return;
    }
    QVector<FailedRead>& failures = m_lines[line].failures;
    if (end.ok) {
        for (FailedRead& failure : failures) {
            const Common read = commonWords(failure.end, end);
            if (read.first < read.behind) {
                failure.missing.fill(false, read.first, read.behind);
            }
        }
    }
    failures.erase(std::remove_if(failures.begin(), failures.end(),
                                  [&](const FailedRead& old) {
                                      return sameRange(old.end, end) ||
                                             old.missing.count(true) == 0;
                                  }),
                   failures.end());
    if (!end.ok && end.length > 0) {
        failures.append({end, QBitArray(end.length, true)});
    }
}

bool WatchProgress::isStable() const {
    for (int line = 0; line < m_tags.lines(); ++line) {
        if (m_tags.tagsOf(line) > 0 && m_lines.at(line).quietScans < STABLE_SCANS) {
            return false;
        }
    }
    return true;
}

QString WatchProgress::scansText() const {
    QStringList texts;
    for (int line = 0; line < m_tags.lines(); ++line) {
        const QString scans = counted(m_lines.at(line).scans, "scan", "scans");
        texts.append(m_tags.lines() == 1 ? scans
                                         : scans + QStringLiteral(" of ") + m_tags.lineName(line));
    }
    return texts.join(QStringLiteral(", "));
}

/// With several PLCs a name alone may be of any of them.
QString WatchProgress::tagName(int index) const {
    const PanelTag& tag = m_tags.tag(index);
    const QString plc = tag.plc + QLatin1Char('/');
    return m_tags.lines() > 1 && !tag.tag.name.startsWith(plc) ? plc + tag.tag.name : tag.tag.name;
}

QString WatchProgress::missingTags(const QVector<int>& missing) const {
    QStringList texts;
    for (const int index : missing.mid(0, MISSING_SHOWN)) {
        texts.append(tagName(index) + QStringLiteral(" (") +
                     tagStateName(m_tags.status(index).state) + QLatin1Char(')'));
    }
    const int more = static_cast<int>(missing.size()) - MISSING_SHOWN;
    return QStringLiteral("without a fresh value when the time was up: ") +
           texts.join(QStringLiteral(", ")) +
           (more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString());
}

/// The failed read that the tag has no fresh value for, null when none is known. What is refused is
/// narrowed down by shorter and shorter reads: the shortest names the words that are to blame. Of
/// other failures the last one tells how things stand.
const RequestEnd* WatchProgress::failureOf(int index) const {
    const bool refused = m_tags.status(index).state == TagState::Refused;
    const RequestEnd words = wordsOf(m_tags.tag(index).tag);
    const RequestEnd* found = nullptr;
    for (const FailedRead& failure : m_lines.at(m_tags.lineIndexOf(index)).failures) {
        const Common asked = commonWords(failure.end, words);
        bool missing = false;
        for (int word = asked.first; word < asked.behind; ++word) {
            missing = missing || failure.missing.testBit(word);
        }
        const bool fits = missing && (!refused || failure.end.refused);
        if (fits && (found == nullptr || !refused || failure.end.length <= found->length)) {
            found = &failure.end;
        }
    }
    return found;
}

/// The failed request that the tag was not read by, with what to check; else what is known of it.
QString WatchProgress::reasonOf(int index, const SettingNames& names) const {
    const Line& line = m_tags.lineOf(index);
    const RequestEnd* failure = failureOf(index);
    if (failure != nullptr) {
        const QString plc = m_tags.lineName(m_tags.lineIndexOf(index));
        const QString text = failureText(*failure, line.settings(), line.nodes(), names);
        return m_tags.lines() > 1 ? plc + QStringLiteral(": ") + text : text;
    }
    const QString& reason = m_tags.status(index).reason;
    return reason.isEmpty() ? QString() : tagName(index) + QStringLiteral(": ") + reason;
}

QStringList WatchProgress::whatIsMissing(bool stable, const SettingNames& names) const {
    QVector<int> missing;
    QVector<int> firstOfLine(m_tags.lines(), -1);
    for (int index = 0; index < m_tags.size(); ++index) {
        const int line = m_tags.lineIndexOf(index);
        if (m_tags.status(index).state != TagState::Fresh) {
            missing.append(index);
            firstOfLine[line] = firstOfLine.at(line) < 0 ? index : firstOfLine.at(line);
        }
    }
    QStringList texts;
    if (!missing.isEmpty()) {
        texts.append(missingTags(missing));
        for (const int index : firstOfLine) {
            texts.append(index < 0 ? QString() : reasonOf(index, names));
        }
        texts.removeAll(QString());
    } else if (stable) {
        const bool changing = std::any_of(m_lines.begin(), m_lines.end(), [](const OfLine& line) {
            return line.scansSinceAChange < STABLE_SCANS;
        });
        texts.append(changing ? QStringLiteral("values were still changing when the time was up")
                              : QStringLiteral("fewer than three scans without a change had ended "
                                               "when the time was up"));
    }
    return texts;
}

} // namespace panel

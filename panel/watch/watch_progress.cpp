#include "panel/watch/watch_progress.h"

#include <velkor/host/registers.h>

#include <algorithm>

namespace panel {
namespace {

const int MISSING_SHOWN = 5;

bool sameRange(const RequestEnd& one, const RequestEnd& other) {
    return one.reg == other.reg && one.address == other.address && one.length == other.length;
}

/// Whether a read of whole words asked for one of the tag's.
bool askedFor(const RequestEnd& read, const Tag& tag) {
    const int wordItems = tag.bitRegister() ? 16 : 1;
    const int first = tag.address / wordItems;
    const int last = (tag.address + tag.itemCount() - 1) / wordItems;
    return read.reg == wordRegisterName(tag.reg) && first < read.address + read.length &&
           read.address <= last;
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
    ++m_scans;
    OfLine& own = m_lines[line];
    const bool quiet = !own.changedInScan && m_tags.line(line).allFresh();
    own.quietScans = quiet ? own.quietScans + 1 : 0;
    own.changedInScan = false;
    ++own.scansSinceAChange;
}

void WatchProgress::requestEnded(int line, const RequestEnd& end) {
    if (end.write) {
        return;
    }
    QVector<RequestEnd>& failures = m_lines[line].failures;
    failures.erase(std::remove_if(failures.begin(), failures.end(),
                                  [&](const RequestEnd& old) { return sameRange(old, end); }),
                   failures.end());
    if (!end.ok) {
        failures.append(end);
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

/// The failed request that the tag was not read by, with what to check; else what is known of it.
QString WatchProgress::reasonOf(int index, const SettingNames& names) const {
    const Line& line = m_tags.lineOf(index);
    const QVector<RequestEnd>& failures = m_lines.at(m_tags.lineIndexOf(index)).failures;
    const auto failure =
        std::find_if(failures.rbegin(), failures.rend(),
                     [&](const RequestEnd& end) { return askedFor(end, m_tags.tag(index).tag); });
    if (failure != failures.rend()) {
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

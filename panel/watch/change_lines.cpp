#include "panel/watch/change_lines.h"

#include <QtCore/QDateTime>

namespace panel {

ChangeLines::ChangeLines(QTextStream& out, OutputFormat format, const WatchedTags& tags)
    : m_out(out), m_format(format), m_tags(tags), m_printed(tags.size()) {
    m_columns =
        QStringList{QStringLiteral("time"),   QStringLiteral("name"), QStringLiteral("address"),
                    QStringLiteral("value"),  QStringLiteral("unit"), QStringLiteral("state"),
                    QStringLiteral("reason"), QStringLiteral("limit")};
    if (tags.lines() > 1) {
        m_columns.insert(1, QStringLiteral("plc"));
    }
    const QString header = recordHeader(format, m_columns);
    if (!header.isEmpty()) {
        out << header << '\n';
        out.flush();
    }
}

Record ChangeLines::record(int index) const {
    const PanelTag& tag = m_tags.tag(index);
    const TagStatus& status = m_tags.status(index);
    Record record{QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz"))};
    if (m_tags.lines() > 1) {
        record.append(tag.plc);
    }
    record.append(tag.tag.name);
    record.append(tagAddressText(tag.tag));
    if (m_format == OutputFormat::Table) {
        record.append(tagText(tag.tag, status));
        if (!status.reason.isEmpty()) {
            record.append(QLatin1Char('(') + status.reason + QLatin1Char(')'));
        }
        return record;
    }
    const bool known = status.state == TagState::Fresh || status.state == TagState::Stale;
    record.append(known ? formatScaled(tag.tag.type, status.lastRead(), tag.tag.scaling)
                        : QString());
    record.append(tag.tag.unit);
    record.append(tagStateName(status.state));
    record.append(status.reason);
    record.append(limitMark(tag.tag, status));
    return record;
}

bool ChangeLines::print(const QVector<int>& changed) {
    QString text;
    for (const int index : changed) {
        const TagStatus& status = m_tags.status(index);
        Printed& last = m_printed[index];
        // Before the first value only a failure is worth a line.
        const bool silent = status.state == TagState::NotRead && status.reason.isEmpty();
        if (silent || (last.any && last.state == status.state && last.items == status.lastRead())) {
            continue;
        }
        last.any = true;
        last.state = status.state;
        last.items = status.lastRead();
        text += recordLine(m_format, m_columns, record(index)) + QLatin1Char('\n');
    }
    m_out << text;
    m_out.flush();
    return !text.isEmpty();
}

} // namespace panel

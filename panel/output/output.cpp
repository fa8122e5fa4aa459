#include "panel/output/output.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <algorithm>

namespace panel {
namespace {

QStringList texts(const Record& record) {
    QStringList result;
    for (const Cell& cell : record) {
        result.append(cell.text);
    }
    return result;
}

QString jsonLine(const QStringList& columns, const Record& record) {
    QStringList members;
    for (int index = 0; index < columns.size() && index < record.size(); ++index) {
        const Cell& cell = record.at(index);
        members.append(jsonString(columns.at(index)) + QStringLiteral(": ") +
                       (cell.number ? cell.text : jsonString(cell.text)));
    }
    return QLatin1Char('{') + members.join(QStringLiteral(", ")) + QLatin1Char('}');
}

void printTable(QTextStream& out, const QStringList& columns, const QVector<Record>& records) {
    QVector<QStringList> lines;
    lines.append(columns);
    for (const Record& record : records) {
        lines.append(texts(record));
    }
    QVector<int> widths(columns.size(), 0);
    for (const QStringList& line : lines) {
        for (int index = 0; index < columns.size(); ++index) {
            widths[index] = std::max(widths.at(index), static_cast<int>(line.value(index).size()));
        }
    }
    for (const QStringList& line : lines) {
        QString text;
        for (int index = 0; index < columns.size(); ++index) {
            text += line.value(index).leftJustified(widths.at(index) + 2);
        }
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        out << text << '\n';
    }
}

} // namespace

QString csvLine(const QStringList& fields) {
    QStringList quoted;
    for (const QString& field : fields) {
        bool needsQuotes = false;
        for (const QChar character : field) {
            needsQuotes = needsQuotes || QStringLiteral(",\"\r\n").contains(character);
        }
        if (needsQuotes) {
            QString doubled = field;
            doubled.replace(QLatin1Char('"'), QStringLiteral("\"\""));
            quoted.append(QLatin1Char('"') + doubled + QLatin1Char('"'));
        } else {
            quoted.append(field);
        }
    }
    return quoted.join(QLatin1Char(','));
}

QString counted(qint64 count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QString::fromLatin1(count == 1 ? one : many));
}

QString jsonString(const QString& text) {
    const QByteArray array =
        QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact); // ["..."]
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

void printRecords(QTextStream& out, OutputFormat format, const QStringList& columns,
                  const QVector<Record>& records) {
    if (format == OutputFormat::Table) {
        printTable(out, columns, records);
    } else {
        if (format == OutputFormat::Csv) {
            out << csvLine(columns) << '\n';
        }
        for (const Record& record : records) {
            out << recordLine(format, columns, record) << '\n';
        }
    }
    out.flush();
}

QString recordHeader(OutputFormat format, const QStringList& columns) {
    return format == OutputFormat::Csv ? csvLine(columns) : QString();
}

QString recordLine(OutputFormat format, const QStringList& columns, const Record& record) {
    if (format == OutputFormat::Json) {
        return jsonLine(columns, record);
    }
    return format == OutputFormat::Csv ? csvLine(texts(record))
                                       : texts(record).join(QStringLiteral("  "));
}

} // namespace panel

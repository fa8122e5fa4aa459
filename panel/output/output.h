#ifndef VELKOR_PANEL_OUTPUT_OUTPUT_H
#define VELKOR_PANEL_OUTPUT_OUTPUT_H

/// Records on standard output: an aligned table, CSV, or JSON with one object a line.

#include <QtCore/QStringList>
#include <QtCore/QTextStream>
#include <QtCore/QVector>

namespace panel {

enum class OutputFormat { Table, Csv, Json };

/// A record's field: text, or a number, which JSON shows without quotes.
struct Cell {
    QString text;
    bool number = false;

    Cell(const QString& value) : text(value) {}
    Cell(const char* value) : text(QString::fromLatin1(value)) {}
    Cell(int value) : text(QString::number(value)), number(true) {}
    Cell(double value, int decimals) : text(QString::number(value, 'f', decimals)), number(true) {}
};

typedef QVector<Cell> Record;

/// All records at once; the table's columns are as wide as their widest field.
void printRecords(QTextStream& out, OutputFormat format, const QStringList& columns,
                  const QVector<Record>& records);

/// The lines for a stream of records: the header (empty for JSON) and each record.
QString recordHeader(OutputFormat format, const QStringList& columns);
QString recordLine(OutputFormat format, const QStringList& columns, const Record& record);

/// One row of CSV (RFC 4180), quoted where needed, without a line end.
QString csvLine(const QStringList& fields);

/// "1 retry", "2 retries"
QString counted(qint64 count, const char* one, const char* many);

/// A JSON string with its quotes.
QString jsonString(const QString& text);

} // namespace panel

#endif

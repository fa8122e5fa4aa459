#ifndef VELKOR_PANEL_FILES_CSV_READER_H
#define VELKOR_PANEL_FILES_CSV_READER_H

/// Comma-separated values with the quoting of RFC 4180: a field in double quotes may hold commas,
/// line ends and, doubled, quotes. UTF-8, with or without a byte order mark. Lines end in LF or
/// CRLF; empty lines are skipped.

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace panel {

struct CsvField {
    QString text;
    int line = 0;   ///< where the field starts, from 1
    int column = 0; ///< in characters, from 1
};

struct CsvRow {
    int line = 0;
    QVector<CsvField> fields;
};

struct CsvError {
    int line = 0;
    int column = 0;
    QString text; ///< what was wrong and what would be right
};

/// The faults of a file, in the order in which they were found. The first ones are kept: a file of
/// another kind has millions, and each is a text.
class CsvErrors {
public:
    static constexpr int MOST = 1000;

    /// Nothing happens when full.
    void append(const CsvError& error);
    CsvErrors& operator+=(const CsvErrors& more);

    bool isEmpty() const { return m_kept.isEmpty(); }
    /// There may have been more; who looks for faults row by row can stop.
    bool full() const { return size() >= MOST; }
    int size() const { return static_cast<int>(m_kept.size()); }
    const CsvError& at(int index) const { return m_kept.at(index); }
    const CsvError& first() const { return m_kept.first(); }

private:
    QVector<CsvError> m_kept;
};

struct CsvContent {
    QVector<CsvRow> rows;
    CsvErrors errors; ///< not empty: rows are not to be used
};

CsvContent parseCsv(const QByteArray& bytes);

/// Empty, or that the text has a line end in it: fields in quotes may, names may not.
QString oneLineFault(const QString& text);

/// "FILE:LINE:COLUMN: TEXT", on one line, safe for a terminal and of moderate length.
QString errorText(const QString& file, const CsvError& error);

/// A table whose first row names its columns. Rows shorter than the header have empty fields.
class CsvTable {
public:
    /// Reads the header. Every name of `required` must be there, every column must be in `required`
    /// or `optional`; faults are appended to `errors`.
    CsvTable(const CsvContent& content, const QStringList& required, const QStringList& optional,
             CsvErrors* errors);

    const QVector<CsvRow>& rows() const { return m_rows; }
    bool has(const QString& column) const { return m_columns.contains(column); }

    /// The field of a column, trimmed; empty, at the row's start, where there is none.
    CsvField field(const CsvRow& row, const QString& column) const;
    /// The table has this column, and the row is too short for it.
    bool endsBefore(const CsvRow& row, const QString& column) const;

private:
    QStringList m_columns;
    QVector<CsvRow> m_rows;
};

} // namespace panel

#endif

#include "panel/files/csv_reader.h"

#include "panel/output/printable.h"

namespace panel {
namespace {

/// Walks the text once, keeping the place.
class Parser {
public:
    explicit Parser(const QString& text) : m_text(text) {}

    CsvContent parse() {
        while (!atEnd()) {
            parseRow();
        }
        return m_content;
    }

private:
    bool atEnd() const { return m_at >= m_text.size(); }
    QChar current() const { return m_text.at(m_at); }
    bool at(char character) const { return !atEnd() && current() == QLatin1Char(character); }

    bool atLineEnd() const {
        return at('\n') ||
               (at('\r') && m_at + 1 < m_text.size() && m_text.at(m_at + 1) == QLatin1Char('\n'));
    }

    void step() {
        checkCharacter();
        if (current() == QLatin1Char('\n')) {
            ++m_line;
            m_column = 1;
        } else {
            ++m_column;
        }
        ++m_at;
    }

    /// A file in another encoding, or no text at all, is said once; a control character could do
    /// anything to the terminal that shows it.
    void checkCharacter() {
        const QChar character = current();
        const bool blank = character == QLatin1Char('\n') || character == QLatin1Char('\r') ||
                           character == QLatin1Char('\t');
        if (m_foreign || blank) {
            return;
        }
        if (character == QChar(QChar::ReplacementCharacter)) {
            error(QStringLiteral("this is no UTF-8; save the file as text in UTF-8"));
            m_foreign = true;
        } else if (character.category() == QChar::Other_Control) {
            error(QStringLiteral("a control character (code %1); a file of this kind is plain text")
                      .arg(character.unicode()));
            m_foreign = true;
        }
    }

    void skipLineEnd() {
        if (at('\r')) {
            step();
        }
        if (at('\n')) {
            step();
        }
    }

    void error(const QString& text) { m_content.errors.append({m_line, m_column, text}); }

    void parseRow() {
        CsvRow row;
        row.line = m_line;
        row.fields.append(parseField());
        while (at(',')) {
            step();
            row.fields.append(parseField());
        }
        skipLineEnd();
        if (row.fields.size() > 1 || !row.fields.first().text.trimmed().isEmpty()) {
            m_content.rows.append(row);
        }
    }

    CsvField parseField() {
        CsvField field;
        field.line = m_line;
        field.column = m_column;
        if (at('"')) {
            parseQuoted(&field);
        } else {
            parseBare(&field);
        }
        return field;
    }

    void parseBare(CsvField* field) {
        while (!atEnd() && !at(',') && !atLineEnd()) {
            if (at('"')) {
                error(QStringLiteral("a quote inside a field; put the whole field in quotes and "
                                     "double the quote: \"a \"\"b\"\"\""));
            }
            field->text += current();
            step();
        }
    }

    void parseQuoted(CsvField* field) {
        step();
        while (!atEnd()) {
            if (at('"')) {
                step();
                if (!at('"')) {
                    afterQuoted();
                    return;
                }
            }
            field->text += current();
            step();
        }
        m_content.errors.append({field->line, field->column,
                                 QStringLiteral("this quote is never closed; a field in quotes "
                                                "ends with a quote before the comma")});
    }

    void afterQuoted() {
        if (atEnd() || at(',') || atLineEnd()) {
            return;
        }
        error(QStringLiteral("text after a closing quote; right is a comma or the line's end"));
        while (!atEnd() && !at(',') && !atLineEnd()) {
            step();
        }
    }

    QString m_text;
    int m_at = 0;
    int m_line = 1;
    int m_column = 1;
    bool m_foreign = false; ///< has been said
    CsvContent m_content;
};

} // namespace

CsvContent parseCsv(const QByteArray& bytes) {
    // With its length: without, a zero byte would be the end.
    QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    if (text.startsWith(QChar(0xFEFF))) {
        text.remove(0, 1);
    }
    return Parser(text).parse();
}

QString oneLineFault(const QString& text) {
    return text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r'))
               ? QStringLiteral("goes over two lines; right is one line")
               : QString();
}

void CsvErrors::append(const CsvError& error) {
    if (!full()) {
        m_kept.append(error);
    }
}

CsvErrors& CsvErrors::operator+=(const CsvErrors& more) {
    for (const CsvError& error : more.m_kept) {
        append(error);
    }
    return *this;
}

QString errorText(const QString& file, const CsvError& error) {
    const int longest = 500;
    return printable(file) + QStringLiteral(":%1:%2: ").arg(error.line).arg(error.column) +
           printable(shortened(error.text, longest));
}

CsvTable::CsvTable(const CsvContent& content, const QStringList& required,
                   const QStringList& optional, CsvErrors* errors) {
    *errors += content.errors;
    const QString known = (required + optional).join(QLatin1Char(','));
    if (content.rows.isEmpty()) {
        errors->append(
            {1, 1, QStringLiteral("the file is empty; its first line is %1").arg(known)});
        return;
    }
    const CsvField& first = content.rows.first().fields.first();
    if (content.rows.first().fields.size() == 1 && first.text.contains(QLatin1Char(';'))) {
        errors->append({first.line, first.column,
                        QStringLiteral("the columns are separated by semicolons; right are commas, "
                                       "as in %1")
                            .arg(known)});
        return;
    }
    for (const CsvField& field : content.rows.first().fields) {
        if (errors->full()) {
            return;
        }
        const QString name = field.text.trimmed();
        if (!required.contains(name) && !optional.contains(name)) {
            errors->append(
                {field.line, field.column,
                 QStringLiteral("\"%1\" is no column; the columns are %2").arg(name, known)});
        } else if (m_columns.contains(name)) {
            errors->append({field.line, field.column,
                            QStringLiteral("column \"%1\" is there twice").arg(name)});
        }
        m_columns.append(name);
    }
    for (const QString& name : required) {
        if (!m_columns.contains(name)) {
            errors->append(
                {content.rows.first().line, 1,
                 QStringLiteral("column \"%1\" is missing; the columns are %2").arg(name, known)});
        }
    }
    m_rows = content.rows.mid(1);
    for (const CsvRow& row : m_rows) {
        if (row.fields.size() > m_columns.size() && !errors->full()) {
            const CsvField& extra = row.fields.at(m_columns.size());
            errors->append({extra.line, extra.column,
                            QStringLiteral("field %1 is one too many; a line has %2 (put a text "
                                           "with commas in quotes)")
                                .arg(m_columns.size() + 1)
                                .arg(m_columns.size())});
        }
    }
}

bool CsvTable::endsBefore(const CsvRow& row, const QString& column) const {
    return m_columns.indexOf(column) >= row.fields.size();
}

CsvField CsvTable::field(const CsvRow& row, const QString& column) const {
    const auto index = m_columns.indexOf(column);
    if (index < 0 || index >= row.fields.size()) {
        CsvField none;
        none.line = row.line;
        none.column = 1;
        return none;
    }
    CsvField field = row.fields.at(index);
    field.text = field.text.trimmed();
    return field;
}

} // namespace panel

// Comma-separated values of any kind; what is taken can be written and read again.

#include "fuzz/input.h"
#include "panel/files/csv_reader.h"
#include "panel/output/output.h"

namespace {

QStringList textsOf(const panel::CsvRow& row) {
    QStringList texts;
    for (const panel::CsvField& field : row.fields) {
        require(field.line >= 1 && field.column >= 1, "each field has a place");
        texts.append(field.text);
    }
    return texts;
}

void checkError(const panel::CsvError& error) {
    require(error.line >= 1 && error.column >= 1 && !error.text.isEmpty(),
            "a fault has a place and a text");
    for (const QChar c : panel::errorText(QStringLiteral("FILE"), error)) {
        require(c.unicode() >= ' ' && c.unicode() != 0x7F, "it is safe for a terminal");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const panel::CsvContent content = panel::parseCsv(input.rest());
    for (int i = 0; i < content.errors.size(); ++i) {
        checkError(content.errors.at(i));
    }
    if (!content.errors.isEmpty()) {
        return 0;
    }
    // Behind a header, as the panel writes: at the start of a file a mark of the byte order is none
    // of the text.
    QString written = QStringLiteral("header\n");
    for (const panel::CsvRow& row : content.rows) {
        written += panel::csvLine(textsOf(row)) + QLatin1Char('\n');
    }
    const panel::CsvContent again = panel::parseCsv(written.toUtf8());
    require(again.errors.isEmpty() && again.rows.size() == content.rows.size() + 1,
            "what is written can be read");
    for (int i = 0; i < content.rows.size(); ++i) {
        require(textsOf(again.rows.at(i + 1)) == textsOf(content.rows.at(i)), "and says the same");
    }
    return 0;
}

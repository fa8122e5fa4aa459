#include "panel/files/recipe_file.h"

#include "panel/output/output.h"

#include <QtCore/QHash>
#include <QtCore/QSet>

#include <algorithm>

namespace panel {
namespace {

QString name(const char* text) {
    return QString::fromLatin1(text);
}

/// Reads the rows of one recipe file.
class Reader {
public:
    Reader(const QByteArray& csv, const Catalogue& catalogue, int bufferWords)
        : m_catalogue(catalogue), m_bufferWords(bufferWords),
          m_table(parseCsv(csv), {name("name"), name("register"), name("address")},
                  {name("count"), name("offset"), name("comment")}, &m_recipe.errors) {}

    Recipe read() {
        if (!m_recipe.errors.isEmpty()) {
            return m_recipe;
        }
        if (m_table.rows().isEmpty()) {
            m_recipe.errors.append({2, 1, QStringLiteral("no variable; a line names one each")});
        }
        for (const CsvRow& row : m_table.rows()) {
            if (m_recipe.errors.full()) {
                break;
            }
            readRow(row);
        }
        if (m_recipe.errors.isEmpty()) {
            placeVariables();
        }
        if (m_recipe.errors.isEmpty()) {
            checkLayout();
        }
        return m_recipe;
    }

private:
    bool fault(const CsvField& field, const char* column, const QString& text) {
        if (!text.isEmpty()) {
            m_recipe.errors.append(
                {field.line, field.column, name(column) + QStringLiteral(": ") + text});
        }
        return !text.isEmpty();
    }

    static QString wholeNumber(const QString& text, int lowest, int highest, int* value) {
        bool ok = false;
        *value = text.toInt(&ok);
        return ok && *value >= lowest && *value <= highest
                   ? QString()
                   : QStringLiteral("\"%1\": right is a whole number from %2 to %3")
                         .arg(text, QString::number(lowest), QString::number(highest));
    }

    void readRow(const CsvRow& row) {
        RecipeVariable variable;
        variable.line = row.line;
        const CsvField nameField = m_table.field(row, name("name"));
        const CsvField reg = m_table.field(row, name("register"));
        const CsvField address = m_table.field(row, name("address"));
        const CsvField count = m_table.field(row, name("count"));
        const CsvField offset = m_table.field(row, name("offset"));
        variable.name = nameField.text;
        variable.comment = m_table.field(row, name("comment")).text;
        bool bad = fault(nameField, "name", nameFault(nameField.text));
        if (!count.text.isEmpty()) {
            bad |=
                fault(count, "count", wholeNumber(count.text, 1, m_bufferWords, &variable.count));
        }
        if (!offset.text.isEmpty()) {
            bad |= fault(
                offset, "offset",
                wholeNumber(offset.text, 0, m_bufferWords - variable.count, &variable.offset));
            ++m_placed;
        }
        const RegisterInfo* info = m_catalogue.find(reg.text);
        bad |= fault(reg, "register", registerFault(reg.text, info));
        if (bad || info == nullptr) {
            return;
        }
        const AddressVerdict verdict = m_catalogue.check(*info, address.text, variable.count);
        if (fault(address, "address", verdict.text)) {
            return;
        }
        variable.reg = info->name;
        variable.address = verdict.address;
        m_recipe.variables.append(variable);
    }

    QString nameFault(const QString& text) {
        if (text.isEmpty()) {
            return QStringLiteral("is empty; a variable has a name of its own");
        }
        if (m_names.contains(text)) {
            return QStringLiteral("\"%1\" is there twice; a variable has a name of its own")
                .arg(text);
        }
        m_names.insert(text);
        return oneLineFault(text);
    }

    QString registerFault(const QString& text, const RegisterInfo* info) const {
        if (info == nullptr) {
            return QStringLiteral("\"%1\" is no register; the registers are %2")
                .arg(text, m_catalogue.names());
        }
        return info->bit ? QStringLiteral("%1 is a bit register; a recipe takes words").arg(text)
                         : QString();
    }

    /// Indices of the variables by register and address.
    QVector<int> inPlcOrder() const {
        QVector<int> order;
        for (int index = 0; index < m_recipe.variables.size(); ++index) {
            order.append(index);
        }
        std::stable_sort(order.begin(), order.end(), [this](int a, int b) {
            const RecipeVariable& left = m_recipe.variables.at(a);
            const RecipeVariable& right = m_recipe.variables.at(b);
            return left.reg != right.reg ? left.reg < right.reg : left.address < right.address;
        });
        return order;
    }

    void placeVariables() {
        if (m_placed == m_recipe.variables.size()) {
            return;
        }
        if (m_placed > 0) {
            m_recipe.errors.append(
                {1, 1,
                 QStringLiteral("offset: some variables have one and others none; "
                                "right is one for each variable, or none at all")});
            return;
        }
        int offset = 0;
        for (const int index : inPlcOrder()) {
            m_recipe.variables[index].offset = offset;
            offset += m_recipe.variables.at(index).count;
        }
        if (offset > m_bufferWords) {
            m_recipe.errors.append({1, 1,
                                    QStringLiteral("the variables take %1 words; a recipe "
                                                   "holds %2")
                                        .arg(offset)
                                        .arg(m_bufferWords)});
        }
    }

    void checkLayout() {
        const QVector<int> order = inPlcOrder();
        for (int at = 1; at < order.size(); ++at) {
            const RecipeVariable& before = m_recipe.variables.at(order.at(at - 1));
            const RecipeVariable& variable = m_recipe.variables.at(order.at(at));
            const int end = before.address + before.count;
            if (before.reg != variable.reg || variable.address > end) {
                continue;
            }
            if (variable.address < end) {
                layoutFault(variable,
                            QStringLiteral("address: %1 %2 belongs to \"%3\" (line %4) "
                                           "already; right is %5 or higher")
                                .arg(variable.reg, QString::number(variable.address), before.name,
                                     QString::number(before.line), QString::number(end)));
            } else if (variable.offset != before.offset + before.count) {
                layoutFault(variable,
                            QStringLiteral("offset: %1 %2 follows \"%3\" (line %4) in the "
                                           "PLC without a gap, so it must in the recipe; "
                                           "right is %5")
                                .arg(variable.reg, QString::number(variable.address), before.name,
                                     QString::number(before.line),
                                     QString::number(before.offset + before.count)));
            }
        }
        checkOffsets();
    }

    void checkOffsets() {
        QVector<RecipeVariable> sorted = m_recipe.variables;
        std::stable_sort(
            sorted.begin(), sorted.end(),
            [](const RecipeVariable& a, const RecipeVariable& b) { return a.offset < b.offset; });
        for (int at = 1; at < sorted.size(); ++at) {
            const RecipeVariable& before = sorted.at(at - 1);
            const int end = before.offset + before.count;
            if (sorted.at(at).offset < end) {
                layoutFault(sorted.at(at),
                            QStringLiteral("offset: %1 belongs to \"%2\" (line %3) "
                                           "already; right is %4 or higher")
                                .arg(QString::number(sorted.at(at).offset), before.name,
                                     QString::number(before.line), QString::number(end)));
            }
        }
    }

    void layoutFault(const RecipeVariable& variable, const QString& text) {
        m_recipe.errors.append({variable.line, 1, text});
    }

    const Catalogue& m_catalogue;
    const int m_bufferWords;
    Recipe m_recipe;
    CsvTable m_table;
    QSet<QString> m_names;
    int m_placed = 0;
};

std::size_t bufferIndex(const RecipeVariable& variable, int word) {
    return static_cast<std::size_t>(variable.offset) + static_cast<std::size_t>(word);
}

/// Stores one row of values; the result is where and what is wrong, or line 0.
CsvError storeRow(const CsvRow& row, const RecipeVariable& variable,
                  std::vector<unsigned short>* buffer) {
    const int given = static_cast<int>(row.fields.size()) - 1;
    if (given != variable.count) {
        return {row.line, 1,
                QStringLiteral("\"%1\" has %2 words; %3 values are given")
                    .arg(variable.name, QString::number(variable.count), QString::number(given))};
    }
    for (int word = 0; word < variable.count; ++word) {
        const CsvField& field = row.fields.at(word + 1);
        Items items;
        const QString wrong = parseValues(ValueType::Uint16, {field.text.trimmed()}, 0, &items);
        if (!wrong.isEmpty()) {
            return {field.line, field.column, wrong};
        }
        buffer->at(bufferIndex(variable, word)) = items.first();
    }
    return {};
}

} // namespace

Recipe readRecipe(const QByteArray& csv, const Catalogue& catalogue, int bufferWords) {
    return Reader(csv, catalogue, bufferWords).read();
}

CsvErrors readRecipeValues(const QByteArray& csv, const Recipe& recipe,
                           std::vector<unsigned short>* buffer) {
    const CsvContent content = parseCsv(csv);
    CsvErrors errors = content.errors;
    QHash<QString, const RecipeVariable*> variables;
    for (const RecipeVariable& variable : recipe.variables) {
        variables.insert(variable.name, &variable);
    }
    QHash<QString, int> lines;
    for (int index = 0; index < content.rows.size() && !errors.full(); ++index) {
        const CsvRow& row = content.rows.at(index);
        const CsvField& nameField = row.fields.first();
        const QString given = nameField.text.trimmed();
        if (index == 0 && given == QLatin1String("name")) {
            continue;
        }
        const RecipeVariable* const variable = variables.value(given);
        if (variable == nullptr) {
            errors.append({nameField.line, nameField.column,
                           QStringLiteral("\"%1\" is no variable of the recipe").arg(given)});
        } else if (lines.contains(given)) {
            errors.append({nameField.line, nameField.column,
                           QStringLiteral("\"%1\" has its values in line %2 already")
                               .arg(given, QString::number(lines.value(given)))});
        } else {
            lines.insert(given, row.line);
            const CsvError wrong = storeRow(row, *variable, buffer);
            if (wrong.line > 0) {
                errors.append(wrong);
            }
        }
    }
    for (const RecipeVariable& variable : recipe.variables) {
        if (!lines.contains(variable.name) && !errors.full()) {
            errors.append({1, 1,
                           QStringLiteral("no values for \"%1\"; right is a line %1 with %2 "
                                          "values")
                               .arg(variable.name, QString::number(variable.count))});
        }
    }
    return errors;
}

Items recipeItems(const RecipeVariable& variable, const std::vector<unsigned short>& buffer) {
    Items items;
    for (int word = 0; word < variable.count; ++word) {
        items.append(buffer.at(bufferIndex(variable, word)));
    }
    return items;
}

QString recipeValuesCsv(const Recipe& recipe, const std::vector<unsigned short>& buffer) {
    QString text = QStringLiteral("name,values\n");
    for (const RecipeVariable& variable : recipe.variables) {
        QStringList fields{variable.name};
        for (const quint16 item : recipeItems(variable, buffer)) {
            fields.append(QString::number(item));
        }
        text += csvLine(fields) + QLatin1Char('\n');
    }
    return text;
}

} // namespace panel

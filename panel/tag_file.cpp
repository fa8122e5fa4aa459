#include "panel/tag_file.h"

#include <QtCore/QSet>

namespace panel {
namespace {

const int HIGHEST_COUNT = 32768;

/// The type a register's values have, by name or by default; the result is empty or a fault.
QString chooseType(const QString& name, const RegisterInfo& info, ValueType* type) {
    if (name.isEmpty()) {
        *type = info.bit ? ValueType::Bool : ValueType::Uint16;
        return QString();
    }
    const std::optional<ValueType> known = valueTypeFromName(name);
    if (!known) {
        return QStringLiteral("\"%1\" is no type; the types are %2").arg(name, valueTypeNames());
    }
    if (!typeFitsRegister(*known, info.bit)) {
        return info.bit ? QStringLiteral("%1 is a bit register; its type is bool").arg(info.name)
                        : QStringLiteral("bool is for bit registers; %1 is a word register, for "
                                         "example of type uint16")
                              .arg(info.name);
    }
    *type = *known;
    return QString();
}

QString parseCount(const QString& text, int* count) {
    if (text.isEmpty()) {
        *count = 1;
        return QString();
    }
    bool ok = false;
    *count = text.toInt(&ok);
    if (!ok || *count < 1 || *count > HIGHEST_COUNT) {
        return QStringLiteral("\"%1\" is no count; right is a whole number from 1 to %2")
            .arg(text)
            .arg(HIGHEST_COUNT);
    }
    return QString();
}

QString unknownRegister(const QString& name, const Catalogue& catalogue) {
    return QStringLiteral("\"%1\" is no register; the registers are %2")
        .arg(name, catalogue.names());
}

/// Reads the rows of one file; a row with a fault leaves an error and no tag.
class Reader {
public:
    Reader(const QByteArray& csv, const Catalogue& catalogue)
        : m_catalogue(catalogue),
          m_table(parseCsv(csv),
                  {QStringLiteral("name"), QStringLiteral("register"), QStringLiteral("address"),
                   QStringLiteral("type")},
                  {QStringLiteral("count"), QStringLiteral("unit"), QStringLiteral("comment")},
                  &m_list.errors) {}

    TagList read() {
        if (!m_list.errors.isEmpty()) {
            return m_list;
        }
        if (m_table.rows().isEmpty()) {
            m_list.errors.append({2, 1, QStringLiteral("no tag; a line names a tag each")});
        }
        for (const CsvRow& row : m_table.rows()) {
            if (m_list.errors.full()) {
                break;
            }
            readRow(row);
        }
        return m_list;
    }

private:
    bool fault(const CsvField& field, const QString& column, const QString& text) {
        if (!text.isEmpty()) {
            m_list.errors.append({field.line, field.column, column + QStringLiteral(": ") + text});
        }
        return !text.isEmpty();
    }

    void readRow(const CsvRow& row) {
        const auto field = [&](const char* column) {
            return m_table.field(row, QString::fromLatin1(column));
        };
        Tag tag;
        const CsvField name = field("name");
        const CsvField reg = field("register");
        const RegisterInfo* info = m_catalogue.find(reg.text);
        tag.name = name.text;
        bool bad = fault(name, QStringLiteral("name"), nameFault(name.text));
        bad |= fault(field("unit"), QStringLiteral("unit"), oneLineFault(field("unit").text));
        bad |= fault(field("count"), QStringLiteral("count"),
                     parseCount(field("count").text, &tag.count));
        bad |= fault(reg, QStringLiteral("register"),
                     info ? QString() : unknownRegister(reg.text, m_catalogue));
        if (info == nullptr) {
            return;
        }
        bad |= fault(field("type"), QStringLiteral("type"),
                     chooseType(field("type").text, *info, &tag.type));
        if (bad) {
            return;
        }
        const AddressVerdict verdict =
            m_catalogue.check(*info, field("address").text, tag.itemCount());
        if (fault(field("address"), QStringLiteral("address"), verdict.text)) {
            return;
        }
        tag.reg = info->name;
        tag.bitRegister = info->bit;
        tag.address = verdict.address;
        tag.unit = field("unit").text;
        tag.comment = field("comment").text;
        m_list.tags.append(tag);
    }

    QString nameFault(const QString& name) {
        if (name.isEmpty()) {
            return QStringLiteral("is empty; a tag has a name of its own");
        }
        if (m_names.contains(name)) {
            return QStringLiteral("\"%1\" is there twice; a tag has a name of its own").arg(name);
        }
        m_names.insert(name);
        return oneLineFault(name);
    }

    const Catalogue& m_catalogue;
    TagList m_list;
    CsvTable m_table;
    QSet<QString> m_names;
};

} // namespace

TagList readTags(const QByteArray& csv, const Catalogue& catalogue) {
    return Reader(csv, catalogue).read();
}

QString parseTagArgument(const QString& argument, const QString& type, const Catalogue& catalogue,
                         Tag* tag) {
    const QStringList parts = argument.split(QLatin1Char(':'));
    if (parts.size() < 2 || parts.size() > 3) {
        return QStringLiteral("\"%1\" is no tag; right is REGISTER:ADDRESS or "
                              "REGISTER:ADDRESS:COUNT, for example DM:100:4")
            .arg(argument);
    }
    const RegisterInfo* info = catalogue.find(parts.at(0));
    if (info == nullptr) {
        return unknownRegister(parts.at(0), catalogue);
    }
    QString fault = chooseType(type, *info, &tag->type);
    if (fault.isEmpty()) {
        fault = parseCount(parts.value(2), &tag->count);
    }
    if (!fault.isEmpty()) {
        return fault;
    }
    const AddressVerdict verdict = catalogue.check(*info, parts.at(1), tag->itemCount());
    tag->name = argument;
    tag->reg = info->name;
    tag->bitRegister = info->bit;
    tag->address = verdict.address;
    return verdict.text;
}

} // namespace panel

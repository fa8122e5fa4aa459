#include "panel/files/tag_file.h"

#include <QtCore/QPair>
#include <QtCore/QSet>

#include <algorithm>
#include <cmath>

namespace panel {
namespace {

const int HIGHEST_COUNT = 32768;
const int MOST_DECIMALS = 9;

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
            .arg(text, QString::number(HIGHEST_COUNT));
    }
    return QString();
}

QString unknownRegister(const QString& name, const Catalogue& catalogue) {
    return QStringLiteral("\"%1\" is no register; the registers are %2")
        .arg(name, catalogue.names());
}

QString parseNumber(const QString& text, std::optional<double>* value) {
    if (text.isEmpty()) {
        return QString();
    }
    bool ok = false;
    const double number = text.toDouble(&ok);
    if (!ok || !std::isfinite(number)) {
        return QStringLiteral("\"%1\" is no number; right is one such as 0.1").arg(text);
    }
    *value = number;
    return QString();
}

QString parseDecimals(const QString& text, int* decimals) {
    if (text.isEmpty()) {
        return QString();
    }
    bool ok = false;
    *decimals = text.toInt(&ok);
    return ok && *decimals >= 0 && *decimals <= MOST_DECIMALS
               ? QString()
               : QStringLiteral("\"%1\": right is a whole number from 0 to %2")
                     .arg(text, QString::number(MOST_DECIMALS));
}

/// Without a name the only PLC is meant. With several there is no such one; plcFault() says so.
QString plcNamed(const QString& name, const QStringList& plcs) {
    return name.isEmpty() && plcs.size() == 1 ? plcs.first() : name;
}

QString plcFault(const QString& name, const QStringList& plcs) {
    if (plcs.contains(name)) {
        return QString();
    }
    if (plcs == QStringList(QString())) {
        return QStringLiteral("\"%1\" is no PLC; --plc %1=HOST[:PORT] names one").arg(name);
    }
    return QStringLiteral("\"%1\" is no PLC; the PLCs are %2")
        .arg(name, plcs.join(QStringLiteral(", ")));
}

/// Reads the rows of one file; a row with a fault leaves an error and no tag.
class Reader {
public:
    Reader(const QByteArray& csv, const Catalogue& catalogue, const QStringList& plcs)
        : m_catalogue(catalogue), m_plcs(plcs),
          m_table(parseCsv(csv),
                  {QStringLiteral("name"), QStringLiteral("register"), QStringLiteral("address"),
                   QStringLiteral("type")},
                  {QStringLiteral("count"), QStringLiteral("unit"), QStringLiteral("comment"),
                   QStringLiteral("plc"), QStringLiteral("scale"), QStringLiteral("offset"),
                   QStringLiteral("decimals"), QStringLiteral("low"), QStringLiteral("high")},
                  &m_list.errors) {}

    TagList read() {
        if (!m_list.errors.isEmpty()) {
            return m_list;
        }
        if (m_plcs.size() > 1 && !m_table.has(QStringLiteral("plc"))) {
            m_list.errors.append(
                {1, 1,
                 QStringLiteral("there is no column plc; with several PLCs it says "
                                "whose each tag is: %1")
                     .arg(m_plcs.join(QStringLiteral(", ")))});
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
        PanelTag tag;
        const CsvField name = field("name");
        const CsvField reg = field("register");
        const RegisterInfo* info = m_catalogue.find(reg.text);
        tag.tag.name = name.text;
        tag.plc = plcNamed(field("plc").text, m_plcs);
        bool bad = fault(name, QStringLiteral("name"), nameFault(name.text, tag.plc));
        bad |= fault(field("unit"), QStringLiteral("unit"), oneLineFault(field("unit").text));
        bad |= fault(field("plc"), QStringLiteral("plc"), plcFault(tag.plc, m_plcs));
        bad |= fault(field("count"), QStringLiteral("count"),
                     parseCount(field("count").text, &tag.tag.count));
        bad |= fault(reg, QStringLiteral("register"),
                     info ? QString() : unknownRegister(reg.text, m_catalogue));
        if (info == nullptr) {
            return;
        }
        bad |= fault(field("type"), QStringLiteral("type"),
                     chooseType(field("type").text, *info, &tag.tag.type));
        if (bad || readNumbers(row, &tag)) {
            return;
        }
        const AddressVerdict verdict =
            m_catalogue.check(*info, field("address").text, tag.tag.itemCount());
        if (fault(field("address"), QStringLiteral("address"), verdict.text)) {
            return;
        }
        tag.tag.reg = info->name;
        tag.tag.address = verdict.address;
        tag.tag.unit = field("unit").text;
        tag.comment = field("comment").text;
        m_list.tags.append(tag);
    }

    /// A line that was cut would lose scale or limits, and nobody would notice.
    bool lineEndsEarly(const CsvRow& row) {
        for (const char* name : {"scale", "offset", "decimals", "low", "high"}) {
            if (m_table.endsBefore(row, QString::fromLatin1(name))) {
                return fault(row.fields.last(), QString::fromLatin1(name),
                             QStringLiteral("the line ends before it; right is a comma for each "
                                            "field that is left empty"));
            }
        }
        return false;
    }

    /// Scale, offset, decimals and limits. True: one of them is wrong.
    bool readNumbers(const CsvRow& row, PanelTag* tag) {
        const auto column = [&](const char* name) {
            return m_table.field(row, QString::fromLatin1(name));
        };
        bool bad = lineEndsEarly(row);
        bool given = false;
        const auto number = [&](const char* name, std::optional<double>* value) {
            const CsvField field = column(name);
            given = given || !field.text.isEmpty();
            bad |= fault(field, QString::fromLatin1(name), parseNumber(field.text, value));
        };
        Scaling& scaling = tag->tag.scaling;
        std::optional<double> scale;
        std::optional<double> offset;
        number("scale", &scale);
        number("offset", &offset);
        number("low", &tag->tag.limits.low);
        number("high", &tag->tag.limits.high);
        scaling.scale = scale.value_or(1);
        scaling.offset = offset.value_or(0);
        const CsvField decimals = column("decimals");
        given = given || !decimals.text.isEmpty();
        bad |= fault(decimals, QStringLiteral("decimals"),
                     parseDecimals(decimals.text, &scaling.decimals));
        if (scaling.scale == 0) {
            bad |= fault(column("scale"), QStringLiteral("scale"),
                         QStringLiteral("is 0; right is any other number"));
        }
        if (given && !canBeScaled(tag->tag.type)) {
            bad |= fault(column("type"), QStringLiteral("type"),
                         QStringLiteral("%1 has no scale, offset, decimals or limits; numbers have")
                             .arg(valueTypeName(tag->tag.type)));
        }
        if (tag->tag.limits.low && tag->tag.limits.high &&
            *tag->tag.limits.low > *tag->tag.limits.high) {
            bad |= fault(column("low"), QStringLiteral("low"),
                         QStringLiteral("lies above high; right is a low that does not"));
        }
        return bad;
    }

    QString nameFault(const QString& name, const QString& plc) {
        if (name.isEmpty()) {
            return QStringLiteral("is empty; a tag has a name of its own");
        }
        if (m_names.contains({plc, name})) {
            return QStringLiteral("\"%1\" is there twice; a tag has a name of its own").arg(name);
        }
        m_names.insert({plc, name});
        return oneLineFault(name);
    }

    const Catalogue& m_catalogue;
    const QStringList m_plcs;
    TagList m_list;
    CsvTable m_table;
    QSet<QPair<QString, QString>> m_names; ///< PLC and name
};

} // namespace

TagList readTags(const QByteArray& csv, const Catalogue& catalogue, const QStringList& plcs) {
    return Reader(csv, catalogue, plcs).read();
}

QString parseTagArgument(const QString& argument, const QString& type, const Catalogue& catalogue,
                         const QStringList& plcs, PanelTag* tag) {
    const auto slash = argument.indexOf(QLatin1Char('/'));
    tag->plc = plcNamed(argument.left(std::max<decltype(slash)>(slash, 0)), plcs);
    const QStringList parts = argument.mid(slash + 1).split(QLatin1Char(':'));
    if (parts.size() < 2 || parts.size() > 3) {
        return QStringLiteral("\"%1\" is no tag; right is REGISTER:ADDRESS or "
                              "REGISTER:ADDRESS:COUNT, for example DM:100:4")
            .arg(argument);
    }
    const QString wrongPlc = plcFault(tag->plc, plcs);
    if (!wrongPlc.isEmpty()) {
        return QStringLiteral("\"%1\": %2; right is PLC/REGISTER:ADDRESS").arg(argument, wrongPlc);
    }
    const RegisterInfo* info = catalogue.find(parts.at(0));
    if (info == nullptr) {
        return unknownRegister(parts.at(0), catalogue);
    }
    QString fault = chooseType(type, *info, &tag->tag.type);
    if (fault.isEmpty()) {
        fault = parseCount(parts.value(2), &tag->tag.count);
    }
    if (!fault.isEmpty()) {
        return fault;
    }
    const AddressVerdict verdict = catalogue.check(*info, parts.at(1), tag->tag.itemCount());
    tag->tag.name = argument;
    tag->tag.reg = info->name;
    tag->tag.address = verdict.address;
    return verdict.text;
}

} // namespace panel

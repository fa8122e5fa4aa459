#include "panel/commands/commands.h"
#include "panel/context/named_files.h"
#include "panel/context/open_lines.h"
#include "panel/context/tag_arguments.h"
#include "panel/output/outcome_text.h"
#include "panel/output/output.h"
#include "panel/process/end_signals.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace panel {
namespace {

/// REGISTER and ADDRESS with a type and a count of values.
QString parseTarget(const Context& context, int count, Tag* tag) {
    const QStringList& arguments = context.options.arguments;
    const RegisterInfo* info = context.registers.find(arguments.at(0));
    if (info == nullptr) {
        return QStringLiteral("\"%1\" is no register; the registers are %2")
            .arg(arguments.at(0), context.registers.names());
    }
    tag->type = info->bit ? ValueType::Bool : ValueType::Uint16;
    if (!context.options.type.isEmpty()) {
        tag->type = *valueTypeFromName(context.options.type);
        if (!typeFitsRegister(tag->type, info->bit)) {
            return QStringLiteral("--type %1 does not fit %2; bit registers hold bool, word "
                                  "registers everything else")
                .arg(context.options.type, info->name);
        }
    }
    tag->reg = info->name;
    tag->count = count;
    const AddressVerdict verdict =
        context.registers.check(*info, arguments.at(1), tag->itemCount());
    tag->address = verdict.address;
    return verdict.text;
}

void printValues(const Context& context, const Tag& tag, const Items& items) {
    const bool text = tag.type == ValueType::String;
    const bool quoted = text || tag.type == ValueType::Hex;
    const int step = text ? static_cast<int>(items.size()) : itemsPerValue(tag.type);
    QVector<Record> records;
    for (int at = 0; at + step <= items.size(); at += step) {
        Cell value(formatItems(tag.type, items.mid(at, step)));
        value.number = !quoted && numericValue(tag.type, items.mid(at, step)).has_value();
        records.append({tag.reg, addressText(tag.address + at, tag.bitRegister()), value});
    }
    printRecords(context.out, context.options.format,
                 {QStringLiteral("register"), QStringLiteral("address"), QStringLiteral("value")},
                 records);
}

} // namespace

int runRead(const Context& context) {
    int count = 1;
    if (context.options.arguments.size() > 2) {
        bool ok = false;
        count = context.options.arguments.at(2).toInt(&ok);
        if (!ok || count < 1 || count > 100000) {
            return context.fail(EXIT_WRONG_USAGE,
                                QStringLiteral("COUNT \"%1\": right is a whole number from 1 to "
                                               "100000")
                                    .arg(context.options.arguments.at(2)));
        }
    }
    Tag tag;
    const QString wrong = parseTarget(context, count, &tag);
    if (!wrong.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, wrong);
    }
    OpenLines lines(context);
    if (lines.exitCode() != EXIT_DONE) {
        return lines.exitCode();
    }
    Line& line = lines.only();
    line.onRead = [&](const ReadOutcome& outcome) {
        if (outcome.ok) {
            printValues(context, tag, outcome.items);
        } else {
            context.fail(EXIT_WORK_FAILED,
                         failureText(outcome.last, line.settings(), line.nodes(), optionNames()));
        }
        QCoreApplication::exit(outcome.ok ? EXIT_DONE : EXIT_WORK_FAILED);
    };
    QString fault;
    if (line.read(tag.reg, tag.address, tag.itemCount(), &fault) == 0) {
        return context.fail(EXIT_WRONG_USAGE, fault);
    }
    const int exitCode = QCoreApplication::exec();
    return lines.close(exitCode);
}

namespace {

/// What a write command writes, and to which of the PLCs.
struct WriteTarget {
    QString reg;
    int address = 0;
    Items items;
    int line = 0;
    QString name; ///< of the tag; empty when a register was given
};

/// write REGISTER ADDRESS VALUE...
int parseRegisterWrite(const Context& context, WriteTarget* target) {
    Tag tag;
    QString wrong = parseTarget(context, 1, &tag);
    if (wrong.isEmpty()) {
        wrong = parseValues(tag.type, context.options.arguments.mid(2), 0, &target->items);
    }
    if (wrong.isEmpty()) {
        const RegisterInfo* info = context.registers.find(tag.reg);
        wrong = context.registers
                    .check(*info, context.options.arguments.at(1),
                           static_cast<int>(target->items.size()))
                    .text;
    }
    target->reg = tag.reg;
    target->address = tag.address;
    return wrong.isEmpty() ? int(EXIT_DONE) : context.fail(EXIT_WRONG_USAGE, wrong);
}

int lineNamed(const Context& context, const QString& plc) {
    for (int index = 0; index < context.options.plcs.size(); ++index) {
        if (context.options.plcs.at(index).name == plc) {
            return index;
        }
    }
    return 0;
}

/// The one tag of that name, or of PLC/NAME. The result is empty or says what would be right.
QString findTag(const QVector<PanelTag>& tags, const QString& name, PanelTag* found) {
    QStringList full;
    for (const PanelTag& tag : tags) {
        const QString withPlc = tag.plc + QLatin1Char('/') + tag.tag.name;
        if (tag.tag.name == name || withPlc == name) {
            full.append(withPlc);
            *found = tag;
        }
    }
    if (full.isEmpty()) {
        return QStringLiteral(" has no tag \"") + name + QLatin1Char('"');
    }
    return full.size() == 1 ? QString()
                            : QStringLiteral(" has \"") + name +
                                  QStringLiteral("\" for several PLCs; right is ") +
                                  full.join(QStringLiteral(" or "));
}

/// write TAGS.csv NAME VALUE...
int parseTagWrite(const Context& context, WriteTarget* target) {
    const QStringList& arguments = context.options.arguments;
    QVector<PanelTag> tags;
    const int exitCode = loadTagFile(context, arguments.at(0), &tags);
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    PanelTag tag;
    const QString wrongName = findTag(tags, arguments.at(1), &tag);
    if (!wrongName.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, arguments.at(0) + wrongName);
    }
    const QString wrong = parseTagValues(tag.tag, arguments.mid(2), &target->items,
                                         context.options.force, QStringLiteral("--force"));
    target->reg = tag.tag.reg;
    target->address = tag.tag.address;
    target->line = lineNamed(context, tag.plc);
    target->name = tag.tag.name;
    return wrong.isEmpty() ? int(EXIT_DONE) : context.fail(EXIT_WRONG_USAGE, wrong);
}

/// On standard output: for people what was written, for programs what became of the write.
void printOutcome(const Context& context, const WriteTarget& target, const OpenLines& lines,
                  const WriteOutcome& outcome) {
    const PlcLine& plc = lines.at(target.line);
    const LineSettings& settings = plc.line->settings();
    if (context.options.format != OutputFormat::Table) {
        const QString where = plc.name.isEmpty() ? endpointText(settings.plc) : plc.name;
        printRecords(context.out, context.options.format, writeColumns(),
                     {writeRecord(outcome, settings, where, target.name, optionNames())});
    } else if (outcome.result == WriteResult::Taken) {
        context.out << "written: " << (lines.size() > 1 ? plc.name + QLatin1Char('/') : QString())
                    << requestText(outcome.reg, outcome.address, outcome.count) << '\n';
        context.out.flush();
    }
}

/// On standard error: what went wrong, and what the PLC may hold of it.
void explainOutcome(const Context& context, const WriteTarget& target, const OpenLines& lines,
                    const WriteOutcome& outcome, bool interrupted) {
    const PlcLine& plc = lines.at(target.line);
    if (!interrupted) {
        context.note(
            (lines.size() > 1 ? plc.name + QStringLiteral(": ") : QString()) +
            failureText(outcome.last, plc.line->settings(), plc.line->nodes(), optionNames()));
    }
    for (const QString& text : interrupted ? interruptedText(outcome) : leftBehind(outcome)) {
        context.note(text);
    }
}

} // namespace

int runWrite(const Context& context) {
    WriteTarget target;
    const bool byTag = namesFile(context.options.arguments.first());
    if (!byTag && context.options.plcs.size() > 1) {
        return context.fail(
            EXIT_WRONG_USAGE,
            QStringLiteral("--plc is given %1 times; write REGISTER ADDRESS takes one "
                           "PLC, write TAGS.csv NAME takes the tag's")
                .arg(context.options.plcs.size()));
    }
    int wrong = EXIT_DONE;
    {
        const EndSignalsReleased released; // a pipe may have to be waited for
        wrong = byTag ? parseTagWrite(context, &target) : parseRegisterWrite(context, &target);
    }
    if (wrong != EXIT_DONE) {
        return wrong;
    }
    OpenLines lines(context);
    if (lines.exitCode() != EXIT_DONE) {
        return lines.exitCode();
    }
    Line& line = *lines.at(target.line).line;
    bool interrupted = false;
    EndSignals ending;
    ending.onEnd = [&] {
        interrupted = true;
        line.close(); // which settles the write as far as it can be known
    };
    const QString deaf = ending.open();
    if (!deaf.isEmpty()) {
        return context.fail(EXIT_WORK_FAILED, deaf);
    }
    ModeChangeNotes notes(QStringLiteral("writing once more"), true);
    line.onRequest = [&](const RequestEnd& end) { context.note(notes.of(end)); };
    line.onWrite = [&](const WriteOutcome& outcome) {
        const bool taken = outcome.result == WriteResult::Taken;
        printOutcome(context, target, lines, outcome);
        if (!taken) {
            explainOutcome(context, target, lines, outcome, interrupted);
        }
        QCoreApplication::exit(taken ? EXIT_DONE : EXIT_WORK_FAILED);
    };
    QString fault;
    if (line.write(target.reg, target.address, target.items, &fault) == 0) {
        return context.fail(EXIT_WRONG_USAGE, fault);
    }
    const int exitCode = QCoreApplication::exec();
    return lines.close(exitCode);
}

} // namespace panel

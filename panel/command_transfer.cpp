#include "panel/advice.h"
#include "panel/commands.h"

#include <velkor/host/end_codes.h>

#include <QtCore/QCoreApplication>

namespace panel {
namespace {

/// REGISTER and ADDRESS with a type and a count of values.
QString parseTarget(const Context& context, int count, Tag* tag) {
    const QStringList& arguments = context.options.arguments;
    const RegisterInfo* info = context.catalogue.find(arguments.at(0));
    if (info == nullptr) {
        return QStringLiteral("\"%1\" is no register; the registers are %2")
            .arg(arguments.at(0), context.catalogue.names());
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
    tag->bitRegister = info->bit;
    tag->count = count;
    const AddressVerdict verdict =
        context.catalogue.check(*info, arguments.at(1), tag->itemCount());
    tag->address = verdict.address;
    return verdict.text;
}

/// Runs the event loop until the session's read or write has ended.
int runUntilDone(const Context& context, Session& session) {
    session.onTransferEnd = [&](const TransferEnd& end) {
        if (!end.ok) {
            context.fail(EXIT_WORK_FAILED,
                         failureText(end.last, session.settings(), session.nodes()));
            for (const QString& line : leftBehind(end)) {
                context.fail(EXIT_WORK_FAILED, line);
            }
        }
        QCoreApplication::exit(end.ok ? EXIT_DONE : EXIT_WORK_FAILED);
    };
    return QCoreApplication::exec();
}

void printValues(const Context& context, const Tag& tag, const Items& items) {
    const bool text = tag.type == ValueType::String;
    const bool quoted = text || tag.type == ValueType::Hex;
    const int step = text ? static_cast<int>(items.size()) : itemsPerValue(tag.type);
    QVector<Record> records;
    for (int at = 0; at + step <= items.size(); at += step) {
        Cell value(formatItems(tag.type, items.mid(at, step)));
        value.number = !quoted && numericValue(tag.type, items.mid(at, step)).has_value();
        records.append({tag.reg, addressText(tag.address + at, tag.bitRegister), value});
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
    OpenSession session(context);
    if (session.exitCode() != EXIT_DONE) {
        return session.exitCode();
    }
    // Bits are asked for as the words that hold them all: the driver counts the words of a bit
    // range from the first one's bit 0.
    session->read(wordsHolding(tag));
    const int exitCode = runUntilDone(context, *session);
    if (exitCode == EXIT_DONE) {
        printValues(context, tag, session->items(tag.reg, tag.address, tag.itemCount()));
    }
    return exitCode;
}

int runWrite(const Context& context) {
    Tag tag;
    QString wrong = parseTarget(context, 1, &tag);
    Items items;
    if (wrong.isEmpty()) {
        wrong = parseValues(tag.type, context.options.arguments.mid(2), 0, &items);
    }
    if (wrong.isEmpty()) {
        const RegisterInfo* info = context.catalogue.find(tag.reg);
        wrong = context.catalogue
                    .check(*info, context.options.arguments.at(1), static_cast<int>(items.size()))
                    .text;
    }
    if (!wrong.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, wrong);
    }
    OpenSession session(context);
    if (session.exitCode() != EXIT_DONE) {
        return session.exitCode();
    }
    session->onWrittenAgain = [&](const Settled& settled) {
        context.err << "velkor-panel: " << requestText(settled) << " was refused ("
                    << endCodeText(settled.refusalBeforeModeChange)
                    << "); the driver has asked for MONITOR mode, writing once more\n";
        context.err.flush();
    };
    session->write(tag.reg, tag.address, items);
    const int exitCode = runUntilDone(context, *session);
    if (exitCode == EXIT_DONE) {
        context.out << "written: "
                    << requestText(tag.reg, tag.address, static_cast<int>(items.size())) << '\n';
        context.out.flush();
    }
    return exitCode;
}

} // namespace panel

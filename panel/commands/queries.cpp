#include "panel/commands/commands.h"
#include "panel/output/output.h"

namespace panel {

namespace {

int unknownRegister(const Context& context) {
    return context.fail(EXIT_WRONG_USAGE,
                        QStringLiteral("\"%1\" is no register; the registers are %2")
                            .arg(context.options.arguments.first(), context.registers.names()));
}

/// A whole number among the arguments.
bool wholeArgument(const Context& context, int index, int* value) {
    bool ok = false;
    *value = context.options.arguments.at(index).toInt(&ok);
    return ok;
}

} // namespace

int runRegisters(const Context& context) {
    QVector<Record> records;
    for (const RegisterInfo& info : context.registers.registers()) {
        records.append(
            {info.name, info.bit ? "bit" : "word", info.format, info.lowest, info.highest});
    }
    printRecords(context.out, context.options.format,
                 {QStringLiteral("register"), QStringLiteral("kind"), QStringLiteral("format"),
                  QStringLiteral("lowest"), QStringLiteral("highest")},
                 records);
    return EXIT_DONE;
}

int runCheck(const Context& context) {
    const QStringList& arguments = context.options.arguments;
    const RegisterInfo* info = context.registers.find(arguments.at(0));
    if (info == nullptr) {
        return unknownRegister(context);
    }
    int count = 1;
    if (arguments.size() > 2 && !wholeArgument(context, 2, &count)) {
        return context.fail(EXIT_WRONG_USAGE,
                            QStringLiteral("COUNT \"%1\" is no whole number").arg(arguments.at(2)));
    }
    const AddressVerdict verdict = context.registers.check(*info, arguments.at(1), count);
    if (!verdict.valid) {
        return context.fail(EXIT_WORK_FAILED, verdict.text);
    }
    printRecords(context.out, context.options.format,
                 {QStringLiteral("register"), QStringLiteral("address"), QStringLiteral("count"),
                  QStringLiteral("number"), QStringLiteral("result")},
                 {{info->name, arguments.at(1), count, verdict.address, "valid"}});
    return EXIT_DONE;
}

int runLayout(const Context& context) {
    const QStringList& arguments = context.options.arguments;
    const RegisterInfo* info = context.registers.find(arguments.at(0));
    if (info == nullptr) {
        return unknownRegister(context);
    }
    int count = 0;
    int step = 0;
    if (!wholeArgument(context, 2, &count) || count < 1 || count > 100000 ||
        !wholeArgument(context, 3, &step)) {
        return context.fail(EXIT_WRONG_USAGE,
                            QStringLiteral("right is COUNT from 1 to 100000 and a whole number for "
                                           "STEP, in %1, which may be 0 or negative")
                                .arg(info->bit ? QStringLiteral("bits") : QStringLiteral("words")));
    }
    const AddressVerdict start = context.registers.check(*info, arguments.at(1), 1);
    const AddressVerdict lowest = context.registers.check(*info, info->lowest, 1);
    if (!start.valid) {
        return context.fail(EXIT_WRONG_USAGE, start.text);
    }
    // The driver looks at the highest address only.
    if (start.address + qint64(step) * (count - 1) < lowest.address) {
        return context.fail(EXIT_WORK_FAILED,
                            QStringLiteral("%1 steps of %2 from %3 %4 fall below the register; %5")
                                .arg(count - 1)
                                .arg(step)
                                .arg(info->name, arguments.at(1), Catalogue::rangeText(*info)));
    }
    bool cut = false;
    QVector<Record> records;
    for (const DriverRegisters::Address& address :
         context.registers.layout(info->name, start.address, count, step, &cut)) {
        records.append({info->name, address.text, address.address});
    }
    printRecords(context.out, context.options.format,
                 {QStringLiteral("register"), QStringLiteral("address"), QStringLiteral("number")},
                 records);
    if (cut) {
        context.err
            << "velkor-panel: addresses beyond the register's end were replaced by its last, "
            << info->highest << '\n';
        context.err.flush();
    }
    return EXIT_DONE;
}

} // namespace panel

#include "panel/context/tag_arguments.h"

#include "panel/files/file_access.h"
#include "panel/files/tag_file.h"

namespace panel {
namespace {

QStringList plcNames(const Context& context) {
    QStringList names;
    for (const PlcOption& plc : context.options.plcs) {
        names.append(plc.name);
    }
    return names;
}

} // namespace

int loadTagFile(const Context& context, const QString& path, QVector<PanelTag>* tags) {
    QByteArray csv;
    const QString unreadable = readFile(path, &csv);
    if (!unreadable.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE,
                            unreadable + QStringLiteral("; right is a file of tags, or "
                                                        "REGISTER:ADDRESS[:COUNT]..."));
    }
    const TagList list = readTags(csv, context.registers, plcNames(context));
    *tags = list.tags;
    return list.errors.isEmpty() ? int(EXIT_DONE) : failWithErrors(context, path, list.errors);
}

int loadTags(const Context& context, QVector<PanelTag>* tags) {
    const QStringList& arguments = context.options.arguments;
    if (arguments.size() == 1 && !arguments.first().contains(QLatin1Char(':'))) {
        return loadTagFile(context, arguments.first(), tags);
    }
    for (const QString& argument : arguments) {
        PanelTag tag;
        const QString wrong = parseTagArgument(argument, context.options.type, context.registers,
                                               plcNames(context), &tag);
        if (!wrong.isEmpty()) {
            return context.fail(EXIT_WRONG_USAGE, wrong);
        }
        tags->append(tag);
    }
    return EXIT_DONE;
}

} // namespace panel

#include "panel/context/named_files.h"

#include "panel/files/file_access.h"

#include <unistd.h>

namespace panel {
namespace {

struct NamedFile {
    QString what; ///< as the user named it: "--pcap", "the recipe"
    QString path;
    bool written = false;
};

/// A file is told from a register by its name, as the commands do.
bool mayBeFile(const QString& argument) {
    return !argument.contains(QLatin1Char(':'));
}

QVector<NamedFile> namedFiles(const Options& options) {
    const bool recipe = options.command == QLatin1String("recipe");
    const bool upload = recipe && options.arguments.value(0) == QLatin1String("upload");
    QVector<NamedFile> files;
    files.append({QStringLiteral("--pcap"), options.capture, true});
    files.append({QStringLiteral("--values"), recipe ? options.values : QString(), upload});
    files.append({QStringLiteral("--library"), options.library, false});
    const QString argument = options.arguments.value(recipe ? 1 : 0);
    if (recipe) {
        files.append({QStringLiteral("the recipe"), argument, false});
    } else if ((options.command == QLatin1String("watch") && mayBeFile(argument)) ||
               (options.command == QLatin1String("write") && namesFile(argument))) {
        files.append({QStringLiteral("the tags"), argument, false});
    }
    return files;
}

/// The shell may have opened the capture's file for what is printed. Values may go there: then they
/// are printed.
QString clashWithOutput(const Options& options) {
    const QString one = QStringLiteral("--pcap \"%1\" and %2 are one file; right are two");
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        if (!options.capture.isEmpty() && isOpenFile(options.capture, descriptor)) {
            return one.arg(options.capture, descriptor == STDOUT_FILENO
                                                ? QStringLiteral("standard output")
                                                : QStringLiteral("standard error"));
        }
    }
    return QString();
}

} // namespace

bool namesFile(const QString& argument) {
    return argument.contains(QLatin1Char('.')) || argument.contains(QLatin1Char('/'));
}

QString clashOfFiles(const Options& options) {
    const QVector<NamedFile> files = namedFiles(options);
    for (int first = 0; first < files.size(); ++first) {
        for (int second = first + 1; second < files.size(); ++second) {
            const NamedFile& one = files.at(first);
            const NamedFile& other = files.at(second);
            if (!one.path.isEmpty() && !other.path.isEmpty() && (one.written || other.written) &&
                isSameFile(one.path, other.path)) {
                return QStringLiteral("%1 \"%2\" and %3 \"%4\" are one file; right are two")
                    .arg(one.what, one.path, other.what, other.path);
            }
        }
    }
    return clashWithOutput(options);
}

} // namespace panel

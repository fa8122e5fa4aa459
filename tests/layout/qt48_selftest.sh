#!/usr/bin/env bash
# Shows that what Qt 4.8 has not does not compile against tests/qt48, and that what it has does.
# Usage: qt48_selftest.sh HEADERS CXX
set -eu
headers=$1
compiler=$2
failures=0

compiles() { # includes, statement
    {
        for header in $1; do
            echo "#include <QtCore/$header>"
        done
        echo "void test() { $2; }"
    } | "$compiler" -std=c++17 -fsyntax-only -isystem "$headers" -x c++ - 2>/dev/null
}
has() {
    compiles "$@" || { echo "Qt 4.8 has, and is refused: $2" >&2; failures=1; }
}
lacks() {
    compiles "$@" && { echo "Qt 4.8 has not, and is taken: $2" >&2; failures=1; }
    return 0
}

has QString 'QString text = QString::fromLatin1("%1").arg(1); text.section(QLatin1Char(44), 0, 1)'
has QStringList 'QStringList list; list.join(QLatin1String(","))'
has QVector 'QVector<int> numbers; numbers.append(1); numbers.pop_back()'
has QtGlobal 'qInstallMsgHandler(0)'
has QLibrary 'void* address = QLibrary(QString()).resolve("name"); (void)address'
has QTextStream 'QString text; QTextStream(&text) << 1 << QLatin1String("a")'

lacks QString 'QString text = QStringLiteral("text")'
lacks QString 'QString text = u"text"_qs'
lacks QtGlobal 'qInstallMessageHandler(nullptr)'
lacks QtGlobal 'QFunctionPointer address = nullptr; (void)address'
lacks QString 'QStringList list; list.size()'
lacks QStringList 'QStringList list; list.mid(0, 1).join(QLatin1String(","))'
lacks QStringList 'QStringList list; list.join(QLatin1Char(44))'
lacks QString 'QString().split(QLatin1Char(44), Qt::SkipEmptyParts)'
lacks QString 'QString::asprintf("%d", 1)'
lacks QString 'QString text; text.remove(0, 1).toStdU32String()'
lacks QVector 'QVector<int> numbers; numbers.removeLast()'
lacks QVector 'QVector<int> numbers; numbers.append(QVector<int>())'
lacks QList 'QList<int> numbers; numbers.constFirst()'
lacks QTimer 'QTimer timer; QObject::connect(&timer, &QTimer::timeout, [] {})'
lacks QtGlobal 'qInfo("text")'
lacks QtGlobal 'qBound(0, qint64(1), 2)'
exit $failures

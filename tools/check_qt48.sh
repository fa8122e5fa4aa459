#!/usr/bin/env bash
# Builds what has to build with Qt 4.8 (the driver, its tests, the small host) by the preset qt4,
# against a Qt 4.8 that has nothing but the declarations of tests/qt48. So API that is newer is noticed
# here, where no Qt 4.8 can be had. Nothing of it can run. Usage: tools/check_qt48.sh [build folder]
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/qt48}
mkdir -p "$build"
qt=$(realpath "$build")/qt

# A Qt as CMake's FindQt4 looks for one: a qmake that knows the folders, headers, a library.
mkdir -p "$qt/bin" "$qt/include" "$qt/lib" "$qt/mkspecs/default" "$qt/plugins"
ln -sfn "$PWD/tests/qt48/QtCore" "$qt/include/QtCore"
: >"$qt/mkspecs/qconfig.pri"
cat >"$qt/bin/qmake" <<QMAKE
#!/bin/sh
case \$2 in
QT_VERSION) echo 4.8.7 ;;
QT_INSTALL_PREFIX | QT_INSTALL_DATA) echo "$qt" ;;
QT_INSTALL_HEADERS) echo "$qt/include" ;;
QT_INSTALL_LIBS) echo "$qt/lib" ;;
QT_INSTALL_BINS) echo "$qt/bin" ;;
QT_INSTALL_PLUGINS) echo "$qt/plugins" ;;
QMAKE_MKSPECS) echo "$qt/mkspecs" ;;
*) echo "**Unknown**" ;;
esac
QMAKE
for tool in moc rcc uic; do
    printf '#!/bin/sh\necho "%s of no Qt" >&2\nexit 1\n' "$tool" >"$qt/bin/$tool"
done
chmod +x "$qt"/bin/*
c++ -shared -Wl,-soname,libQtCore.so.4 -o "$qt/lib/libQtCore.so" -x c++ /dev/null

# Without warnings, which are about these headers: they only declare. Linked, although the functions
# are nowhere, so that the link commands are tried too.
cmake --preset qt4 -B "$build" -DCMAKE_CXX_FLAGS=-w -DQT_QMAKE_EXECUTABLE="$qt/bin/qmake" \
    -DCMAKE_EXE_LINKER_FLAGS=-Wl,--unresolved-symbols=ignore-all \
    -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST
cmake --build "$build"

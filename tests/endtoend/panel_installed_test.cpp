// The installed programs, in a prefix of the test's own.

#include "endtoend/programs.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <dlfcn.h>

namespace {

class PanelInstalled : public Programs {
protected:
    void install() {
        QProcess cmake;
        cmake.start(VELKOR_CMAKE, {"--install", VELKOR_BUILD, "--prefix", prefix()});
        ASSERT_TRUE(cmake.waitForFinished(PATIENCE_MS));
        ASSERT_EQ(cmake.exitCode(), 0) << cmake.readAllStandardError().toStdString();
    }

    QString prefix() const { return path("prefix"); }
    QString installedPanel() const { return prefix() + "/" VELKOR_BINDIR "/velkor-panel"; }

    static Ended registers(const QString& program) {
        QProcess process;
        process.start(program, {"registers", "--format", "csv"});
        Ended ended;
        if (process.waitForFinished(PATIENCE_MS)) {
            ended.exitCode = process.exitCode();
        }
        ended.out = QString::fromUtf8(process.readAllStandardOutput());
        ended.err = QString::fromUtf8(process.readAllStandardError());
        return ended;
    }

    void removeInstalledLibrary() {
        QDirIterator files(prefix(), {"libvelkor.so*"}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            ASSERT_TRUE(QFile::remove(files.next()));
        }
    }
};

TEST_F(PanelInstalled, registers_anyPrefix_findsTheInstalledLibrary) {
    install();
    const Ended ended = registers(installedPanel());
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(ended.out.contains("DM,word,ddddd,0,32767")) << plain(ended.out);
}

TEST_F(PanelInstalled, registers_prefixMovedElsewhere_findsTheLibraryThere) {
    install();
    ASSERT_TRUE(QDir().rename(prefix(), path("moved")));
    const Ended ended = registers(path("moved") + "/" VELKOR_BINDIR "/velkor-panel");
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
}

TEST_F(PanelInstalled, registers_libraryMissing_namesItAndThePlacesTried) {
    if (void* installed = dlopen("libvelkor.so.1", RTLD_LAZY)) {
        dlclose(installed);
        GTEST_SKIP() << "the system has a libvelkor.so.1, which is found";
    }
    install();
    removeInstalledLibrary();
    const Ended ended = registers(installedPanel());
    EXPECT_EQ(ended.exitCode, 1);
    const QString bin = QDir(prefix() + "/" VELKOR_BINDIR).canonicalPath();
    const QString lib = QDir(prefix() + "/" VELKOR_LIBDIR).canonicalPath();
    EXPECT_TRUE(ended.err.contains("there is no libvelkor.so.1 in " + bin + ", " + lib))
        << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("--library names its file")) << plain(ended.err);
}

} // namespace

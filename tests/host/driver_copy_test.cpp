// Private copies of the driver: their files, their states, and that nothing of them is left.

#include "host/driver/driver_copy.h"

#include <velkor/host/registers.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <unistd.h>

using namespace velkor_host;

namespace {

QString library() {
    return QStringLiteral(VELKOR_LIBRARY);
}

int mapsOf(const std::string& part) {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(part) != std::string::npos ? 1 : 0;
    }
    return count;
}

int openFiles() {
    return static_cast<int>(QDir("/proc/self/fd")
                                .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
                                .size());
}

/// Sets a variable of the environment for one test.
class Environment {
public:
    Environment(const char* name, const QByteArray& value) : m_name(name), m_before(qgetenv(name)) {
        qputenv(name, value);
    }
    ~Environment() {
        if (m_before.isNull()) {
            qunsetenv(m_name);
        } else {
            qputenv(m_name, m_before);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* m_name;
    QByteArray m_before;
};

TEST(DriverCopy, loaded_hasNoFileAnyMore) {
    QTemporaryDir folder;
    const Environment temp("TMPDIR", folder.path().toLocal8Bit());
    DriverCopy copy;
    ASSERT_EQ(copy.load(library()).toStdString(), "");
    EXPECT_TRUE(copy.isLoaded());
    EXPECT_GT(mapsOf(folder.path().toStdString()), 0);
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
    copy.unload();
    EXPECT_FALSE(copy.isLoaded());
    EXPECT_EQ(mapsOf(folder.path().toStdString()), 0);
}

TEST(DriverCopy, two_shareNothing) {
    DriverCopy one;
    DriverCopy other;
    ASSERT_TRUE(one.load(library()).isEmpty());
    ASSERT_TRUE(other.load(library()).isEmpty());
    EXPECT_NE(reinterpret_cast<void*>(one.api().getSendFrame.pointer()),
              reinterpret_cast<void*>(other.api().getSendFrame.pointer()));
}

TEST(DriverCopy, loadedAndUnloadedAThousandTimes_leavesNothing) {
#ifdef VELKOR_SANITIZED
    GTEST_SKIP() << "the sanitizer keeps freed memory, and a record of each library";
#endif
    DriverCopy first; // what is loaded once stays
    ASSERT_TRUE(first.load(library()).isEmpty());
    first.unload();
    const int maps = mapsOf("");
    const int libraries = mapsOf(".so");
    const int files = openFiles();
    for (int round = 0; round < 1000; ++round) {
        DriverCopy copy;
        ASSERT_TRUE(copy.load(library()).isEmpty()) << round;
    }
    EXPECT_EQ(mapsOf(".so"), libraries);
    EXPECT_LE(mapsOf(""), maps + 8); // the heap's own
    EXPECT_EQ(openFiles(), files);
}

TEST(DriverCopy, loadedTwiceByOneObject_keepsOne) {
    QTemporaryDir folder;
    const Environment temp("TMPDIR", folder.path().toLocal8Bit());
    DriverCopy copy;
    ASSERT_TRUE(copy.load(library()).isEmpty());
    const int maps = mapsOf(folder.path().toStdString());
    ASSERT_TRUE(copy.load(library()).isEmpty());
    EXPECT_EQ(mapsOf(folder.path().toStdString()), maps);
}

TEST(DriverCopy, whatIsNoDriver_isNamedAndNothingIsLoaded) {
    QTemporaryDir folder;
    QFile text(folder.filePath("text.so"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write("no library");
    text.close();
    QFile empty(folder.filePath("empty.so"));
    ASSERT_TRUE(empty.open(QIODevice::WriteOnly));
    empty.close();
    for (const QString& file :
         {text.fileName(), empty.fileName(), folder.path(), folder.filePath("none.so")}) {
        DriverCopy copy;
        const std::string fault = copy.load(file).toStdString();
        EXPECT_EQ(fault.find("cannot load the driver: "), 0U) << fault;
        EXPECT_FALSE(copy.isLoaded());
        EXPECT_EQ(copy.api().getSendFrame.pointer(), nullptr);
    }
}

TEST(DriverCopy, anotherLibrary_lacksAFunction) {
    QString qtCore;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libQt") != std::string::npos && line.find("Core") != std::string::npos) {
            qtCore = QString::fromStdString(line.substr(line.find('/')));
            break;
        }
    }
    ASSERT_FALSE(qtCore.isEmpty());
    DriverCopy copy;
    const std::string fault = copy.load(qtCore).toStdString();
    EXPECT_NE(fault.find("has no function intf_"), std::string::npos) << fault;
    EXPECT_FALSE(copy.isLoaded());
}

TEST(DriverCopy, unreadableFile_isNamed) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root reads everything";
    }
    QTemporaryDir folder;
    const QString file = folder.filePath("libvelkor.so.1");
    ASSERT_TRUE(QFile::copy(library(), file));
    ASSERT_TRUE(QFile::setPermissions(file, QFileDevice::WriteOwner));
    DriverCopy copy;
    EXPECT_NE(copy.load(file).indexOf("cannot read"), -1);
}

/// The folder from which the system's loader has taken the C library.
QString systemsFolder() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/libc.so.6") != std::string::npos) {
            return QFileInfo(QString::fromStdString(line.substr(line.find('/')))).path();
        }
    }
    return QString();
}

TEST(DriverCopy, nowhere_errorNamesTheSystemsOwnFolderToo) {
    const QString folder = systemsFolder();
    ASSERT_FALSE(folder.isEmpty());
    DriverCopy copy;
    const QString fault = copy.load(QString());
    if (copy.isLoaded()) {
        GTEST_SKIP() << "a driver is installed on this computer";
    }
    EXPECT_TRUE(fault.startsWith("cannot load the driver: there is no libvelkor.so.1 in "))
        << fault.toStdString();
    EXPECT_TRUE(fault.contains(", " + folder)) << fault.toStdString();
    EXPECT_EQ(fault.indexOf(", /lib,"), fault.lastIndexOf(", /lib,")) << fault.toStdString();
}

TEST(DriverCopy, temporaryFolderThatTakesNoFile_isGoneRound) {
    QTemporaryDir runtime;
    const Environment temp("TMPDIR", "/nowhere/at/all");
    const Environment other("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
    DriverCopy copy;
    ASSERT_EQ(copy.load(library()).toStdString(), "");
    EXPECT_GT(mapsOf(runtime.path().toStdString()), 0);
    EXPECT_TRUE(QDir(runtime.path()).isEmpty());
}

TEST(DriverCopy, temporaryFolderWhereNothingMayBeExecuted_isGoneRound) {
    // /proc/mounts says where that is so here; where it is nowhere so there is nothing to test.
    QString noExec;
    std::ifstream mounts("/proc/mounts");
    for (std::string device, folder, type, options, rest;
         mounts >> device >> folder >> type >> options && std::getline(mounts, rest);) {
        const bool forbids = ("," + options + ",").find(",noexec,") != std::string::npos;
        if (forbids && type == "tmpfs" && access(folder.c_str(), W_OK) == 0) {
            noExec = QString::fromStdString(folder);
        }
    }
    if (noExec.isEmpty()) {
        GTEST_SKIP() << "no folder that may be written and not executed from";
    }
    const Environment temp("TMPDIR", noExec.toLocal8Bit());
    const int before = static_cast<int>(QDir(noExec).entryList({"velkor-*"}).size());
    DriverCopy copy;
    QTemporaryDir runtime(QDir::homePath() + "/velkor-test-XXXXXX");
    const Environment other("XDG_RUNTIME_DIR", runtime.path().toLocal8Bit());
    EXPECT_EQ(copy.load(library()).toStdString(), "");
    EXPECT_EQ(static_cast<int>(QDir(noExec).entryList({"velkor-*"}).size()), before);
}

TEST(DriverRegisters, catalogue_isTheDrivers) {
    DriverRegisters registers;
    EXPECT_TRUE(registers.registers().isEmpty());
    ASSERT_EQ(registers.load(library()).toStdString(), "");
    EXPECT_EQ(registers.registers().size(), 12);
    ASSERT_NE(registers.find("DM"), nullptr);
    EXPECT_FALSE(registers.find("DM")->bit);
    EXPECT_TRUE(registers.find("CIO_bit")->bit);
    EXPECT_EQ(registers.find("EM"), nullptr);
    EXPECT_EQ(registers.defaultEndpoint().address.toString().toStdString(), "192.168.250.1");
    EXPECT_EQ(registers.defaultEndpoint().port, 9600);
}

TEST(DriverRegisters, addresses_areJudgedByTheDriver) {
    DriverRegisters registers;
    ASSERT_TRUE(registers.load(library()).isEmpty());
    const RegisterInfo& dm = *registers.find("DM");
    EXPECT_TRUE(registers.check(dm, "100", 1).valid);
    EXPECT_EQ(registers.check(dm, "100", 1).address, 100);
    EXPECT_FALSE(registers.check(dm, dm.highest, 2).valid);
    EXPECT_TRUE(registers.check(dm, "10.5", 1).syntaxFault);
    EXPECT_FALSE(registers.check(dm, "100", 0).valid);
    const RegisterInfo& bits = *registers.find("HR_bit");
    EXPECT_EQ(registers.check(bits, "3.5", 1).address, 53);
}

TEST(DriverRegisters, layout_isCutAtTheEndOfTheRegister) {
    DriverRegisters registers;
    ASSERT_TRUE(registers.load(library()).isEmpty());
    bool cut = true;
    const QVector<DriverRegisters::Address> plain = registers.layout("DM", 10, 3, 5, &cut);
    EXPECT_FALSE(cut);
    ASSERT_EQ(plain.size(), 3);
    EXPECT_EQ(plain.at(2).address, 20);
    EXPECT_EQ(plain.at(2).text.toStdString(), "20");
    registers.layout("DM", 32760, 3, 5, &cut);
    EXPECT_TRUE(cut);
    EXPECT_TRUE(registers.layout("XX", 10, 3, 5).isEmpty());
}

TEST(DriverRegisters, faultyFile_leavesNoRegisters) {
    DriverRegisters registers;
    ASSERT_TRUE(registers.load(library()).isEmpty());
    EXPECT_FALSE(registers.load("/nowhere/libvelkor.so.1").isEmpty());
    EXPECT_TRUE(registers.registers().isEmpty());
}

} // namespace

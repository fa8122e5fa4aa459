// A line opens, says why it cannot, and leaves nothing behind.

#include "host/line_fixture.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTemporaryFile>

#include <fstream>
#include <unistd.h>

using namespace velkor_host;

namespace {

class LineOpen : public LineFixture {
protected:
    /// What a line of these settings says when it is opened, which must fail.
    std::string faultOf(const LineSettings& wrong) const {
        Line line(wrong);
        const QString fault = line.open();
        EXPECT_FALSE(line.isOpen());
        EXPECT_FALSE(fault.endsWith(QLatin1Char('.'))) << qPrintable(fault);
        return fault.toStdString();
    }
};

struct Wrong {
    const char* what;
    std::function<void(LineSettings*)> make;
};

class LineSetting : public LineFixture, public testing::WithParamInterface<Wrong> {};

TEST_P(LineSetting, open_outOfBounds_saysWhichAndStaysClosed) {
    LineSettings wrong = settings();
    GetParam().make(&wrong);
    Line line(wrong);
    const QString fault = line.open();
    EXPECT_TRUE(fault.contains(QLatin1String(GetParam().what))) << qPrintable(fault);
    EXPECT_TRUE(fault.contains(QLatin1String("right"))) << qPrintable(fault);
    EXPECT_FALSE(line.isOpen());
}

INSTANTIATE_TEST_SUITE_P(
    Each, LineSetting,
    testing::Values(
        Wrong{"wordsPerFrame", [](LineSettings* s) { s->wordsPerFrame = 0; }},
        Wrong{"wordsPerFrame", [](LineSettings* s) { s->wordsPerFrame = 504; }},
        Wrong{"retries", [](LineSettings* s) { s->retries = 0; }},
        Wrong{"retries", [](LineSettings* s) { s->retries = 101; }},
        Wrong{"timeoutMs", [](LineSettings* s) { s->timeoutMs = 0; }},
        Wrong{"timeoutMs", [](LineSettings* s) { s->timeoutMs = 60001; }},
        Wrong{"scanMs", [](LineSettings* s) { s->scanMs = 9; }},
        Wrong{"scanMs", [](LineSettings* s) { s->scanMs = 60001; }},
        Wrong{"refusedRetryMs", [](LineSettings* s) { s->refusedRetryMs = 0; }},
        Wrong{"plc.port", [](LineSettings* s) { s->plc.port = 0; }},
        Wrong{"plc.address", [](LineSettings* s) { s->plc.address = QHostAddress("::1"); }},
        Wrong{"plc.address", [](LineSettings* s) { s->plc.address = QHostAddress(); }},
        Wrong{"local.address", [](LineSettings* s) { s->local.address = QHostAddress("::1"); }},
        Wrong{"nodes are 0,1,0,0,5;",
              [](LineSettings* s) {
                  s->nodes = {0, 1, 0, 0, 5};
              }},
        Wrong{"nodes", [](LineSettings* s) { s->nodes = {0, 1, 0, 0, 256, 0}; }},
        Wrong{"nodes", [](LineSettings* s) { s->nodes = {0, 1, 0, -1, 5, 0}; }},
        Wrong{"retries", [](LineSettings* s) {
                  s->allowModeChange = true;
                  s->retries = 1;
              }}));

TEST_F(LineOpen, open_boundsThemselves_areTaken) {
    LineSettings lowest = settings();
    lowest.wordsPerFrame = 1;
    lowest.retries = 1;
    lowest.timeoutMs = 1;
    lowest.scanMs = 10;
    lowest.nodes = {0, 0, 0, 0, 0, 0};
    EXPECT_EQ(Line(lowest).open().toStdString(), "");
    LineSettings highest = settings();
    highest.wordsPerFrame = 503;
    highest.retries = 100;
    highest.timeoutMs = 60000;
    highest.scanMs = 60000;
    highest.nodes = {255, 255, 255, 255, 255, 255};
    EXPECT_EQ(Line(highest).open().toStdString(), "");
}

TEST_F(LineOpen, open_localPortIsBusy_saysSoAndOpensOnceItIsFree) {
    LineSettings busy = settings();
    auto holder = std::make_unique<QUdpSocket>();
    ASSERT_TRUE(holder->bind(QHostAddress(QHostAddress::LocalHost), 0));
    busy.local = {QHostAddress(QHostAddress::LocalHost), holder->localPort()};
    Line line(busy);
    const QString fault = line.open();
    EXPECT_TRUE(fault.contains(endpointText(busy.local))) << qPrintable(fault);
    EXPECT_FALSE(line.isOpen());
    holder.reset();
    EXPECT_EQ(line.open().toStdString(), "");
    EXPECT_EQ(line.localEndpoint().port, busy.local.port);
}

TEST_F(LineOpen, open_localAddressIsNotOfThisMachine_saysSo) {
    LineSettings foreign = settings();
    foreign.local.address = QHostAddress("192.0.2.1");
    EXPECT_NE(faultOf(foreign).find("192.0.2.1"), std::string::npos);
}

TEST_F(LineOpen, open_driverFileIsMissing_namesIt) {
    LineSettings missing = settings();
    missing.driverFile = QStringLiteral("/nonexistent/libvelkor.so.1");
    EXPECT_NE(faultOf(missing).find("/nonexistent/libvelkor.so.1"), std::string::npos);
}

TEST_F(LineOpen, open_driverFileIsNoLibrary_saysSo) {
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write("no library");
    file.close();
    LineSettings text = settings();
    text.driverFile = file.fileName();
    EXPECT_NE(faultOf(text).find(file.fileName().toStdString()), std::string::npos);
}

TEST_F(LineOpen, open_libraryIsNoDriver_namesWhatItLacks) {
    LineSettings other = settings();
    other.driverFile = QStringLiteral(VELKOR_NO_DRIVER);
    EXPECT_NE(faultOf(other).find("intf_initProperty"), std::string::npos);
}

TEST_F(LineOpen, open_afterAFault_works) {
    QTemporaryDir folder;
    LineSettings later = settings();
    later.driverFile = folder.filePath("libvelkor.so.1");
    Line line(later);
    EXPECT_NE(line.open().toStdString(), "");
    ASSERT_TRUE(QFile::copy(settings().driverFile, later.driverFile));
    EXPECT_EQ(line.open().toStdString(), "");
    EXPECT_EQ(line.setTags({wordTag(5)}).toStdString(), "");
    EXPECT_TRUE(waitUntil([&] { return line.allFresh(); }));
}

TEST_F(LineOpen, open_twice_changesNothing) {
    Line line(settings());
    ASSERT_EQ(line.open().toStdString(), "");
    const quint16 port = line.localEndpoint().port;
    EXPECT_EQ(line.open().toStdString(), "");
    EXPECT_EQ(line.localEndpoint().port, port);
}

TEST_F(LineOpen, nodes_notGiven_areTheLastOctetsOfTheAddresses) {
    LineSettings elsewhere = settings();
    elsewhere.local.address = QHostAddress("127.0.0.77");
    Line line(elsewhere);
    EXPECT_TRUE(line.nodes().isEmpty());
    ASSERT_EQ(line.open().toStdString(), "");
    EXPECT_EQ(line.nodes(), (QVector<int>{0, 1, 0, 0, 77, 0}));
    EXPECT_EQ(line.localEndpoint().address, QHostAddress("127.0.0.77"));
}

TEST_F(LineOpen, nodes_localAddressNotGiven_areThoseOfTheAddressThatTheSystemChose) {
    LineSettings any = settings();
    for (const QHostAddress& address :
         {QHostAddress(), QHostAddress(QHostAddress::Any), QHostAddress(QHostAddress::AnyIPv4)}) {
        any.local.address = address;
        Line line(any);
        ASSERT_EQ(line.open().toStdString(), "");
        EXPECT_EQ(line.nodes(), (QVector<int>{0, 1, 0, 0, 1, 0}));
        EXPECT_EQ(line.localEndpoint().address.toString().toStdString(), "127.0.0.1");
        EXPECT_NE(line.localEndpoint().port, 0);
        EXPECT_EQ(line.setTags({wordTag(1)}).toStdString(), "");
        EXPECT_TRUE(waitUntil([&] { return line.allFresh(); }));
    }
}

TEST_F(LineOpen, nodes_given_standInTheFrames) {
    LineSettings given = settings();
    given.nodes = {1, 2, 3, 4, 5, 6};
    plc.answering = false;
    Line line(given);
    ASSERT_EQ(line.open().toStdString(), "");
    EXPECT_EQ(line.nodes(), given.nodes);
    ASSERT_NE(line.read("DM", 1, 1), 0U);
    ASSERT_TRUE(waitUntil([&] { return !plc.frames().isEmpty(); }));
    EXPECT_EQ(plc.frames().first().mid(3, 6).toHex().toStdString(), "010203040506");
}

TEST_F(LineOpen, open_sendsNothing) {
    Line line(settings());
    ASSERT_EQ(line.open().toStdString(), "");
    // What it had sent would have come before the frame of a second line.
    Line second(settings());
    ASSERT_EQ(second.open().toStdString(), "");
    ASSERT_NE(second.read("DM", 1, 1), 0U);
    ASSERT_TRUE(waitUntil([&] { return !plc.frames().isEmpty(); }));
    EXPECT_EQ(plc.clientPort(), second.localEndpoint().port);
}

// --- What is left behind ------------------------------------------------------------------------

/// Sets a variable of the environment for as long as it lives.
class Environment {
public:
    Environment(const char* name, const QByteArray& value) : m_name(name), m_was(qgetenv(name)) {
        qputenv(name, value);
    }
    ~Environment() { qputenv(m_name, m_was); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* m_name;
    QByteArray m_was;
};

int linesIn(const char* file, const std::string& with) {
    std::ifstream in(file);
    int found = 0;
    for (std::string line; std::getline(in, line);) {
        found += line.find(with) != std::string::npos ? 1 : 0;
    }
    return found;
}

int openFiles() {
    return static_cast<int>(QDir("/proc/self/fd").entryList(QDir::System | QDir::Files).size());
}

/// Resident memory that the process has for itself, in KiB.
long residentKib() {
    std::ifstream in("/proc/self/statm");
    long pages = 0;
    in >> pages >> pages;
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

TEST_F(LineOpen, open_copyOfTheDriver_isMappedButNotOnTheDisk) {
    QTemporaryDir folder;
    const Environment temporary("TMPDIR", folder.path().toLocal8Bit());
    Line line(settings());
    ASSERT_EQ(line.open().toStdString(), "");
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
    EXPECT_GT(linesIn("/proc/self/maps", folder.path().toStdString()), 0);
    line.close();
    EXPECT_EQ(linesIn("/proc/self/maps", folder.path().toStdString()), 0);
}

TEST_F(LineOpen, open_temporaryFolderCannotBeWritten_takesAnother) {
    const Environment temporary("TMPDIR", "/nonexistent");
    EXPECT_EQ(Line(settings()).open().toStdString(), "");
}

TEST_F(LineOpen, openAndClose_aThousandTimes_leaksNothing) {
#ifdef VELKOR_SANITIZED
    GTEST_SKIP() << "the sanitizer keeps freed memory, and a record of each library";
#endif
    QTemporaryDir folder;
    const Environment temporary("TMPDIR", folder.path().toLocal8Bit());
    Line reopened(settings());
    const auto round = [&] {
        ASSERT_EQ(reopened.open().toStdString(), "");
        ASSERT_EQ(reopened.setTags({wordTag(1, 10), wordTag(500)}).toStdString(), "");
        ASSERT_NE(reopened.write("DM", 20, {1}), 0U);
        Line made(settings());
        ASSERT_EQ(made.open().toStdString(), "");
        QCoreApplication::processEvents();
        reopened.close();
    };
    for (int warm = 0; warm < 100; ++warm) {
        round();
    }
    const int files = openFiles();
    const int maps = linesIn("/proc/self/maps", "");
    const long memory = residentKib();
    for (int time = 0; time < 500; ++time) { // two lines each
        round();
    }
    EXPECT_EQ(openFiles(), files);
    EXPECT_LE(linesIn("/proc/self/maps", ""), maps + 2); // the heap may have grown a piece
    EXPECT_LE(residentKib(), memory + 2048);
    EXPECT_EQ(linesIn("/proc/self/maps", folder.path().toStdString()), 0);
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

} // namespace

// What reaches the host's message handler. A program of its own: the layer puts its handler before
// the host's once in a process.

#include "host/driver/bound_driver.h"
#include "host/driver/driver_copy.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>
#include <QtCore/QStringList>

#include <thread>

using namespace velkor_host;

namespace {

QMutex mutex;
QStringList heard; // what the host's own handler was told
QtMessageHandler layersHandler = nullptr;

void hostsHandler(QtMsgType, const QMessageLogContext&, const QString& text) {
    const QMutexLocker lock(&mutex);
    heard.append(text);
}

/// As programs do that only want to see what is said.
void laterHandler(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    layersHandler(type, context, "later: " + text);
}

QStringList takeHeard() {
    const QMutexLocker lock(&mutex);
    QStringList taken;
    taken.swap(heard);
    return taken;
}

class Deaf : public ChangeListener {
public:
    void valueChanged(const QString& /*reg*/, int /*address*/) override {}
};

class DriverSilence : public testing::Test {
protected:
    static void SetUpTestSuite() {
        qInstallMessageHandler(&hostsHandler);
        const DebugSilence first;
    }
    void TearDown() override { takeHeard(); }

    /// Writes, which the driver has a debug line for.
    void write() {
        ASSERT_TRUE(m_copy.load(QStringLiteral(VELKOR_LIBRARY)).isEmpty());
        BoundDriver driver(m_copy.api(), &m_deaf);
        BoundDriver::Settings settings;
        settings.nodes = {0, 1, 0, 0, 10, 0};
        driver.bind(settings);
        driver.queueWrite(QStringLiteral("DM"), 100, {1});
        FRAME_PRO frame = FRAME_PRO();
        EXPECT_TRUE(driver.nextFrame(&frame));
    }

    DriverCopy m_copy;
    Deaf m_deaf;
};

TEST_F(DriverSilence, driversDebugLines_areDropped) {
    write();
    EXPECT_TRUE(takeHeard().isEmpty());
}

TEST_F(DriverSilence, hostsOwnLines_areHandedOn) {
    write();
    qDebug("debug");
    qWarning("warning");
    EXPECT_EQ(takeHeard(), (QStringList{"debug", "warning"}));
}

int warnAndDebug(int value) {
    qWarning("a warning of the driver's");
    qDebug("a debug line of the driver's");
    std::thread([] { qDebug("another thread's"); }).join();
    return value + 1;
}

TEST_F(DriverSilence, duringACall_onlyItsThreadsDebugLinesAreDropped) {
    const QuietCall<int(int)> call(&warnAndDebug);
    EXPECT_EQ(call(1), 2);
    EXPECT_EQ(takeHeard(), (QStringList{"a warning of the driver's", "another thread's"}));
}

void callAgain(int depth) {
    const QuietCall<void(int)> call(&callAgain);
    if (depth > 0) {
        call(depth - 1);
    }
    qDebug("inside");
}

TEST_F(DriverSilence, callInsideACall_leavesTheOuterOneSilent) {
    const QuietCall<void(int)> call(&callAgain);
    call(2);
    EXPECT_TRUE(takeHeard().isEmpty());
    qDebug("outside");
    EXPECT_EQ(takeHeard(), QStringList{"outside"});
}

TEST_F(DriverSilence, handlerInstalledLater_mayHandOnToTheLayers) {
    layersHandler = qInstallMessageHandler(&laterHandler);
    write();
    qDebug("own");
    qInstallMessageHandler(layersHandler);
    EXPECT_EQ(takeHeard(), QStringList{"later: own"});
}

} // namespace

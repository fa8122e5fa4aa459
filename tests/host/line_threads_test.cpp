// Many lines in one process, on one thread and on several.

#include "host/line_fixture.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QEventLoop>
#include <QtCore/QThread>
#include <QtCore/QTimer>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace velkor_host;

namespace {

class LineThreads : public LineFixture {};

TEST_F(LineThreads, hundredLines_eachHearsOfItsOwnTagsOnly) {
    const int lines = 100;
    std::vector<std::unique_ptr<Line>> all;
    QVector<QVector<int>> heard(lines);
    LineSettings calm = settings();
    calm.scanMs = 200;
    for (int index = 0; index < lines; ++index) {
        all.push_back(std::make_unique<Line>(calm));
        ASSERT_EQ(all.back()->open().toStdString(), "");
        // The same indices and different words: a callback that finds the wrong line shows.
        ASSERT_EQ(all.back()->setTags({wordTag(1000 + 10 * index), wordTag(5)}).toStdString(), "");
        all.back()->onTags = [&heard, index](const QVector<int>& changed) {
            heard[index] += changed;
        };
    }
    const auto allFresh = [&] {
        return std::all_of(all.begin(), all.end(),
                           [](const auto& line) { return line->allFresh(); });
    };
    ASSERT_TRUE(waitUntil(allFresh));
    for (int index = 0; index < lines; ++index) {
        heard[index].clear();
        plc.set(1000 + 10 * index, static_cast<quint16>(index + 1));
    }
    const auto shown = [&](int index) { return all[std::size_t(index)]->status(0).value(); };
    for (int index = 0; index < lines; ++index) {
        EXPECT_TRUE(waitUntil([&] { return shown(index) == Items{quint16(index + 1)}; })) << index;
        EXPECT_EQ(all[std::size_t(index)]->status(0).changes, 1);
        EXPECT_EQ(all[std::size_t(index)]->status(1).changes, 0);
    }
    all.resize(50); // what is left polls on
    plc.set(1000, 4711);
    EXPECT_TRUE(waitUntil([&] { return shown(0) == Items{4711}; }));
}

/// What one thread does with lines of its own: poll, write, read back, close, open.
void work(const LineSettings& settings, int thread, std::atomic<int>* done) {
    QEventLoop loop;
    for (int round = 0; round < 5; ++round) {
        Line line(settings);
        Line idle(settings);
        const quint16 value = static_cast<quint16>(100 * thread + round + 1);
        const int address = 100 * thread;
        ASSERT_EQ(line.open().toStdString(), "");
        ASSERT_EQ(idle.open().toStdString(), "");
        ASSERT_EQ(line.setTags({wordTag(address)}).toStdString(), "");
        const QThread* here = QThread::currentThread();
        bool taken = false;
        line.onWrite = [&](const WriteOutcome& outcome) {
            EXPECT_EQ(QThread::currentThread(), here);
            taken = outcome.result == WriteResult::Taken;
        };
        line.onScan = [&] {
            EXPECT_EQ(QThread::currentThread(), here);
            if (taken && line.status(0).value() == Items{value}) {
                loop.quit();
            }
        };
        ASSERT_NE(line.write("DM", address, {value}), 0U);
        QTimer::singleShot(PATIENCE_MS, &loop, [&] { loop.exit(1); });
        ASSERT_EQ(loop.exec(), 0) << "thread " << thread << " round " << round;
    }
    ++*done;
    QCoreApplication::eventDispatcher()->wakeUp(); // of the main thread, which waits for it
}

TEST_F(LineThreads, linesOnSeveralThreads_shareNothing) {
    const int count = 4;
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    const LineSettings own = settings();
    for (int thread = 1; thread <= count; ++thread) {
        threads.emplace_back([own, thread, &done] { work(own, thread, &done); });
    }
    EXPECT_TRUE(waitUntil([&] { return done == count; }));
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int thread = 1; thread <= count; ++thread) {
        EXPECT_EQ(plc.dm(100 * thread), 100 * thread + 5);
    }
}

TEST_F(LineThreads, lineDestroyedInItsLastNotice_endsWithItsThread) {
    std::atomic<bool> ended{false};
    const LineSettings own = settings();
    std::thread thread([&own, &ended] {
        QEventLoop loop;
        auto line = std::make_unique<Line>(own);
        EXPECT_EQ(line->open().toStdString(), "");
        EXPECT_EQ(line->setTags({wordTag(1)}).toStdString(), "");
        line->onScan = [&] {
            line.reset();
            loop.quit();
        };
        loop.exec();
        ended = true;
        QCoreApplication::eventDispatcher()->wakeUp();
    });
    EXPECT_TRUE(waitUntil([&] { return ended.load(); }));
    thread.join();
}

TEST_F(LineThreads, oneSilentPlc_slowsNoOtherLine) {
    LoopbackPlc silent;
    silent.answering = false;
    LineSettings dead = settings();
    dead.plc = silent.endpoint();
    dead.timeoutMs = 5000;
    Line waiting(dead);
    Line polling(settings());
    ASSERT_EQ(waiting.open().toStdString(), "");
    ASSERT_EQ(polling.open().toStdString(), "");
    ASSERT_EQ(waiting.setTags({wordTag(1)}).toStdString(), "");
    ASSERT_EQ(polling.setTags({wordTag(1)}).toStdString(), "");
    int scans = 0;
    polling.onScan = [&] { ++scans; };
    ASSERT_TRUE(waitUntil([&] { return scans >= 20; }));
    EXPECT_EQ(silent.frames().size(), 1); // its first try has not even run out
}

} // namespace

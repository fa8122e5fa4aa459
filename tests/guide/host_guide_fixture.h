#ifndef VELKOR_TESTS_GUIDE_HOST_GUIDE_FIXTURE_H
#define VELKOR_TESTS_GUIDE_HOST_GUIDE_FIXTURE_H

/// A host made of the code of docs/host-guide.md, nothing added but the turns of its loop, against
/// the simulated PLC. For one file of a program only: the page's code is defined here.

#include "host_guide_code.inc"

#include "plc/plc_core.h"

#include <gtest/gtest.h>

#include <functional>

inline void swallowDebugLines(QtMsgType, const QMessageLogContext&, const QString&) {}

inline QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

class HostGuide : public ::testing::Test {
protected:
    HostGuide() : driver(text(VELKOR_LIBRARY)) {
        qInstallMessageHandler(&swallowDebugLines);
        lastHeard = Heard();
        mayChangeMode = false;
        bindDriver(driver, lent, 1, 10);
    }
    ~HostGuide() override {
        driver.library.unload(); // so that each test has a driver as it is right after loading
        qInstallMessageHandler(nullptr);
    }

    QByteArray plcsAnswer() {
        const std::optional<plc::Bytes> bytes =
            plc.handle(plc::Bytes(flight.frame.frame, flight.frame.frame + flight.frame.sendLen));
        return QByteArray(reinterpret_cast<const char*>(bytes.value().data()),
                          static_cast<int>(bytes.value().size()));
    }

    /// One turn; the result, or 99 when there was nothing to send. `line` stands between.
    unsigned int turn(const std::function<QByteArray(QByteArray)>& line = nullptr) {
        if (!ask(driver, flight)) {
            return 99;
        }
        answer = plcsAnswer();
        answer = line ? line(answer) : answer;
        if (!answer.isEmpty() && !isAnswer(flight, answer)) {
            ADD_FAILURE() << "the PLC's answer is not known for one";
        }
        return settle(driver, flight, answer, message);
    }
    static QByteArray noAnswer(const QByteArray&) { return QByteArray(); }

    void setDm(int addr, int value) {
        plc.memory().setWord(plc::Area::Dm, static_cast<std::uint32_t>(addr),
                             static_cast<std::uint16_t>(value));
    }
    int dm(int addr) const {
        return plc.memory().word(plc::Area::Dm, static_cast<std::uint32_t>(addr));
    }
    int shown(const char* name, int address) { return valueOf(driver, {text(name), address}); }

    plc::Core plc;
    Driver driver;
    Lent lent;
    Flight flight;
    QByteArray answer; ///< the last one, as it came
    QString message;
};

#endif

// The screen over made-up values that live: for the tests of the terminal, and to look at.
//
//     screen_demo [--plcs N] [--more N] [--steady] [--throw] [--abort]
//
// --more adds tags, --steady lets nothing change, --throw and --abort end it so at the first write.

#include "panel/screen/screen.h"

#include "screen/fake_model.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

using namespace panel::screen;

namespace {

const qint64 SECOND = 1000000;

class Demo : public FakeModel {
public:
    Demo(int plcs, int more, bool steady) : m_steady(steady) {
        m_timer.start();
        m_now = 1000 * SECOND;
        addNamedTags();
        for (int index = 0; index < more; ++index) {
            add(QString("DM:%1").arg(500 + index)).label.plc = QString("P%1").arg(index % plcs + 1);
        }
        for (int index = 0; index < plcs; ++index) {
            PlcStatus& plc = addPlc(QString("P%1").arg(index + 1));
            plc.endpoint = QString("192.168.250.%1:9600").arg(index + 1);
            plc.roundTrip = 4200 + 100 * index;
            plc.roundTrip99 = 11900;
            plc.exchangesPerSecond = 20.5;
            plc.retries = index;
        }
        PlcStatus& last = m_plcs.last();
        last.silentSince = m_now - 2 * SECOND;
        last.lastError = "1103 address out of range";
        last.lastErrorAt = m_now - 14 * SECOND;
        m_title = QString("%1  %2 tags, scan 200 ms").arg(last.endpoint).arg(tagCount());
    }

    void move() {
        if (m_steady) {
            return;
        }
        const double seconds = static_cast<double>(m_timer.elapsed()) / 1000;
        set(0, 46.4 + 30 * std::sin(seconds / 7), "%1 l", seconds);
        set(1, 45.0 + 2 * std::sin(seconds / 3), "%1 °C", seconds);
        set(2, std::fmod(seconds, 8) < 4 ? 1 : 0, "%1", seconds);
        m_tags[0].status.limit = *m_tags[0].status.number > 70   ? Limit::Above
                                 : *m_tags[0].status.number < 20 ? Limit::Below
                                                                 : Limit::Inside;
        m_tags[1].status.state = std::fmod(seconds, 20) > 15 ? TagState::Stale : TagState::Fresh;
        m_tags[1].texts.reason =
            m_tags[1].status.state == TagState::Stale
                ? "no answer for 2.6 s; last request: 3 tries of 500 ms to 127.0.0.1:9600"
                : "";
    }

    qint64 now() const override { return m_steady ? m_now : m_now + m_timer.nsecsElapsed() / 1000; }

    QString startWrite(int tag, const QString& typed, bool force) override {
        if (m_onWrite) {
            m_onWrite();
        }
        const double value = typed.toDouble();
        const TagLabel& label = m_tags.at(static_cast<std::size_t>(tag)).label;
        if (!force && label.high && value > *label.high) {
            return QString("%1 is above the high limit %2 of %3; %1! writes it all the same")
                .arg(typed)
                .arg(*label.high)
                .arg(label.name);
        }
        m_tags.at(static_cast<std::size_t>(tag)).status.pending = true;
        return QString();
    }

    std::function<void()> m_onWrite;

private:
    void set(int tag, double value, const char* format, double seconds) {
        FakeTag& entry = m_tags.at(static_cast<std::size_t>(tag));
        if (entry.status.state != TagState::Fresh && std::fmod(seconds, 20) > 15) {
            return;
        }
        entry.status.readAt = now();
        const QString text = QString(format).arg(value, 0, 'f', 1);
        entry.status.changes += text != entry.texts.value ? 1 : 0;
        entry.status.changedAt = text != entry.texts.value ? now() : entry.status.changedAt;
        entry.texts.value = text;
        entry.status.number = value;
    }

    void addNamedTags() {
        FakeTag& level = add("level");
        level.label.low = 20;
        level.label.high = 70;
        level.texts.value = "46.4 l";
        add("temperature").texts.value = "45.0 °C";
        add("inlet_valve");
        FakeTag& stale = add("pressure_before_filter");
        stale.status.state = TagState::Stale;
        stale.status.readAt = m_now - 95 * SECOND;
        stale.texts = {"3.21 bar", "not refreshed for 1 min"};
        FakeTag& refused = add("spare_word");
        refused.status.state = TagState::Refused;
        refused.status.readAt = -1;
        refused.texts = {
            "", "refused for 12 s: end code 1103 address out of range; tried again in 8 s"};
        FakeTag& unread = add("flow_total");
        unread.status.state = TagState::NotRead;
        unread.status.readAt = -1;
        unread.texts = {
            "", "no answer for 2.6 s; last request: 3 tries of 500 ms to 192.168.250.77:9600"};
        FakeTag& high = add("motor_temperature");
        high.status.limit = Limit::Above;
        high.label.high = 80;
        high.texts.value = "93.5 °C";
        FakeTag& low = add("oil_level");
        low.status.limit = Limit::Below;
        low.label.low = 10;
        low.texts.value = "4 mm";
        FakeTag& pending = add("set_point");
        pending.status.pending = true;
        pending.texts.value = "55.0 °C";
        add("タンク水位").texts.value = "1234 ミリ";
        add("re\u0301gulateur_\u0153uvre").texts.value = "12 k\u03A9";
        add("a_name_of_very_many_characters_that_fits_no_narrow_column_at_all").texts.value =
            "1 0 0 0 1 1 1 0 0 1 0 1 1 1 0 0 1 0 1 1 1 0 0 1 0 1 1 1 0 0 1 0 1 1 1 0 0 1 0 1 1 1";
        add("evil\x1b[2Jname\u202Eabc").label.address = "CIO_bit 6143.15";
    }

    QElapsedTimer m_timer;
    bool m_steady;
};

int number(const QStringList& arguments, const QString& name, int otherwise) {
    const auto at = arguments.indexOf(name);
    return at < 0 ? otherwise : arguments.value(static_cast<int>(at) + 1).toInt();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    Demo demo(number(arguments, "--plcs", 1), number(arguments, "--more", 0),
              arguments.contains("--steady"));
    if (arguments.contains("--throw")) {
        demo.m_onWrite = [] { throw std::runtime_error("thrown by the demo"); };
    }
    if (arguments.contains("--abort")) {
        demo.m_onWrite = [] { std::abort(); };
    }
    Screen screen(demo);
    screen.onEnd = [] { QCoreApplication::exit(0); };
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&demo] { demo.move(); });
    timer.start(100);
    const QString wrong = screen.open();
    if (!wrong.isEmpty()) {
        std::printf("no screen: %s\n", wrong.toLocal8Bit().constData());
        return 3;
    }
    const int exitCode = QCoreApplication::exec();
    screen.close();
    std::printf("demo ended\n");
    return exitCode;
}

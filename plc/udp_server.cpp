#include "plc/udp_server.h"

#include <QtCore/QDateTime>

#include <limits>

#include "plc/output.h"
#include "plc/trace.h"

namespace plc {

namespace {

constexpr int kProcessStepMs = 100;

ClockTime localTime() {
    const QDateTime now = QDateTime::currentDateTime();
    ClockTime clock;
    clock.year = now.date().year() % 100;
    clock.month = now.date().month();
    clock.day = now.date().day();
    clock.hour = now.time().hour();
    clock.minute = now.time().minute();
    clock.second = now.time().second();
    clock.weekday = now.date().dayOfWeek() % 7; // Qt counts Sunday as 7
    return clock;
}

QString peerText(const Peer& peer) {
    return QStringLiteral("%1:%2").arg(QHostAddress(peer.address).toString()).arg(peer.port);
}

} // namespace

UdpServer::UdpServer(const Settings& settings)
    : settings_(settings), core_(settings.options),
      line_(core_, FaultPlan(settings.faults, settings.seed)),
      socket_([this](const Bytes& datagram, const Peer& from) { receive(datagram, from); }) {
    core_.setClock(localTime);
    if (settings.endCode) {
        core_.forceEndCode(*settings.endCode, std::numeric_limits<unsigned>::max());
    }
    QObject::connect(&processTimer_, &QTimer::timeout, &processTimer_, [this] { letTimePass(); });
}

void UdpServer::restore(const Memory& memory) {
    core_.memory() = memory;
}

QString UdpServer::listen() {
    QString error = socket_.bind(settings_.address, settings_.port);
    if (!error.isEmpty()) {
        return error;
    }
    if (settings_.tank) {
        if (Tank::isIn(core_.memory())) {
            tank_.resume(core_.memory());
        } else {
            tank_.start(core_.memory());
        }
        sinceLastStep_.start();
        processTimer_.start(kProcessStepMs);
    }
    return QString();
}

QString UdpServer::counts() const {
    const Counters& counters = core_.counters();
    QString text =
        QStringLiteral("stopped: requests %1, replies %2, refused %3, ignored %4; faults:")
            .arg(line_.requests())
            .arg(sent_)
            .arg(counters.errorReplies)
            .arg(counters.ignoredShort + counters.ignoredReplies + counters.ignoredNode);
    QStringList faults;
    for (std::size_t i = 0; i < kFaultVerbCount; ++i) {
        const auto verb = static_cast<FaultVerb>(i);
        if (line_.faultCount(verb) > 0) {
            faults += QStringLiteral(" %1 %2")
                          .arg(QString::fromLatin1(nameOf(verb)))
                          .arg(line_.faultCount(verb));
        }
    }
    return text + (faults.isEmpty() ? QStringLiteral(" none") : faults.join(QLatin1Char(',')));
}

void UdpServer::receive(const Bytes& datagram, const Peer& from) {
    const FaultyLine::Result result = line_.receive(datagram, from);
    if (settings_.trace) {
        traceRequest(datagram, from, result);
    }
    settle(result);
}

void UdpServer::traceRequest(const Bytes& datagram, const Peer& from,
                             const FaultyLine::Result& result) {
    const QString request = QString::fromStdString(describeRequest(datagram));
    if (!result.request) {
        trace(QStringLiteral("ignored from %1: %2").arg(peerText(from), request));
        return;
    }
    const std::string faults = describeFaults(result.faults);
    trace(QStringLiteral("#%1 from %2: %3")
              .arg(QString::number(*result.request), peerText(from), request) +
          (faults == "none" ? QString()
                            : QStringLiteral(" [%1]").arg(QString::fromStdString(faults))));
}

// Traces what has been executed otherwise than it was sent, then sends what is to be sent.
void UdpServer::settle(const FaultyLine::Result& result) {
    for (const Arrival& arrival : result.executed) {
        if (settings_.trace && arrival.faults.requestMeetsFaults()) {
            trace(QStringLiteral("#%1 arrives: %2")
                      .arg(QString::number(arrival.request),
                           QString::fromStdString(describeRequest(arrival.bytes))));
        }
    }
    for (const Arrival& arrival : result.delayed) {
        later(arrival.faults.delayRequestMs, [this, arrival] { settle(line_.arrive(arrival)); });
    }
    for (const Outgoing& outgoing : result.outgoing) {
        if (outgoing.delayMs == 0) {
            send(outgoing);
        } else {
            later(outgoing.delayMs, [this, outgoing] { send(outgoing); });
        }
    }
}

void UdpServer::later(unsigned milliseconds, std::function<void()> what) {
    auto* timer = new QTimer(&processTimer_);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, what = std::move(what)] {
        what();
        timer->deleteLater();
    });
    timer->start(static_cast<int>(milliseconds));
}

void UdpServer::send(const Outgoing& outgoing) {
    const QString error = socket_.send(outgoing.bytes, outgoing.peer);
    if (!error.isEmpty()) {
        complain({QStringLiteral("no reply sent to %1: %2").arg(peerText(outgoing.peer), error)});
        return;
    }
    ++sent_;
    if (settings_.trace) {
        trace(QStringLiteral("#%1 to %2: %3")
                  .arg(outgoing.request)
                  .arg(peerText(outgoing.peer),
                       QString::fromStdString(describeReply(outgoing.bytes))));
    }
}

void UdpServer::letTimePass() {
    const double seconds = static_cast<double>(sinceLastStep_.restart()) / 1000.0;
    tank_.advance(core_.memory(), seconds, core_.mode() != Mode::Program);
}

void UdpServer::trace(const QString& line) {
    if (!traceError_.isEmpty()) {
        return;
    }
    traceError_ = say(line + QLatin1Char('\n'));
    if (!traceError_.isEmpty()) {
        socket_.stop();
        onTraceLost();
    }
}

} // namespace plc

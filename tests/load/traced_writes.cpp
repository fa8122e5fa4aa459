#include "load/traced_writes.h"

#include "support/plc_trace.h"

namespace {

const int READ_ONLY_WORDS = 448; // of the area AR

TracedWrite writeOf(const TraceEvent& event) {
    const TracedCommand& command = event.command;
    TracedWrite write;
    write.area = command.range.area;
    write.address = command.range.address;
    write.bit = command.bits;
    write.count = command.range.count;
    write.first = command.data.value(0);
    return write;
}

bool isReadOnly(const TracedWrite& write) {
    return write.area == QLatin1String("AR") &&
           (write.bit ? write.address / 16 : write.address) < READ_ONLY_WORDS;
}

} // namespace

QVector<TracedWrite> tracedWrites(const QByteArray& trace, bool monitorOnly) {
    QVector<TracedWrite> writes;
    bool monitor = false;
    for (const TraceEvent& event : readPlcTrace(QString::fromLatin1(trace))) {
        // What faults meet on its way is told of again when it arrives, as late, as often and as
        // short as it does; or never.
        const bool executed = event.kind == TraceEvent::Executed;
        const bool cut = event.kind == TraceEvent::Received &&
                         event.faults.contains(QLatin1String("truncate-request"));
        if (executed && event.text.startsWith(QLatin1String("0401 run FF FF 04"))) {
            monitor = false;
        } else if (executed && event.text.startsWith(QLatin1String("0401 run FF FF 02"))) {
            monitor = true;
        }
        if ((executed || cut) && event.complete && event.command.write) {
            TracedWrite write = writeOf(event);
            write.executed = executed && !isReadOnly(write) && (monitor || !monitorOnly);
            write.damaged = cut || event.faults.contains(QLatin1String("corrupt"));
            writes.append(write);
        }
    }
    return writes;
}

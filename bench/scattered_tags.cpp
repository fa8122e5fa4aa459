/// How long 1,000 scattered tags take, read in merged blocks by a line, and one by one by the same
/// line, from a simulated PLC that takes 5 ms for a reply. See tools/wire.sh.

#include "support/plc_process.h"
#include "wire_clients.h"

#include <velkor/host/line.h>

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <random>
#include <set>

using velkor_host::Line;
using velkor_host::Tag;

namespace {

enum { FAILED = 1, WRONG_USAGE = 2 };

const int TAGS = 1000;
const std::int64_t MOST_NANOSECONDS = 60000000000;

/// Words of the seven registers, each once, within their first 1,000 words where there are so many:
/// as the tags of a machine lie, which has its signals, its numbers and its settings in some place
/// each.
QVector<Tag> scatteredTags() {
    static const struct {
        const char* name;
        unsigned long words;
    } registers[] = {{"CIO", 1000}, {"WR", 512}, {"HR", 512}, {"AR", 960},
                     {"T", 1000},   {"C", 1000}, {"DM", 1000}};
    std::mt19937 chance(1);
    std::set<std::pair<unsigned long, unsigned long>> taken;
    QVector<Tag> tags;
    while (tags.size() < TAGS) {
        const unsigned long which = chance() % 7;
        const unsigned long word = chance() % registers[which].words;
        if (taken.insert({which, word}).second) {
            Tag tag;
            tag.reg = QString::fromLatin1(registers[which].name);
            tag.address = static_cast<int>(word);
            tags.append(tag);
        }
    }
    return tags;
}

void require(const QString& fault) {
    if (!fault.isEmpty()) {
        std::fprintf(stderr, "scattered_tags: %s\n", qPrintable(fault));
        std::exit(FAILED);
    }
}

template <typename Condition> std::int64_t nanosecondsUntil(Condition condition) {
    const std::int64_t start = nanoseconds();
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (nanoseconds() - start > MOST_NANOSECONDS) {
            require(QStringLiteral("it takes more than a minute"));
        }
    }
    return nanoseconds() - start;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: scattered_tags LIBRARY VELKOR_PLC\n");
        return WRONG_USAGE;
    }
    dropDebugLines();
    PlcProcess plc;
    require(plc.start(QString::fromLocal8Bit(argv[2]),
                      {QStringLiteral("--faults"), QStringLiteral("delay 1-1000000 by 5ms")}));
    velkor_host::LineSettings settings;
    settings.plc = {QHostAddress(QHostAddress::LocalHost), plc.port()};
    settings.driverFile = QString::fromLocal8Bit(argv[1]);
    Line line(settings);
    require(line.open());

    const QVector<Tag> tags = scatteredTags();
    int good = 0;
    line.onRead = [&good](const velkor_host::ReadOutcome& outcome) { good += outcome.ok ? 1 : 0; };
    for (const Tag& tag : tags) {
        line.read(tag.reg, tag.address, 1);
    }
    const auto single = static_cast<double>(nanosecondsUntil([&] { return line.pending() == 0; }));
    if (good != TAGS) {
        require(QStringLiteral("%1 reads failed").arg(TAGS - good));
    }
    int blocks = 0;
    line.onRequest = [&blocks](const velkor_host::RequestEnd& /*end*/) { ++blocks; };
    require(line.setTags(tags));
    const auto merged = static_cast<double>(nanosecondsUntil([&] { return line.allFresh(); }));
    std::printf("%d scattered tags, 5 ms a reply: one by one %.2f s; in %d blocks %.3f s; %.0f "
                "times faster\n",
                TAGS, single / 1e9, blocks, merged / 1e9, single / merged);
    return 0;
}

#ifndef VELKOR_HOST_LINE_H
#define VELKOR_HOST_LINE_H

/// A line to one PLC: the one class that a host needs.
///
///     LineSettings settings;
///     settings.plc = {QHostAddress("192.168.250.1"), 9600};
///     Line line(settings);
///     line.onTags = [&](const QVector<int>& changed) { ... line.status(changed.first()) ... };
///     line.onWrite = [&](const WriteOutcome& outcome) { ... };
///     QString fault = line.open();
///     line.setTags(tags);
///     line.write("DM", 100, {1234});
///     ...
///     line.closeAndTell(); // every outcome has been told
///
/// What a line does. It loads a copy of the driver of its own, owns the socket and everything that
/// the driver borrows, and polls the tags, all of them once in each scan interval. Writes, one-shot
/// reads and recipes are done in the order in which they were handed over, one at a time, between
/// the polls. Lines share nothing: hundreds of them live in one process, on one thread or several.
///
/// Thread. A line belongs to the thread that made it: every call, the notices and the destructor
/// happen there, and the thread runs a Qt event loop.
///
/// Notices (the on... members, any of which may be empty) come from that event loop, never from
/// inside a call of the host's, closeAndTell() excepted. From inside a notice the host may call
/// anything of the line, close it, and destroy it. A notice tells what was so when it was noted;
/// status() tells what is so now. Outcomes wait for a listener until they are told, and are told to
/// nobody when there is none then.
///
/// Errors. Texts that are returned are empty when all is well; else they are one sentence for a
/// person, without a full stop.
///
/// Times are microseconds on a clock that never goes back; see now().
///
/// The driver writes debug lines to Qt's message handler, one for each write and block. The layer
/// drops them: with the first driver of the process it puts a message handler of its own before the
/// one that is there, and hands on everything else. A handler that the host installs later than
/// that replaces it, and gets the driver's lines.

#include <velkor/host/export.h>
#include <velkor/host/outcome.h>
#include <velkor/host/statistics.h>
#include <velkor/host/tag.h>
#include <velkor/host/witness.h>

#include <functional>
#include <memory>

namespace velkor_host {

/// What a number may be, both included.
struct SettingRange {
    int lowest;
    int highest;
};

struct LineSettings {
    static constexpr SettingRange WORDS_PER_FRAME{1, 503};
    static constexpr SettingRange RETRIES{1, 100};
    static constexpr SettingRange TIMEOUT_MS{1, 60000};
    static constexpr SettingRange SCAN_MS{10, 60000};
    static constexpr SettingRange REFUSED_RETRY_MS{1, 2000000};
    static constexpr int MODE_CHANGE_RETRIES = 2; ///< the least with `allowModeChange`

    Endpoint plc;   ///< its IPv4 address and UDP port; these PLCs leave the factory as
                    ///< 192.168.250.1, port 9600
    Endpoint local; ///< to send from; the default is any address, any port
    /// FINS network, node and unit of the PLC (DNA, DA1, DA2), then of this line (SNA, SA1, SA2), 0
    /// to 255 each. Empty: the nodes are the last octets of the two IPv4 addresses, all else 0.
    QVector<int> nodes;
    int wordsPerFrame = 256; ///< longest block; 256 words fit every PLC of the family
    int retries = 3;         ///< tries of a request
    int timeoutMs = 500;     ///< wait for the reply to one try, milliseconds
    int scanMs = 200;        ///< from scan to scan, milliseconds
    /// Whether the driver may switch a PLC that refuses a write by its mode to MONITOR. That starts
    /// the program of a PLC that was stopped, so it is forbidden unless somebody asks for it. With
    /// it, MODE_CHANGE_RETRIES are needed.
    bool allowModeChange = false;
    /// Between tries of words that the PLC has refused to give, milliseconds.
    int refusedRetryMs = 10000;
    /// The driver's file; empty: libvelkor.so.1 beside the program, else where this layer's shared
    /// library lies (whatever folder it was installed into), else in ../lib seen from the program,
    /// else in LD_LIBRARY_PATH, /usr/local/lib, the program's run path and the system's own
    /// folders (such as /usr/lib/x86_64-linux-gnu); not in those that only /etc/ld.so.conf names.
    QString driverFile;
};

class VELKOR_HOST_EXPORT Line {
public:
    explicit Line(const LineSettings& settings);
    /// Closes it; what close() would have told is not told any more, nor any other outcome that
    /// pending() still counts.
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// Loads the driver and opens the socket; sends nothing yet. On a fault the line stays closed.
    /// That this computer has no route to the PLC, now or later, is none: requests fail with
    /// "cannot send" until there is one.
    QString open();
    /// Ends everything: each write, read and recipe that is not settled is told with what is known
    /// by then (a write as Refused, Unknown or NotReached, a read as not ok, a recipe as GivenUp or
    /// NotVerified; from the event loop, as always), every tag goes back to NotRead,
    /// which onTags tells. The tags are kept, and polled again after the next open(). Does nothing
    /// when closed. Nothing is told from inside this call.
    void close();
    /// The same, and tells before it returns everything that has not been told yet, closed now or
    /// earlier: each outcome once, in the order in which they came about.
    void closeAndTell();
    bool isOpen() const;

    /// As handed to the constructor. The reference holds as long as the line.
    const LineSettings& settings() const;
    /// As used: DNA, DA1, DA2, SNA, SA1, SA2. Empty before the first open(). Where they are not
    /// set, SA1 is 0 while there is no route to the PLC, and another when this computer sends from
    /// another address.
    QVector<int> nodes() const;
    /// The address and port that the socket sends from. A null address when closed; 0.0.0.0 while
    /// there is no route to the PLC, unless LineSettings::local has an address. Both may become
    /// others when a frame could not be sent for want of a route, a port that was asked for not.
    Endpoint localEndpoint() const;

    /// What is polled from now on, instead of what was. All states begin with NotRead; no reading
    /// made for the old list is credited to the new one. Writes and reads under way are not
    /// touched. A text says which tag is wrong (register unknown to the driver, address out of its
    /// range, type that does not fit, count below 1, scale of 0, scale or offset that is not
    /// finite, limit that is no number, limits the wrong way round); then nothing has changed.
    /// Needs an open line.
    QString setTags(const QVector<Tag>& tags);
    /// The list last taken by setTags(), also when closed. The reference holds as long as the line;
    /// references to tags in it until the next setTags().
    const QVector<Tag>& tags() const;
    /// Of the first tag of that name in tags(); -1 when there is none.
    int tagIndex(const QString& name) const;
    /// `index` as in the list handed to setTags(). Of an index outside that list: NotRead, with a
    /// reason that says so. The reference holds until the next call of setTags(), open() or
    /// close().
    const TagStatus& status(int index) const;
    /// Every tag is Fresh; so it is when there are no tags.
    bool allFresh() const;

    /// Queues a write of items from `address` on: one 16-bit number for each word, or 0 or 1 for
    /// each bit; `address` as in Tag. Its outcome comes by onWrite, exactly once, with `note`.
    /// Returns its id, never 0; or 0 when it was not queued: line closed, no such register, items
    /// outside the register, or a bit that is neither 0 nor 1; `fault`, if given, says which, and
    /// is emptied when it was queued.
    quint64 write(const QString& reg, int address, const Items& items, QString* fault = nullptr,
                  const QString& note = QString());
    /// Of a tag, polled or not, from its first item on; `items` as parseTagText() gives them, not
    /// more than the tag has. The note is the tag's name.
    quint64 write(const Tag& tag, const Items& items, QString* fault = nullptr);

    /// Queues a one-shot read of `count` words or bits. Its outcome comes by onRead, with `note`.
    /// Returns as write() does.
    quint64 read(const QString& reg, int address, int count, QString* fault = nullptr,
                 const QString& note = QString());
    /// Of a tag, polled or not, now. The note is the tag's name; what was read does not change
    /// status().
    quint64 read(const Tag& tag, QString* fault = nullptr);

    /// Takes a write or one-shot read out of the queue of which nothing has been sent yet, so that
    /// it does not happen late: while the PLC is silent, what is queued waits, and is sent when it
    /// answers again. True: its outcome (NotReached, or not ok, with `last.takenBack`) comes as
    /// always, and the PLC has not seen it. False: it is under way or has ended, is a recipe (see
    /// giveUpRecipe()) or no id of this line; its outcome comes, or came, as if nothing had been
    /// asked.
    bool takeBack(quint64 id);

    /// Queues a download or an upload. Variables name word registers, share no words, and may come
    /// in any order, 65536 words together at most. With `readBack` a download is read back and
    /// compared. The outcome comes by onRecipe, with `note`. Polling rests while a recipe moves.
    /// Returns as write() does.
    quint64 download(const QVector<RecipeVariable>& recipe, bool readBack = false,
                     QString* fault = nullptr, const QString& note = QString());
    quint64 upload(const QVector<RecipeVariable>& recipe, QString* fault = nullptr,
                   const QString& note = QString());
    /// Ends the recipe under way after the frame in flight (GivenUp), or takes it out of the queue.
    /// Does nothing when it has ended.
    void giveUpRecipe(quint64 id);

    /// Writes, reads and recipes whose outcome has not been told yet; the one that is being told is
    /// not counted any more. Falls to 0 after close(), too, as the event loop tells them.
    int pending() const;

    /// The tags (indices, ascending, each once) of which the state or the value has changed, or
    /// that could not be read for the first time: what is to be shown anew. A reason that has
    /// become another is not told: whoever shows reasons looks them up when he shows them.
    std::function<void(const QVector<int>& changed)> onTags;
    /// The tags of which `pending` has changed: a write of the host's own tells its tags at once,
    /// with the value as it was. status() says how it is by now: a change that has been taken back
    /// since is told all the same.
    std::function<void(const QVector<int>& changed)> onPending;
    /// Every polled word has been asked for once since the last such notice.
    std::function<void()> onScan;
    std::function<void(const WriteOutcome& outcome)> onWrite;
    std::function<void(const ReadOutcome& outcome)> onRead;
    std::function<void(const RecipeOutcome& outcome)> onRecipe;
    /// A block of a recipe has been moved.
    std::function<void(const RecipeProgress& progress)> onRecipeProgress;
    /// Every request to the PLC, polls included, as it ends.
    std::function<void(const RequestEnd& end)> onRequest;

    /// What the link has been like since open(), where the counts begin anew; when closed, until
    /// close(). A copy, which costs little: it stays as it is, whatever becomes of the line.
    LinkStatistics statistics() const;
    /// The request under way, so far, once a try of it has gone unanswered or has met a closed
    /// port: why values grow old is known before it has failed for good.
    std::optional<RequestEnd> requestInTrouble() const;
    /// Borrowed: it must outlive the line, or be removed.
    void addWitness(FrameWitness* witness);
    void removeWitness(FrameWitness* witness);

    qint64 now() const;

private:
    class Private;
    std::shared_ptr<Private> d;
};

} // namespace velkor_host

#endif

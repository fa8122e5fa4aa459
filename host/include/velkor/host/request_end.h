#ifndef VELKOR_HOST_REQUEST_END_H
#define VELKOR_HOST_REQUEST_END_H

/// How one request to the PLC ended, and what that means to the person at the panel.

#include <velkor/host/endpoint.h>
#include <velkor/host/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace velkor_host {

struct LineSettings;

/// One request: a read or write of at most one frame. It may have taken several frames: resends,
/// and a change of the PLC's mode.
struct RequestEnd {
    bool ok = false;
    bool write = false;
    QString reg;     ///< register, as in Tag
    int address = 0; ///< as in Tag
    int length = 0;  ///< words, or bits in a bit register

    int tries = 0;        ///< frames handed to the system, mode changes not counted
    int refusals = 0;     ///< tries that the PLC answered with an error
    int doubtful = 0;     ///< refusals that came from something on the way to the PLC's memory
                          ///< for want of an answer (0205 and its like): see below
    int silent = 0;       ///< tries that no reply ended
    int unreached = 0;    ///< tries without a reply whose frame surely met a closed port: nobody
                          ///< got it
    int unsent = 0;       ///< tries without a reply whose frame this computer could not send:
                          ///< nobody got it
    int sendError = 0;    ///< why: the system's error number (errno) at the last such frame, that
                          ///< of a mode change included; 0: every frame was sent
    int refusedPort = 0;  ///< how often the PLC's computer said that nothing listens on the port
    int strange = 0;      ///< datagrams that came while it waited and were no reply to it
    int wrongLength = 0;  ///< replies of a wrong length that carried no error
    int endCode = -1;     ///< of the last reply, MRES * 256 + SRES, flags included; -1: none
    bool refused = false; ///< the last reply carried an error
    bool modeChange = false;             ///< the driver asked the PLC to change to MONITOR mode
    int modeChangeUnsent = 0;            ///< times that this computer could not send that
    int modeChangeEnd = -1;              ///< end code of that; -1: no answer
    int refusalBeforeModeChange = -1;    ///< end code that led to it
    bool refusedAfterModeChange = false; ///< the PLC has changed its mode, and refused all the same
    /// The line was closed before this was answered, or (`tries` 0) before it was sent.
    bool closed = false;
    bool takenBack = false; ///< by Line::takeBack(), before any of it was sent
    qint64 waited = 0;      ///< microseconds from the first frame to the end
    qint64 roundTrip = -1;  ///< microseconds to the reply to the first try; -1: it had none
    qint64 answeredAt = -1; ///< microseconds from the first frame to the last reply; -1: none came
    /// Microseconds from the PLC's last answer to an earlier request of this line to the first
    /// frame of this one; -1: none came since Line::open().
    qint64 answeredBefore = -1;
    int replyNode[3] = {-1, -1, -1}; ///< network, node and unit that answered; -1: none did

    /// Every try, if there was one, could not be sent, met a closed port, or was answered by an
    /// error that is not doubtful: the PLC has not executed the request.
    VELKOR_HOST_EXPORT bool surelyNotExecuted() const;
};

/// What the settings are called where the reader would change them; the defaults name the fields
/// of LineSettings.
struct SettingNames {
    QString plc = QStringLiteral("LineSettings::plc");
    QString nodes = QStringLiteral("LineSettings::nodes");
    QString timeout = QStringLiteral("LineSettings::timeoutMs");
    QString wordsPerFrame = QStringLiteral("LineSettings::wordsPerFrame");
    QString retries = QStringLiteral("LineSettings::retries");
    QString allowModeChange = QStringLiteral("LineSettings::allowModeChange");
};

/// "DM 100 (2 words)", "CIO_bit 3.5 (1 bit)"
VELKOR_HOST_EXPORT QString requestText(const QString& reg, int address, int length);
VELKOR_HOST_EXPORT QString requestText(const RequestEnd& end);

/// One line: why the request failed: tries, waiting time, end code in words. Of what was not sent:
/// "not sent", and whether because the line was closed or the host took it back. Empty when nothing
/// has failed (`ok`).
VELKOR_HOST_EXPORT QString failureReason(const RequestEnd& end, const LineSettings& settings,
                                         const SettingNames& names = SettingNames());

/// The same for a line of limited width, the key words first: "no answer: ...", "cannot send:
/// ...", "port unreachable: ...", "refused: ...", "error on the way: ..." (an end code that is not
/// the PLC's), "error: ..." (one that is not known), "wrong length: ...", "not sent: ...". Empty
/// when nothing has failed.
VELKOR_HOST_EXPORT QString shortReason(const RequestEnd& end, const LineSettings& settings);

/// The likely causes, the likeliest first; none when the PLC has had no chance to answer, or
/// nothing has failed. `nodes` as Line::nodes() gives them.
VELKOR_HOST_EXPORT QStringList likelyCauses(const RequestEnd& end, const LineSettings& settings,
                                            const QVector<int>& nodes,
                                            const SettingNames& names = SettingNames());

/// Headline and numbered causes, several lines. Empty when nothing has failed: what a recipe that
/// is Different holds, say, stands in its `differences`.
VELKOR_HOST_EXPORT QString failureText(const RequestEnd& end, const LineSettings& settings,
                                       const QVector<int>& nodes,
                                       const SettingNames& names = SettingNames());

} // namespace velkor_host

#endif

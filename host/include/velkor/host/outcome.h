#ifndef VELKOR_HOST_OUTCOME_H
#define VELKOR_HOST_OUTCOME_H

/// How a host's writes, one-shot reads and recipes ended. Each is told once. `note` is the host's
/// own, as it was given with the request: by it a host knows what the outcome is of.

#include <velkor/host/export.h>
#include <velkor/host/request_end.h>
#include <velkor/host/tag.h>

#include <QtCore/QVector>

namespace velkor_host {

enum class WriteResult {
    Taken,     ///< the PLC has acknowledged every item
    Refused,   ///< the PLC has refused a piece (end code in `last`), and has surely not executed it
    Unknown,   ///< a piece was sent and no answer settled what became of it: it may or may not have
               ///< been executed
    NotReached ///< the PLC has surely not got it: nothing was sent, because the line was closed or
               ///< this computer could not send, or nothing listened at its port
};

/// A write longer than a frame goes in pieces, in the order of their addresses; behind a piece that
/// was not taken nothing more is sent.
struct WriteOutcome {
    quint64 id = 0; ///< as Line::write() gave it
    QString note;
    QString reg;
    int address = 0;
    int count = 0; ///< items that were to be written
    WriteResult result = WriteResult::NotReached;
    int taken = 0;   ///< items, from the first, that the PLC has acknowledged: it holds them
    int unknown = 0; ///< items behind those that it may or may not hold (result Unknown)
    bool modeSwitched = false; ///< for it the PLC was switched to MONITOR mode
    bool modeUnknown = false;  ///< it was asked for that, and no answer says whether it has done so
    RequestEnd last;           ///< of the piece that decided; `ok` when it is Taken, `tries` 0 when
                               ///< nothing of that piece was sent
};

struct ReadOutcome {
    quint64 id = 0;
    QString note;
    QString reg;
    int address = 0;
    int count = 0;
    bool ok = false; ///< every item has been read, after Line::read() was called
    Items items;     ///< all of them, or empty when not ok
    RequestEnd last; ///< of the piece that failed, or of the last one; `tries` 0 when nothing of
                     ///< that piece was sent: the line was closed, or it was taken back
};

/// A run of words of a word register that a recipe moves.
struct RecipeVariable {
    QString reg;
    int address = 0;
    int count = 1;            ///< words
    Items words;              ///< download: the values, `count` of them; upload: ignored
    QString name = QString(); ///< the host's own, for texts; may be empty
};

/// The variable of a tag's words, with its name: of a word register, because a recipe moves no
/// bits. `words` as parseTagText() gives them, for a download.
VELKOR_HOST_EXPORT RecipeVariable recipeVariable(const Tag& tag, const Items& words = Items());

enum class RecipeDirection {
    Download, ///< from the host to the PLC
    Upload    ///< from the PLC to the host
};

enum class RecipeResult {
    Done,        ///< every block has been moved (and, if asked for, compared and found equal)
    Refused,     ///< the PLC has refused a block
    Unknown,     ///< a block was not answered: a download may or may not have written it
    NotReached,  ///< the PLC has surely not got a block: this computer could not send it, or
                 ///< nothing listened at the PLC's port
    Different,   ///< downloaded, but what was read back differs: see `differences`
    NotVerified, ///< downloaded, every block acknowledged, but reading it back failed, or was
                 ///< given up
    GivenUp      ///< by Line::giveUpRecipe() or the line's closing
};

/// What became of a recipe, block by block. Blocks are sent, and listed, by register in the order
/// of the driver's list (CIO, WR, HR, AR, T, C, DM), then by address: not in the host's order.
/// Words that no block was made of yet are listed in their place among them, joined where they
/// touch.
struct RecipeBlock {
    enum State {
        Moved,   ///< acknowledged: after a download the PLC holds it
        Unknown, ///< sent, not answered: the PLC may or may not hold it
        NotMoved ///< refused or never sent
    };
    QString reg;
    int address = 0;
    int length = 0; ///< words
    State state = NotMoved;
};

struct RecipeDifference {
    QString reg;
    int address = 0;
    quint16 wanted = 0;
    quint16 found = 0;
    QString name; ///< of the variable
};

struct RecipeOutcome {
    quint64 id = 0;
    QString note;
    RecipeDirection direction = RecipeDirection::Download;
    RecipeResult result = RecipeResult::GivenUp;
    bool readBack = false; ///< a download that was to be read back and compared
    QVector<RecipeBlock> blocks;
    QVector<RecipeVariable> variables;     ///< in the host's order; after an upload that is Done,
                                           ///< `words` holds what the PLC gave
    QVector<RecipeDifference> differences; ///< of a download that was read back
    bool modeSwitched = false;             ///< for it the PLC was switched to MONITOR mode
    bool modeUnknown = false; ///< it was asked for that, and no answer says whether it has done so
    /// Of the block that decided. It is no failure (`ok`) when every block was moved: Done and
    /// Different. `tries` is 0 when nothing of it was sent: given up, or the line closed, before.
    RequestEnd last;
};

enum class RecipePhase {
    Transfer, ///< the download or upload itself
    Compare   ///< what was downloaded is read back
};

/// How far a recipe has come, told when one of its blocks has been moved. Of a download that is
/// read back `words` rises to `ofWords` twice, once in each phase. After a change of the PLC's mode
/// the transfer begins again, and `words` with it.
struct RecipeProgress {
    quint64 id = 0;
    RecipePhase phase = RecipePhase::Transfer;
    int words = 0;   ///< moved so far in this phase, at least 1
    int ofWords = 0; ///< of the recipe
};

/// "taken", "refused", "unknown" or "not reached".
VELKOR_HOST_EXPORT QString writeResultName(WriteResult result);

/// "done", "refused", "unknown", "not reached", "different", "not verified" or "given up".
VELKOR_HOST_EXPORT QString recipeResultName(RecipeResult result);

/// "DM 100 to 111 written; DM 112 to 120 not known; HR 5 not written": what the PLC holds of a
/// download that did not end well. Names of variables stand behind the words: "HR 5 (product)".
VELKOR_HOST_EXPORT QString recipeBlocksText(const RecipeOutcome& outcome);

/// What became of it, on one line, with the reason where something went wrong: "written: DM 100 (2
/// words)", "writing DM 100 (2 words) failed; ...: no usable answer from ...". With several PLCs
/// `plc` names its own: "written: left/DM 100 (2 words)". `settings` are the line's, `names` as in
/// failureReason(). What to check besides stands in failureText() of `last`.
VELKOR_HOST_EXPORT QString outcomeText(const WriteOutcome& outcome, const LineSettings& settings,
                                       const SettingNames& names = SettingNames(),
                                       const QString& plc = QString());
VELKOR_HOST_EXPORT QString outcomeText(const ReadOutcome& outcome, const LineSettings& settings,
                                       const SettingNames& names = SettingNames(),
                                       const QString& plc = QString());
VELKOR_HOST_EXPORT QString outcomeText(const RecipeOutcome& outcome, const LineSettings& settings,
                                       const SettingNames& names = SettingNames(),
                                       const QString& plc = QString());

/// What the PLC holds of a write or a download that did not end well: one line each; none where the
/// failed request says it all. outcomeText() has them.
VELKOR_HOST_EXPORT QStringList leftBehind(const WriteOutcome& outcome);
VELKOR_HOST_EXPORT QStringList leftBehind(const RecipeOutcome& outcome);

} // namespace velkor_host

#endif

#ifndef VELKOR_TESTS_MODEL_CALL_H
#define VELKOR_TESTS_MODEL_CALL_H

/// One thing that a host does, as plain data: it can be repeated, printed and made simpler.

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <string>
#include <vector>

namespace model {

enum Kind {
    SetCallback,     ///< number: which of the host's two functions
    Init,            ///< text: properties; number: which of the host's two memories
    ProtocolType,    ///
    DriverParameter, ///
    PropertyPage,    ///
    SetPage,         ///< text
    RegList,         ///< number: type
    RegDescription,  ///< name
    CheckValidity,   ///< name, text, count, number: word expected
    CheckAddress,    ///< name, text, count, number: count kind, seed: access
    ConditionRead,   ///< ranges[0], number: type
    Merge,           ///< ranges
    Recipe,          ///< ranges
    Send,            ///
    Deal,            ///< reply
    GetData,         ///< station, name, addr, count
    SetData,         ///< station, name, addr, count, number: type, seed and pattern: values
    MultiCopy,       ///< name, addr: start, count, number: step
    ConnectToServer, ///
    ByteChange,      ///< station, name, addr, number: before * 256 + after
    PutRequestByte,  ///< count: 60115 or 60116, number: value; the host itself
    PutRecipeWords,  ///< seed; the host itself
    ForgetNodes,     ///< the host clears `nodeLearned`
    PutSid,          ///< number; as if so many frames had been built
    KindCount
};

/// A range of a list, or a recipe variable.
struct Range {
    int tag;
    int station;
    QString name;
    int addr;
    int len;
    int offset;
    int countKind;
};

/// What the host hands over as a reply; relative to a frame that was given out.
struct Reply {
    enum Sid { OfFrame, Newest, Fixed };
    int age; ///< which frame: 0 the last one given out, 1 the one before...
    bool exactLength;
    int length; ///< exact, or what is added to the length expected
    Sid sid;
    int sidValue; ///< for Fixed
    int mres, sres;
    unsigned seed; ///< decides the words, together with their addresses
    int pattern;   ///< the bits that may be set in a word
};

struct Call {
    Kind kind;
    int station;
    QString name;
    QString text;
    int addr;
    int count;
    int number;
    unsigned seed;
    int pattern;
    std::vector<Range> ranges;
    Reply reply;
    /// Made inside callbacks: inside the callback with that number, counted through the whole
    /// outermost call, or inside every one.
    struct Reaction;
    std::vector<Reaction> reactions;

    Call();
    explicit Call(Kind kind);
    Call(const Call&);
    Call(Call&&) noexcept;
    Call& operator=(const Call&);
    Call& operator=(Call&&) noexcept;
    ~Call();
};

enum { EveryCallback = 0 };

struct Call::Reaction {
    int when;
    Call call;
};

/// The call as a line of text, its reactions behind it.
std::string describe(const Call& call);

/// Values that depend on nothing but their arguments.
unsigned scrambled(unsigned seed, unsigned index);
QByteArray bytesFrom(unsigned seed, int pattern, int count);

} // namespace model

#endif

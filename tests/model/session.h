#ifndef VELKOR_TESTS_MODEL_SESSION_H
#define VELKOR_TESTS_MODEL_SESSION_H

/// A host and one driver: makes calls and enters in a journal all that can be seen of them.

#include "model/call.h"
#include "model/driver.h"

#include <vector>

namespace model {

/// What a host lends to a driver.
struct Lent {
    Lent();
    std::vector<unsigned char> block;
    std::vector<unsigned char> status;
    std::vector<unsigned short> recipe;
    QMutex mutex;

    std::vector<unsigned short> toldRecipe; ///< as it was entered last, and its sum
    std::uint64_t recipeSum;
};

class Session {
public:
    Session(Driver& driver, bool inWords);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Makes the call, with `reply` in place of its own description where it is one.
    void perform(const Call& call, const QByteArray& reply);
    /// Enters the whole of the memories.
    void tellMemories();

    const Journal& journal() const { return journal_; }
    /// The frame that getSendFrame gave out last, if it did so in the last call.
    const host::FramePro* frameGivenOut() const { return givenOut_ ? &frame_ : nullptr; }
    /// How many callbacks were heard so far.
    long long callbacks() const { return allCallbacks_; }

    /// Debug lines of whichever driver is working are entered in its journal.
    static void hearDebugLine(const QString& line);

private:
    static int hearFirst(int tag, int station, QString name, int address);
    static int hearSecond(int tag, int station, QString name, int address);
    void hear(int which, int tag, int station, const QString& name, int address);
    void react();

    void make(const Call& call);
    void makeExchange(const Call& call);
    void makeQuery(const Call& call);
    void makeDataCall(const Call& call);
    void makeHostDeed(const Call& call);
    void check(const Call& call);
    void merge(const Call& call);
    void recipe(const Call& call);
    void multiCopy(const Call& call);
    void init(const Call& call);
    void send();
    void tellEverything();
    void tellLent();
    void tellRecipe(Lent& lent);

    Driver& driver_;
    Journal journal_;
    Lent lent_[2];
    host::FramePro frame_;
    bool givenOut_;
    QByteArray reply_;
    QString message_;
    const Call* outermost_;
    int callbackNumber_;
    int depth_;
    long long allCallbacks_;
    static Session* working;
};

/// Recipe words of each memory.
enum { RecipeWords = 1400 };

} // namespace model

#endif

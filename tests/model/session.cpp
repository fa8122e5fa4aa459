#include "model/session.h"

#include "model/tell_object.h"

#include <cstring>

namespace model {

namespace {

const int deepest = 3;         // calls inside one another, the outermost not counted
const int reactingUpTo = 40;   // callbacks of one call
const std::size_t around = 24; // bytes before and behind those that the driver may touch

host::KeyAddress keyOf(const Range& range) {
    host::KeyAddress key = host::KeyAddress();
    key.keyText = QLatin1String("a");
    key.keyValue = range.tag;
    key.rcpOffset = range.offset;
    key.station = range.station;
    key.regName = range.name;
    key.keyText2 = QLatin1String("b");
    key.addr = range.addr;
    key.countKind = range.countKind;
    key.len = range.len;
    std::memset(key.data, range.offset & 0xFF, sizeof key.data);
    return key;
}

host::RecipeVariable recipeVariableOf(const Range& range) {
    host::RecipeVariable variable = host::RecipeVariable();
    variable.hostTag = range.tag;
    variable.station = range.station;
    variable.regName = range.name;
    variable.addr = range.addr;
    variable.len = range.len;
    variable.rcpOffset = range.offset;
    variable.spare = range.countKind;
    return variable;
}

} // namespace

Session* Session::working = nullptr;

Lent::Lent()
    : block(60117 + around, 0x77), status(122024 + around, 0xEE), recipe(RecipeWords),
      recipeSum(0) {
    block[60115] = block[60116] = 0;
}

Session::Session(Driver& driver, bool inWords)
    : driver_(driver), journal_(inWords), frame_(), givenOut_(false), outermost_(nullptr),
      callbackNumber_(0), depth_(0), allCallbacks_(0) {
    std::memset(frame_.frame, 0xA5, sizeof frame_.frame);
    driver_.setAddrValueChangeCallBack(&Session::hearFirst);
    tellEverything();
}

Session::~Session() {
    working = nullptr;
}

void Session::hearDebugLine(const QString& line) {
    if (working != nullptr) {
        working->journal_.entry("debug line");
        working->journal_.text("text", line);
    }
}

int Session::hearFirst(int tag, int station, QString name, int address) {
    working->hear(1, tag, station, name, address);
    return -1; // the driver does not look at it
}

int Session::hearSecond(int tag, int station, QString name, int address) {
    working->hear(2, tag, station, name, address);
    return 1;
}

void Session::hear(int which, int tag, int station, const QString& name, int address) {
    ++callbackNumber_;
    ++allCallbacks_;
    journal_.entry("callback");
    journal_.number("function", which);
    journal_.number("tag", tag);
    journal_.number("station", station);
    journal_.text("name", name);
    journal_.number("address", address);
    tellEverything();
    react();
}

void Session::react() {
    if (depth_ >= deepest || callbackNumber_ > reactingUpTo) {
        return;
    }
    const int number = callbackNumber_;
    for (const Call::Reaction& reaction : outermost_->reactions) {
        if (reaction.when == number || reaction.when == EveryCallback) {
            ++depth_;
            make(reaction.call);
            --depth_;
        }
    }
}

void Session::perform(const Call& call, const QByteArray& reply) {
    working = this;
    outermost_ = &call;
    callbackNumber_ = 0;
    givenOut_ = false;
    reply_ = reply;
    make(call);
    tellEverything();
}

void Session::make(const Call& call) {
    journal_.entry("call");
    journal_.number("kind", call.kind);
    if (call.kind < RegList || call.kind == Send || call.kind == Deal) {
        makeExchange(call);
    } else if (call.kind < ConditionRead || call.kind == MultiCopy) {
        makeQuery(call);
    } else if (call.kind < ConnectToServer) {
        makeDataCall(call);
    } else {
        makeHostDeed(call);
    }
}

void Session::makeExchange(const Call& call) {
    int number = 4711;
    QString text = QLatin1String("before");
    switch (call.kind) {
    case SetCallback:
        driver_.setAddrValueChangeCallBack(call.number == 0 ? &Session::hearFirst
                                                            : &Session::hearSecond);
        break;
    case Init:
        init(call);
        break;
    case ProtocolType:
        driver_.getProtocolType(&number);
        break;
    case DriverParameter:
        driver_.getDriverParameter(text);
        break;
    case PropertyPage:
        driver_.getDriverPropertyPage(text);
        break;
    case SetPage:
        driver_.setDriverPropertyPage(call.text);
        break;
    case Send:
        send();
        break;
    default:
        journal_.number("result", driver_.dealRcvFrame(&reply_, &message_));
        journal_.bytes("reply", reply_.constData(), static_cast<std::size_t>(reply_.size()));
        break;
    }
    journal_.number("out", number);
    journal_.text("out", text);
}

void Session::init(const Call& call) {
    Lent& lent = lent_[call.number == 0 ? 0 : 1];
    int out = 0;
    journal_.number("result",
                    driver_.initProperty(lent.block.data(), lent.status.data(), lent.recipe.data(),
                                         &out, call.text.toLatin1().constData(), &lent.mutex));
    journal_.number("out", out);
}

void Session::send() {
    const unsigned int result = driver_.getSendFrame(frame_);
    givenOut_ = result == 1;
    journal_.number("result", result);
    journal_.entry("  frame");
    tell(journal_, frame_);
}

void Session::makeQuery(const Call& call) {
    QList<QString> names;
    names.append(QLatin1String("before"));
    switch (call.kind) {
    case RegList:
        journal_.number("result", driver_.getRegListByType(call.number, names));
        break;
    case RegDescription:
        journal_.number("result", driver_.getRegDiscription(call.name, names));
        break;
    case MultiCopy:
        multiCopy(call);
        break;
    default:
        check(call);
        break;
    }
    tellList(journal_, "  names", names);
}

void Session::check(const Call& call) {
    int out = 4711;
    const int result =
        call.kind == CheckValidity
            ? driver_.checkAddrValidity(call.name, call.text, &out, call.count, call.number)
            : driver_.checkAddr(call.name, call.text, &out, call.number, call.count,
                                static_cast<int>(call.seed));
    journal_.number("result", result);
    journal_.number("out", out);
}

void Session::multiCopy(const Call& call) {
    QVector<QString> texts(1);
    QVector<int> values(1);
    journal_.number(
        "result", driver_.multiCopy(call.name, call.addr, call.count, call.number, texts, values));
    tellList(journal_, "  texts", texts);
    tellList(journal_, "  values", values);
}

void Session::makeDataCall(const Call& call) {
    switch (call.kind) {
    case ConditionRead:
        journal_.number("result", driver_.addConditionRead(keyOf(call.ranges.at(0)), call.number));
        break;
    case Merge:
        merge(call);
        break;
    case Recipe:
        recipe(call);
        break;
    case GetData: {
        std::vector<unsigned char> out(static_cast<std::size_t>(2 * qMax(call.count, 0) + 8), 0x5A);
        journal_.number("result", driver_.getData(call.station, call.name, call.addr, call.count,
                                                  out.data() + 4));
        journal_.bytes("out", out.data(), out.size());
        break;
    }
    default: {
        QByteArray data = bytesFrom(call.seed, call.pattern, 2 * qMax(call.count, 1));
        unsigned char* bytes = reinterpret_cast<unsigned char*>(data.data());
        journal_.number("result", driver_.setData(call.station, call.name, call.addr, call.count,
                                                  bytes, call.number));
        journal_.bytes("data", bytes, static_cast<std::size_t>(data.size()));
        break;
    }
    }
}

void Session::merge(const Call& call) {
    QList<host::KeyAddress> keys;
    for (const Range& range : call.ranges) {
        keys.append(keyOf(range));
    }
    journal_.number("result", driver_.addrMerge(keys));
    tellList(journal_, "  keys", keys);
}

void Session::recipe(const Call& call) {
    QVector<host::RecipeVariable> variables;
    for (const Range& range : call.ranges) {
        variables.append(recipeVariableOf(range));
    }
    journal_.number("result", driver_.setRcpAddress(variables));
    tellList(journal_, "  variables", variables);
}

void Session::makeHostDeed(const Call& call) {
    switch (call.kind) {
    case ConnectToServer:
        driver_.connectToServer();
        break;
    case ByteChange: {
        unsigned char before = static_cast<unsigned char>(call.number / 256);
        unsigned char after = static_cast<unsigned char>(call.number % 256);
        driver_.byteDataChange(&before, &after, call.station, call.name, call.addr);
        break;
    }
    case PutRequestByte:
        for (Lent& lent : lent_) {
            lent.block[static_cast<std::size_t>(call.count)] =
                static_cast<unsigned char>(call.number);
        }
        break;
    case PutRecipeWords:
        for (unsigned i = 0; i < RecipeWords; ++i) {
            lent_[0].recipe[i] = static_cast<unsigned short>(scrambled(call.seed, i));
            lent_[1].recipe[i] = static_cast<unsigned short>(scrambled(call.seed + 1, i));
        }
        break;
    case ForgetNodes:
        driver_.setNodeLearned(0);
        break;
    default:
        driver_.setSid(static_cast<unsigned char>(call.number));
        break;
    }
}

void Session::tellEverything() {
    driver_.tellObject(journal_);
    journal_.entry("  pointers");
    const host::Callback callback = driver_.callback();
    journal_.number("callback", callback == &Session::hearFirst    ? 1
                                : callback == &Session::hearSecond ? 2
                                : callback == nullptr              ? 0
                                                                   : -1);
    for (Lent& lent : lent_) {
        journal_.number("block", driver_.hostBlock() == lent.block.data());
        journal_.number("status", driver_.hostStatusBlock() == lent.status.data());
        journal_.number("recipe", driver_.hostRecipeBuffer() == lent.recipe.data());
        journal_.number("mutex", driver_.hostMutex() == &lent.mutex);
    }
    journal_.text("message", message_);
    tellLent();
}

void Session::tellLent() {
    for (Lent& lent : lent_) {
        journal_.entry("  lent memory");
        const bool free = lent.mutex.tryLock();
        if (free) {
            lent.mutex.unlock();
        }
        journal_.number("mutex free", free);
        journal_.bytes("block", &lent.block[60115 - around], 2 + 2 * around);
        journal_.bytes("status", &lent.status[122022 - around], 2 + 2 * around);
        tellRecipe(lent);
    }
}

void Session::tellRecipe(Lent& lent) {
    if (journal_.isInWords()) {
        journal_.bytes("recipe", lent.recipe.data(), 2 * lent.recipe.size());
        return;
    }
    if (lent.recipe != lent.toldRecipe) { // its sum is worked out when it has changed
        Journal alone(false);
        alone.bytes("recipe", lent.recipe.data(), 2 * lent.recipe.size());
        lent.toldRecipe = lent.recipe;
        lent.recipeSum = alone.sum();
    }
    journal_.number("recipe", static_cast<long long>(lent.recipeSum));
}

void Session::tellMemories() {
    for (Lent& lent : lent_) {
        journal_.entry("lent memory");
        journal_.bytes("block", lent.block.data(), lent.block.size());
        journal_.bytes("status", lent.status.data(), lent.status.size());
    }
}

} // namespace model

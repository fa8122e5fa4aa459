#include "model/sequence_generator.h"

#include "model/host_habits.h"

namespace model {

namespace {

/// Stands for Send and then Deal.
const int Turn = KindCount;

/// How often each kind of call is made, for each mood.
struct Weight {
    int what;
    int times[MoodCount]; // polling, writing, recipes, one-shot reads, queries, chaos
};

const Weight weights[] = {
    {Turn, {60, 45, 60, 45, 10, 30}},
    {Send, {4, 4, 4, 4, 2, 6}},
    {Deal, {4, 4, 4, 4, 2, 6}},
    {SetCallback, {1, 1, 1, 1, 2, 2}},
    {Init, {1, 1, 1, 1, 3, 3}},
    {ProtocolType, {0, 0, 0, 0, 2, 1}},
    {DriverParameter, {0, 0, 0, 0, 2, 1}},
    {PropertyPage, {0, 0, 0, 0, 2, 1}},
    {SetPage, {1, 1, 1, 1, 6, 3}},
    {RegList, {0, 0, 0, 0, 8, 1}},
    {RegDescription, {0, 0, 0, 0, 8, 1}},
    {CheckValidity, {0, 0, 0, 0, 25, 4}},
    {CheckAddress, {0, 0, 0, 0, 25, 4}},
    {ConditionRead, {4, 3, 1, 25, 3, 8}},
    {Merge, {5, 2, 1, 2, 2, 5}},
    {Recipe, {1, 1, 4, 1, 1, 5}},
    {GetData, {8, 8, 2, 4, 4, 6}},
    {SetData, {6, 30, 2, 4, 2, 10}},
    {MultiCopy, {0, 0, 0, 0, 12, 3}},
    {ConnectToServer, {0, 0, 0, 0, 1, 2}},
    {ByteChange, {0, 0, 0, 0, 2, 2}},
    {PutRequestByte, {1, 1, 7, 1, 1, 5}},
    {PutRecipeWords, {0, 0, 3, 0, 0, 1}},
    {ForgetNodes, {0, 0, 0, 0, 1, 2}},
    {PutSid, {0, 0, 0, 0, 0, 1}},
};

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed), habits_(random_) {}
    std::vector<Call> sequence(int calls);

private:
    int what();
    Call beginning(Kind kind);
    Call callOf(Kind kind);
    void fillSettings(Call& call);
    void fillQuery(Call& call);
    void fillLists(Call& call);
    void fillData(Call& call);
    void fillHostDeed(Call& call);
    void fillReactions(Call& call);
    Call reaction();
    Reply reply();
    void spoil(Reply& reply);
    QString properties();
    QString page();
    QString addressText();
    int itemCount();
    int manyPieces();

    Random random_;
    HostHabits habits_;
};

int Generator::what() {
    int total = 0;
    for (const Weight& weight : weights) {
        total += weight.times[habits_.mood];
    }
    int left = random_.below(total);
    for (const Weight& weight : weights) {
        left -= weight.times[habits_.mood];
        if (left < 0) {
            return weight.what;
        }
    }
    return Turn;
}

std::vector<Call> Generator::sequence(int calls) {
    std::vector<Call> sequence;
    const std::size_t most = static_cast<std::size_t>(calls);
    if (random_.percent(20)) { // something before the driver is bound
        for (int i = random_.below(8); i > 0; --i) {
            sequence.push_back(callOf(static_cast<Kind>(random_.below(KindCount))));
        }
    }
    sequence.push_back(beginning(Init));
    sequence.push_back(beginning(SetPage));
    sequence.push_back(beginning(PutRecipeWords));
    if (random_.percent(15)) {
        sequence.push_back(beginning(PutSid));
    }
    if (habits_.mood == Polling || random_.percent(50)) {
        sequence.push_back(callOf(Merge));
    }
    if (habits_.mood == Reciping) {
        sequence.push_back(callOf(Recipe));
    }
    while (sequence.size() < most) {
        const int next = what();
        sequence.push_back(callOf(next == Turn ? Send : static_cast<Kind>(next)));
        if (next == Turn && sequence.size() < most) {
            sequence.push_back(callOf(Deal));
        }
    }
    sequence.resize(most);
    return sequence;
}

Call Generator::beginning(Kind kind) {
    Call call(kind);
    if (kind == Init) {
        call.text = habits_.properties();
    } else if (kind == SetPage) {
        call.text = QLatin1String("6,0,1,0,0,10,0");
    } else if (kind == PutSid) {
        call.number = random_.between(200, 255);
    } else {
        call.seed = static_cast<unsigned>(random_.below(1000));
    }
    return call;
}

Call Generator::callOf(Kind kind) {
    Call call(kind);
    if (kind < RegList) {
        fillSettings(call);
    } else if (kind < ConditionRead || kind == MultiCopy) {
        fillQuery(call);
    } else if (kind == Deal) {
        call.reply = reply();
    } else if (kind == GetData || kind == SetData) {
        fillData(call);
    } else if (kind > MultiCopy) {
        fillHostDeed(call);
    } else if (kind != Send) {
        fillLists(call);
    }
    if (kind == Send || kind == Deal || kind == SetData || kind == ByteChange) {
        fillReactions(call);
    }
    return call;
}

void Generator::fillSettings(Call& call) {
    call.number = random_.below(2);
    if (call.kind == Init) {
        call.text = properties();
    } else if (call.kind == SetPage) {
        call.text = page();
    }
}

QString Generator::properties() {
    static const std::vector<const char*> odd = {
        "1#0#0#0",    "1#2#3#4#5#6", "x#x#x#x#x",           " 3 #+1#-2#5#  9", "",          "####",
        "7#0#0#3#4#", "7#0#0#2#1e2", "99999999999#0#0#1#2", "0x7#0#0#3#8",     "7#1#0#3#16"};
    if (random_.percent(40)) {
        return QString::fromLatin1(random_.oneOf(odd));
    }
    HostHabits other = habits_;
    other.wordsPerFrame = random_.oneOf(std::vector<int>{1, 2, 8, 64, other.wordsPerFrame});
    return other.properties();
}

QString Generator::page() {
    static const std::vector<const char*> odd = {"6,0,1,0,0,10,0",
                                                 "6,0,1,0,0,10",
                                                 "6,0,1,0,0,10,0,0",
                                                 "6,,1,0,0,10,0",
                                                 ",,,,,,",
                                                 "6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0",
                                                 "x,256,257,-1, 4 ,+5,99999999999",
                                                 "",
                                                 "6,1,2,3,4,5,6",
                                                 "6,255,254,253,252,251,250"};
    return QString::fromLatin1(random_.oneOf(odd));
}

QString Generator::addressText() {
    static const std::vector<const char*> odd = {
        "",           ".",           "1.",          ".5",           "1.2.3",
        "12a",        "10.05",       "10.16",       "10.15",        "447.15",
        "448.0",      "959.15",      "960.0",       "6143.15",      "6144.0",
        "-1",         "-1.5",        "007.3",       " 5",           "5 ",
        "+5",         "10.+5",       "10. 5",       "10.5 ",        "10.-5",
        "0x10",       "4095",        "4096",        "32767",        "32768",
        "6143",       "6144",        "511",         "512",          "1535.15",
        "1536.0",     "99999999999", "134217728.0", "134217727.15", "-134217729.9",
        "2147483647", "511.15",      "512.0",       "1535",         "1536",
        "959",        "960",         "0",           "0.0",          "10.9"};
    if (random_.percent(60)) {
        return QString::fromLatin1(random_.oneOf(odd));
    }
    const QString word = QString::number(random_.oneOf(habits_.bases) + 0LL);
    return random_.percent(50) ? word
                               : word + QLatin1Char('.') + QString::number(random_.below(18));
}

void Generator::fillQuery(Call& call) {
    call.name = habits_.name(random_);
    if (random_.percent(50)) {
        static const std::vector<const char*> names = {"CIO_bit", "WR_bit", "HR_bit", "AR_bit",
                                                       "DM_bit",  "CIO",    "WR",     "HR",
                                                       "AR",      "T",      "C",      "DM"};
        call.name = QString::fromLatin1(random_.oneOf(names));
    }
    call.text = addressText();
    call.addr = random_.percent(30) ? edgeNumber(random_) : habits_.address(random_, call.name);
    call.count = random_.percent(20) ? edgeNumber(random_) : random_.between(-1, 6);
    call.number = random_.between(-2, 3);
    call.seed = static_cast<unsigned>(random_.below(4));
    if (call.kind == MultiCopy && random_.percent(20)) {
        call.number = edgeNumber(random_);
    }
}

void Generator::fillLists(Call& call) {
    call.number = random_.percent(90) ? random_.between(0, 5) : edgeNumber(random_);
    int count = 1;
    if (call.kind != ConditionRead) {
        count = random_.percent(5) ? random_.between(20, 60) : random_.between(0, 8);
    }
    for (; count > 0; --count) {
        call.ranges.push_back(habits_.range(random_));
    }
    if (call.kind == ConditionRead && habits_.flooding &&
        random_.percent(6)) { // enough to fill the queue
        call.ranges[0].len = habits_.wordsPerFrame * manyPieces();
    }
    if (call.kind == Recipe && random_.percent(30)) { // one after the other, here and in the PLC
        for (std::size_t i = 1; i < call.ranges.size(); ++i) {
            const Range& before = call.ranges[i - 1];
            call.ranges[i].name = before.name;
            call.ranges[i].addr = static_cast<int>(static_cast<unsigned>(before.addr) +
                                                   static_cast<unsigned>(before.len));
            call.ranges[i].offset = qBound(0, before.offset + qBound(0, before.len, 500), 350);
        }
    }
}

/// As many as fill a queue, or more.
int Generator::manyPieces() {
    return random_.percent(70) ? random_.between(505, 530) : random_.between(500, 4000);
}

int Generator::itemCount() {
    if (habits_.flooding && random_.percent(8)) { // enough to fill the queue
        return habits_.wordsPerFrame * qMin(manyPieces(), 600);
    }
    if (habits_.large && random_.percent(5)) { // more than a frame can carry
        return random_.between(490, 1100);
    }
    return habits_.length(random_);
}

void Generator::fillData(Call& call) {
    static const std::vector<int> patterns = {1, 1, 3, 0x81, 0xFF, 0xFF, 0};
    call.station = habits_.station(random_);
    call.name = habits_.name(random_);
    call.addr = habits_.address(random_, call.name);
    call.count = itemCount();
    call.number = random_.percent(90) ? random_.below(5) : edgeNumber(random_);
    call.seed = static_cast<unsigned>(random_.below(5));
    call.pattern = random_.oneOf(patterns);
}

void Generator::fillHostDeed(Call& call) {
    call.station = habits_.station(random_);
    call.name = habits_.name(random_);
    call.addr = habits_.address(random_, call.name);
    call.number = random_.below(65536);
    call.seed = static_cast<unsigned>(random_.below(1000));
    if (call.kind == PutRequestByte) {
        call.count = random_.percent(50) ? 60115 : 60116;
        call.number = random_.percent(80) ? 1 : random_.below(4);
    } else if (call.kind == PutSid) {
        call.number = random_.below(256);
    }
}

void Generator::fillReactions(Call& call) {
    if (!random_.percent(habits_.reacting)) {
        return;
    }
    for (int i = random_.between(1, 3); i > 0; --i) {
        Call::Reaction inside = {random_.percent(25) ? static_cast<int>(EveryCallback)
                                                     : random_.between(1, 4),
                                 reaction()};
        call.reactions.push_back(inside);
    }
}

Call Generator::reaction() {
    static const std::vector<Kind> kinds = {
        GetData,       GetData,       SetData,      SetData,        SetData,
        ConditionRead, ConditionRead, ProtocolType, RegList,        RegDescription,
        CheckValidity, CheckAddress,  PropertyPage, DriverParameter};
    Call call(random_.oneOf(kinds));
    if (call.kind < RegList) {
        fillSettings(call);
    } else if (call.kind < ConditionRead) {
        fillQuery(call);
    } else if (call.kind == ConditionRead) {
        fillLists(call);
    } else {
        fillData(call);
    }
    return call;
}

Reply Generator::reply() {
    static const std::vector<int> patterns = {0, 1, 0x0101, 0x8001, 0xFFFF, 0xFFFF};
    Reply reply = Reply();
    reply.seed = static_cast<unsigned>(random_.below(4));
    reply.pattern = random_.oneOf(patterns);
    reply.sid = random_.percent(6) ? Reply::Newest : Reply::OfFrame;
    if (random_.percent(8)) {
        static const std::vector<int> refusals = {3, 3, 4, 6, 1, 2, 5, 7};
        reply.mres = 0x22;
        reply.sres = random_.oneOf(refusals);
        reply.sid = random_.percent(30) ? Reply::Newest : reply.sid;
    }
    if (random_.percent(habits_.badReplies)) {
        spoil(reply);
    }
    return reply;
}

void Generator::spoil(Reply& reply) {
    switch (random_.below(8)) {
    case 0: // none
        reply.exactLength = true;
        break;
    case 1:
        reply.length = random_.between(-2, 2);
        break;
    case 2:
        reply.exactLength = true;
        reply.length = random_.percent(50) ? random_.between(0, 26) : random_.below(2000);
        break;
    case 3: // late
        reply.age = random_.between(1, 3);
        break;
    case 4:
        reply.sid = Reply::Fixed;
        reply.sidValue = random_.below(256);
        break;
    case 5:
        reply.mres = random_.below(256);
        reply.sres = random_.below(256);
        break;
    case 6:
        reply.mres = 0x22 + random_.between(-1, 1);
        reply.sres = random_.below(9);
        break;
    default: // late, but with the ID that is waited for
        reply.age = 1;
        reply.sid = Reply::Newest;
        break;
    }
}

} // namespace

std::vector<Call> sequenceOf(unsigned seed, int calls) {
    return Generator(seed).sequence(calls);
}

} // namespace model

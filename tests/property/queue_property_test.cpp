// What holds of the queues of writes and of one-shot reads for whatever a host asks for.

#include "contract/loaded_driver.h"
#include "model/random.h"
#include "support/silence.h"

#include <cstring>

namespace {

const std::size_t most = 513;

/// What makes a request the same as another.
struct Wanted {
    int station;
    std::string name;
    int addr;
    int len;
};

bool isFor(const host::Variable& request, const Wanted& wanted) {
    return request.station == wanted.station && request.regName.toStdString() == wanted.name &&
           request.addr == wanted.addr && request.len == wanted.len;
}

bool areEqual(const host::Variable& a, const host::Variable& b) {
    return a.type == b.type && a.station == b.station && a.regName == b.regName &&
           a.addr == b.addr && a.len == b.len && std::memcmp(a.data, b.data, sizeof a.data) == 0;
}

Wanted randomWish(model::Random& random, int places) {
    return {random.percent(90) ? 1 : 2, random.percent(80) ? "DM" : "HR", random.below(places),
            random.between(1, 2)};
}

} // namespace

class QueueProperty : public LoadedDriver {
protected:
    const Silence silence;

    enum Queue { Writes, OneShotReads };

    const QList<host::Variable>& list(Queue queue) const {
        return queue == Writes ? object.writeList : object.conditionReadList;
    }

    void ask(Queue queue, const Wanted& wanted, int type) {
        const QString name = QString::fromStdString(wanted.name);
        if (queue == Writes) {
            unsigned char data[4] = {static_cast<unsigned char>(type & 0xFF), 2, 3, 4};
            intf.setData(wanted.station, name, wanted.addr, wanted.len, data, type);
        } else {
            host::KeyAddress key = makeKey(wanted.name.c_str(), wanted.addr, wanted.len);
            key.station = wanted.station;
            intf.addConditionRead(key, type);
        }
    }

    void answerOne() {
        host::FramePro frame = host::FramePro();
        if (intf.getSendFrame(frame) == 1U) {
            answer(frame, std::vector<int>(static_cast<std::size_t>(frame.dataLen / 2), 0));
        }
    }

    /// One request after the other, now and then an answer; the laws are looked at each time.
    void expectLaws(Queue queue, int places, int answers);
    void expectLawsAfter(Queue queue, const QList<host::Variable>& before, const Wanted& wanted,
                         int type);
};

void QueueProperty::expectLawsAfter(Queue queue, const QList<host::Variable>& before,
                                    const Wanted& wanted, int type) {
    const QList<host::Variable>& now = list(queue);
    ASSERT_LE(static_cast<std::size_t>(now.size()), most);
    ASSERT_GE(now.size(), before.size());
    int changed = 0;
    int newest = 0;
    for (int i = 0; i < now.size(); ++i) {
        const bool isNew = isFor(now.at(i), wanted) && now.at(i).type == type;
        newest += isNew ? 1 : 0;
        if (i >= before.size() || !areEqual(now.at(i), before.at(i))) {
            ++changed;
            ASSERT_TRUE(isNew) << "element " << i << " was changed, but is not the new request";
            ASSERT_TRUE(i > 0 || before.isEmpty()) << "the first may be under way";
        }
    }
    ASSERT_EQ(changed, 1);
    ASSERT_EQ(newest, 1);
}

void QueueProperty::expectLaws(Queue queue, int places, int answers) {
    model::Random random(static_cast<unsigned>(places + answers));
    int longest = 0;
    for (int type = 1; type <= 1500; ++type) { // a type of its own tells each request from others
        const QList<host::Variable> before = list(queue);
        const Wanted wanted = randomWish(random, places);
        ask(queue, wanted, type);
        expectLawsAfter(queue, before, wanted, type);
        if (HasFatalFailure()) {
            ADD_FAILURE() << "request " << type << ", " << before.size() << " waited";
            return;
        }
        longest = qMax(longest, static_cast<int>(list(queue).size()));
        if (random.percent(answers)) {
            answerOne();
        }
    }
    if (places > 1000 && answers == 0) {
        EXPECT_EQ(longest, static_cast<int>(most));
    }
}

TEST_F(QueueProperty, setData_fewPlaces_firstUntouchedAndNewestPresent) {
    expectLaws(Writes, 5, 20);
}

TEST_F(QueueProperty, setData_manyPlacesAndNoAnswer_atMost513AndNewestPresent) {
    expectLaws(Writes, 2000, 0);
}

TEST_F(QueueProperty, setData_fullQueueAndSomeAnswers_atMost513AndNewestPresent) {
    expectLaws(Writes, 1500, 20);
}

TEST_F(QueueProperty, addConditionRead_fewPlaces_firstUntouchedAndNewestPresent) {
    expectLaws(OneShotReads, 5, 20);
}

TEST_F(QueueProperty, addConditionRead_manyPlacesAndNoAnswer_atMost513AndNewestPresent) {
    expectLaws(OneShotReads, 2000, 0);
}

TEST_F(QueueProperty, addConditionRead_fullQueueAndSomeAnswers_atMost513AndNewestPresent) {
    expectLaws(OneShotReads, 1500, 20);
}

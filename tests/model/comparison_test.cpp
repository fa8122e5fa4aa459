// The comparer itself: it must see drivers that are wrong, and make its sequences short.

#include "model/comparison.h"
#include "model/naive_driver.h"
#include "model/sequence_generator.h"
#include "model/session.h"
#include "model/shrink.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const int sequences = 40;
const int calls = 200;

/// Right in everything.
class RightDriver : public model::NaiveDriver {
public:
    RightDriver() : NaiveDriver(&model::Session::hearDebugLine) {}
};

/// The fifth word or bit that is read comes out wrong.
class WrongResult : public RightDriver {
public:
    int getData(int station, const QString& name, int addr, int count,
                unsigned char* out) override {
        const int result = RightDriver::getData(station, name, addr, count, out);
        if (count >= 5) {
            out[4] = static_cast<unsigned char>(out[4] ^ 1);
        }
        return result;
    }
};

/// Its object is not as it should be, before anything has been called.
class WrongFromTheStart : public RightDriver {
public:
    WrongFromTheStart() { setSid(1); }
};

/// After a mode change was refused it forgets which ID it has used.
class WrongObject : public RightDriver {
public:
    unsigned int dealRcvFrame(QByteArray* reply, QString* message) override {
        const unsigned int result = RightDriver::dealRcvFrame(reply, message);
        if (result == 2 && reply->size() == 14) {
            setSid(77);
        }
        return result;
    }
};

/// Writes to a byte of the host that is not its own.
class WrongByte : public RightDriver {
public:
    int initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe, int* out,
                     const char* text, QMutex* mutex) override {
        block[5] = 1;
        return RightDriver::initProperty(block, status, recipe, out, text, mutex);
    }
};

/// Says one debug line too many.
class WrongDebugLine : public RightDriver {
public:
    int setRcpAddress(const QVector<host::RecipeVariable>& variables) override {
        if (variables.size() > 3) {
            model::Session::hearDebugLine(QLatin1String("step"));
        }
        return RightDriver::setRcpAddress(variables);
    }
};

template <typename Wrong> bool isSeenIn(const std::vector<model::Call>& sequence) {
    Wrong driver;
    return model::compare(driver, sequence, false, false).differs;
}

/// The first sequence that shows the wrong driver, shrunk; empty when none does.
template <typename Wrong> std::vector<model::Call> shortestThatSees() {
    for (unsigned seed = 1; seed <= sequences; ++seed) {
        const std::vector<model::Call> sequence = model::sequenceOf(seed, calls);
        if (isSeenIn<Wrong>(sequence)) {
            return model::shrunk(sequence, &isSeenIn<Wrong>, 3000);
        }
    }
    return {};
}

template <typename Wrong> std::string reportOf(const std::vector<model::Call>& sequence) {
    Wrong driver;
    return model::compare(driver, sequence, true, false).report;
}

} // namespace

TEST(ModelComparison, compare_rightDriver_noDifference) {
    EXPECT_TRUE(shortestThatSees<RightDriver>().empty());
}

TEST(ModelComparison, compare_wrongResult_seenInOneCall) {
    const std::vector<model::Call> few = shortestThatSees<WrongResult>();
    ASSERT_EQ(few.size(), 1U);
    EXPECT_EQ(few[0].kind, model::GetData);
    EXPECT_EQ(few[0].count, 5);
    EXPECT_EQ(few[0].addr, 0);
}

TEST(ModelComparison, compare_wrongObjectAtLoad_seenWithoutACall) {
    EXPECT_TRUE(isSeenIn<WrongFromTheStart>({}));
    EXPECT_NE(reportOf<WrongFromTheStart>({}).find("SID=1"), std::string::npos);
}

TEST(ModelComparison, compare_wrongObjectAfterARefusal_seenInFewCalls) {
    const std::vector<model::Call> few = shortestThatSees<WrongObject>();
    ASSERT_FALSE(few.empty());
    EXPECT_LE(few.size(), 6U); // bind, queue, ask, and three bad replies
    EXPECT_NE(reportOf<WrongObject>(few).find("SID=77"), std::string::npos);
}

TEST(ModelComparison, compare_wrongByteOfTheHost_seenInOneCall) {
    EXPECT_EQ(shortestThatSees<WrongByte>().size(), 1U);
}

TEST(ModelComparison, compare_debugLineTooMany_seenInOneCall) {
    const std::vector<model::Call> few = shortestThatSees<WrongDebugLine>();
    ASSERT_EQ(few.size(), 1U);
    EXPECT_EQ(few[0].ranges.size(), 4U);
}

TEST(ModelSequences, sequenceOf_sameSeed_sameCalls) {
    const std::vector<model::Call> one = model::sequenceOf(17, calls);
    const std::vector<model::Call> two = model::sequenceOf(17, calls);
    ASSERT_EQ(one.size(), static_cast<std::size_t>(calls));
    for (std::size_t i = 0; i < one.size(); ++i) {
        EXPECT_EQ(model::describe(one[i]), model::describe(two[i]));
    }
}

TEST(ModelSequences, sequenceOf_someSeeds_everyKindIsMade) {
    std::vector<int> made(model::KindCount, 0);
    for (unsigned seed = 1; seed <= sequences; ++seed) {
        for (const model::Call& call : model::sequenceOf(seed, calls)) {
            ++made[call.kind];
        }
    }
    for (int kind = 0; kind < model::KindCount; ++kind) {
        EXPECT_GT(made[static_cast<std::size_t>(kind)], 0) << kind;
    }
}

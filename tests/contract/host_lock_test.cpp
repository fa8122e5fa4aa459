/// The two bytes that other threads of the host may write, and the mutex that guards them, as the
/// processor sees it: the page in which they lie cannot be reached, each access to it is noted
/// where it traps, let through for one instruction, and the page is closed again. So nothing that
/// the driver does there goes unseen, whatever it was compiled to.

#include "contract/loaded_driver.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

using ::testing::Contains;
using ::testing::Each;
using ::testing::IsEmpty;

namespace {

const int downloadByte = 60115;
const int uploadByte = 60116;
const int blockBytes = 60117;
const int mostAccesses = 10000;
const greg_t trapFlag = 0x100; // of the flags register: a trap after the next instruction

struct Access {
    int byte;    ///< of the host shared block
    bool locked; ///< the mutex was held
    bool operator==(const Access& other) const {
        return byte == other.byte && locked == other.locked;
    }
};

std::ostream& operator<<(std::ostream& out, const Access& access) {
    return out << "byte " << access.byte << (access.locked ? " locked" : " UNLOCKED");
}

// What the signal handlers know.
unsigned char* watchedBlock = nullptr;
unsigned char* watchedPage = nullptr;
size_t pageBytes = 0;
QMutex* guard = nullptr;
Access accesses[mostAccesses];
int accessCount = 0;

void setReachable(bool reachable) {
    mprotect(watchedPage, pageBytes, reachable ? PROT_READ | PROT_WRITE : PROT_NONE);
}

/// Not recursive, so that it cannot be had while anybody holds it, this thread included.
bool isHeld(QMutex& mutex) {
    if (!mutex.tryLock()) {
        return true;
    }
    mutex.unlock();
    return false;
}

void noteAccess(int /*signal*/, siginfo_t* info, void* context) {
    auto* where = static_cast<unsigned char*>(info->si_addr);
    if (where < watchedPage || where >= watchedPage + pageBytes) {
        signal(SIGSEGV, SIG_DFL); // a fault of another kind: happens again, and ends the program
        return;
    }
    if (accessCount < mostAccesses) {
        accesses[accessCount++] = {static_cast<int>(where - watchedBlock), isHeld(*guard)};
    }
    setReachable(true);
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] |= trapFlag;
}

void closeAgain(int /*signal*/, siginfo_t* /*info*/, void* context) {
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_EFL] &= ~trapFlag;
    setReachable(false);
}

class HostLock : public LoadedDriver {
protected:
    HostLock() : m_page(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        // The byte before the watched page's first is the end of the page before: of its own
        // mapping.
        m_bytes = (blockBytes / m_page + 1) * m_page;
        void* mapped =
            mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(mapped, MAP_FAILED);
        watchedBlock = static_cast<unsigned char*>(mapped);
        watchedPage = watchedBlock + downloadByte / m_page * m_page;
        pageBytes = m_page;
        guard = &host.mutex;
        accessCount = 0;
        install(SIGSEGV, noteAccess, &m_segv);
        install(SIGTRAP, closeAgain, &m_trap);
        intf.initProperty(watchedBlock, host.status.data(), host.recipe.data(), &host.initOut,
                          "7#0#0#3#64", &host.mutex);
        setReachable(false);
    }
    ~HostLock() override {
        sigaction(SIGSEGV, &m_segv, nullptr);
        sigaction(SIGTRAP, &m_trap, nullptr);
        munmap(watchedBlock, m_bytes);
    }

    static void install(int signal, void (*handler)(int, siginfo_t*, void*),
                        struct sigaction* before) {
        struct sigaction action = {};
        action.sa_sigaction = handler;
        action.sa_flags = SA_SIGINFO;
        sigaction(signal, &action, before);
    }

    /// As another thread of the host does it; not counted.
    static void write(int byte, unsigned char value) {
        setReachable(true);
        watchedBlock[byte] = value;
        setReachable(false);
    }
    static int read(int byte) {
        setReachable(true);
        const int value = watchedBlock[byte];
        setReachable(false);
        return value;
    }

    static std::vector<Access> takeAccesses() {
        std::vector<Access> taken(accesses, accesses + accessCount);
        accessCount = 0;
        return taken;
    }

    /// Only to the two bytes, and only under the mutex.
    static void expectGuarded(const std::vector<Access>& taken) {
        EXPECT_THAT(taken,
                    Each(::testing::AnyOf(Access{downloadByte, true}, Access{uploadByte, true})));
    }

    void pollDataMemory() {
        QList<host::KeyAddress> keys;
        keys << makeKey("DM", 0, 2);
        intf.addrMerge(keys);
    }

    void prepareRecipe() {
        QVector<host::RecipeVariable> variables;
        variables << makeRecipeVariable(7, "DM", 100, 2, 0)
                  << makeRecipeVariable(7, "DM", 300, 2, 2);
        intf.setRcpAddress(variables);
    }

    /// A reply of no data with this end code.
    unsigned int refuse(const host::FramePro& frame, int mainCode, int subCode) {
        QByteArray reply(14, '\0');
        reply[9] = static_cast<char>(frame.frame[9]);
        reply[12] = static_cast<char>(mainCode);
        reply[13] = static_cast<char>(subCode);
        return answerBytes(reply);
    }

private:
    size_t m_page;
    size_t m_bytes;
    struct sigaction m_segv;
    struct sigaction m_trap;
};

TEST_F(HostLock, anAccessWithoutTheMutex_isNoted) {
    const unsigned char value = watchedBlock[uploadByte]; // traps, and goes on
    watchedBlock[downloadByte - 1] = static_cast<unsigned char>(value + 1);
    EXPECT_THAT(takeAccesses(),
                ::testing::ElementsAre(Access{uploadByte, false}, Access{downloadByte - 1, false}));
    EXPECT_EQ(read(downloadByte - 1), 1);
}

TEST_F(HostLock, getSendFrame_poll_looksAtTheTwoBytesUnderTheMutex) {
    pollDataMemory();
    EXPECT_THAT(takeAccesses(), IsEmpty());
    const host::FramePro frame = nextFrame();
    const std::vector<Access> asked = takeAccesses();
    EXPECT_THAT(asked, Contains(Access{downloadByte, true}));
    EXPECT_THAT(asked, Contains(Access{uploadByte, true}));
    expectGuarded(asked);
    EXPECT_EQ(answer(frame, {1, 2}), 1U);
    expectGuarded(takeAccesses());
}

TEST_F(HostLock, everyOtherCall_leavesThePageAlone) {
    pollDataMemory();
    prepareRecipe();
    QList<QString> texts;
    QVector<int> values;
    QString text;
    int out = 0;
    unsigned char data[4] = {1, 2, 3, 4};
    intf.getProtocolType(&out);
    intf.getDriverParameter(text);
    intf.getDriverPropertyPage(text);
    intf.setDriverPropertyPage(QLatin1String("6,0,1,0,0,10,0"));
    intf.getRegListByType(1, texts);
    intf.getRegDiscription(QLatin1String("DM"), texts);
    intf.checkAddrValidity(QLatin1String("DM"), QLatin1String("5"), &out, 1, 1);
    intf.checkAddr(QLatin1String("DM"), QLatin1String("5"), &out, 0, 1, 0);
    intf.addConditionRead(makeKey("DM", 9, 1), 0);
    intf.setData(1, QLatin1String("DM"), 0, 2, data, 0);
    intf.getData(1, QLatin1String("DM"), 0, 2, data);
    EXPECT_THAT(takeAccesses(), IsEmpty());
}

TEST_F(HostLock, recipeDownload_wholeStory_everyAccessUnderTheMutex) {
    prepareRecipe();
    write(downloadByte, 1);
    for (int block = 0; block < 2; ++block) {
        EXPECT_EQ(answer(nextFrame()), 1U);
    }
    const std::vector<Access> taken = takeAccesses();
    EXPECT_THAT(taken, Contains(Access{downloadByte, true}));
    expectGuarded(taken);
    EXPECT_EQ(read(downloadByte), 0);
}

TEST_F(HostLock, recipeUpload_wholeStory_everyAccessUnderTheMutex) {
    prepareRecipe();
    write(uploadByte, 1);
    for (int block = 0; block < 2; ++block) {
        EXPECT_EQ(answer(nextFrame(), {7, 8}), 1U);
    }
    const std::vector<Access> taken = takeAccesses();
    EXPECT_THAT(taken, Contains(Access{uploadByte, true}));
    expectGuarded(taken);
    EXPECT_EQ(read(uploadByte), 0);
}

TEST_F(HostLock, recipeThatFails_clearsItsByteUnderTheMutex) {
    for (int byte : {downloadByte, uploadByte}) {
        prepareRecipe();
        write(byte, 1);
        unsigned int result = 8;
        for (int tries = 0; tries < 10 && result == 8; ++tries) {
            nextFrame();
            result = answerBytes(QByteArray());
        }
        EXPECT_EQ(result, 2U);
        const std::vector<Access> taken = takeAccesses();
        EXPECT_THAT(taken, Contains(Access{byte, true}));
        expectGuarded(taken);
        EXPECT_EQ(read(byte), 0);
    }
}

TEST_F(HostLock, writeRefusedByTheMode_switchOfTheModeToo_everyAccessUnderTheMutex) {
    unsigned char data[2] = {1, 0};
    intf.setData(1, QLatin1String("DM"), 0, 1, data, 0);
    EXPECT_EQ(refuse(nextFrame(), 0x22, 0x03), 8U);
    const host::FramePro modeChange = nextFrame();
    EXPECT_EQ(modeChange.frame[10], 4); // RUN, to MONITOR
    EXPECT_EQ(answer(modeChange), 1U);
    for (int i = 0; i < 3; ++i) {
        refuse(nextFrame(), 0x22, 0x03);
    }
    expectGuarded(takeAccesses());
}

} // namespace

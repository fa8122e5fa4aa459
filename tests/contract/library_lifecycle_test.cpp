// Loading and unloading: one driver for each loaded copy of the library, built at load and gone
// at unload.

#include "contract/host_symbols.h"
#include "contract/loaded_driver.h"

#include <QtCore/QStringList>

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

/// A copy of the library's file under another name, removed at the end.
class LibraryCopy {
public:
    LibraryCopy() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velkor-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        std::filesystem::copy_file(Library::path(), path());
    }
    ~LibraryCopy() { std::filesystem::remove_all(folder_); }
    LibraryCopy(const LibraryCopy&) = delete;
    LibraryCopy& operator=(const LibraryCopy&) = delete;
    std::string path() const { return (folder_ / "libanotherdriver.so").string(); }

private:
    std::filesystem::path folder_;
};

void expectStartValues(const host::DriverObject& object) {
    EXPECT_TRUE(object.addrValueChangeCallBack == nullptr);
    for (int value : {object.hostTag,
                      object.writeDisabled,
                      object.propertyItem2,
                      object.retryLimit,
                      object.maxWordsPerFrame,
                      object.requestKind,
                      object.requestCount,
                      object.reserved22,
                      object.badReplyCount,
                      object.maxBitsPerFrame,
                      object.wordsPerFrame,
                      object.lastError,
                      object.reserved27,
                      object.reserved28,
                      object.rcpIndex,
                      object.SNA,
                      object.SA1,
                      object.SA2,
                      object.DNA,
                      object.DA1,
                      object.DA2,
                      static_cast<int>(object.SID),
                      object.reserved35}) {
        EXPECT_EQ(value, 0);
    }
    EXPECT_EQ(object.nodeLearned, 1);
    EXPECT_EQ(object.hostBlock, nullptr);
    EXPECT_EQ(object.hostStatusBlock, nullptr);
    EXPECT_EQ(object.hostRecipeBuffer, nullptr);
    EXPECT_EQ(object.hostMutex, nullptr);
    EXPECT_TRUE(object.readList.isEmpty());
    EXPECT_TRUE(object.writeList.isEmpty());
    EXPECT_TRUE(object.conditionReadList.isEmpty());
    EXPECT_TRUE(object.dataAreaList.isEmpty());
    EXPECT_TRUE(object.rcpVarVector.isEmpty());
    EXPECT_TRUE(object.rcpVector.isEmpty());
    EXPECT_TRUE(object.rcpBlockFirst.isEmpty());
    EXPECT_TRUE(object.conditionKey.regName.isEmpty());
    EXPECT_TRUE(object.currentVar.regName.isEmpty());
    EXPECT_TRUE(object.frameQueue.isEmpty());
}

/// Leaves something in every container and number of the driver, all under one register name.
void useEverything(const host::Entries& intf, Host& host, const QString& name) {
    host.bind(intf, "7#0#0#3#64");
    intf.setDriverPropertyPage(QString::fromLatin1("6,1,2,3,4,5,6"));
    unsigned char word[2] = {1, 2};
    intf.setData(1, name, 1, 1, word, 0);
    host::KeyAddress key = makeKey("", 2, 1);
    key.regName = name;
    intf.addConditionRead(key, 0);
    QList<host::KeyAddress> keys;
    keys << key;
    intf.addrMerge(keys);
    host::RecipeVariable variable = makeRecipeVariable(7, "", 100, 2, 0);
    variable.regName = name;
    intf.setRcpAddress(QVector<host::RecipeVariable>() << variable);
    host::FramePro frame = host::FramePro();
    EXPECT_EQ(intf.getSendFrame(frame), 1U);
}

std::vector<int> header(const host::Entries& intf) {
    host::FramePro frame = host::FramePro();
    EXPECT_EQ(intf.getSendFrame(frame), 1U);
    return std::vector<int>(frame.frame, frame.frame + 10);
}

} // namespace

TEST(LibraryLifecycle, load_first_driverHasItsStartValues) {
    const Library library(Library::path(), RTLD_LOCAL);
    expectStartValues(library.driverObject());
}

TEST(LibraryLifecycle, unload_afterUse_reallyUnmapped) {
    ASSERT_FALSE(Library::isMapped(Library::path()));
    Host host;
    Library library(Library::path(), RTLD_LOCAL);
    EXPECT_TRUE(Library::isMapped(Library::path()));
    useEverything(library.entries(), host, QString::fromLatin1("DM"));
    library.close();
    EXPECT_FALSE(Library::isMapped(Library::path()));
}

TEST(LibraryLifecycle, reload_afterUse_freshDriver) {
    for (int round = 0; round < 3; ++round) {
        Host host;
        Library library(Library::path(), RTLD_LOCAL);
        expectStartValues(library.driverObject());
        useEverything(library.entries(), host, QString::fromLatin1("DM"));
        EXPECT_EQ(library.driverObject().SID, 1);
        library.close();
        ASSERT_FALSE(Library::isMapped(Library::path()));
    }
}

TEST(LibraryLifecycle, unload_afterUse_everyContainerReleased) {
    QString name = QString::fromLatin1("DM");
    ASSERT_TRUE(name.isDetached());
    {
        Host host;
        Library library(Library::path(), RTLD_LOCAL);
        useEverything(library.entries(), host, name);
        const host::DriverObject& object = library.driverObject();
        EXPECT_FALSE(object.readList.isEmpty());
        EXPECT_FALSE(object.writeList.isEmpty());
        EXPECT_FALSE(object.conditionReadList.isEmpty());
        EXPECT_FALSE(object.dataAreaList.isEmpty());
        EXPECT_FALSE(object.rcpVarVector.isEmpty());
        EXPECT_FALSE(object.rcpVector.isEmpty());
        EXPECT_FALSE(object.frameQueue.isEmpty());
        EXPECT_FALSE(name.isDetached()); // the driver shares the text
    }
    EXPECT_TRUE(name.isDetached()); // nobody does any more
}

TEST(LibraryLifecycle, unload_hostMemoryGoneBefore_notTouched) {
    Library library(Library::path(), RTLD_LOCAL);
    {
        Host host;
        useEverything(library.entries(), host, QString::fromLatin1("DM"));
    }
    library.close(); // the driver frees and writes nothing that was lent to it
    EXPECT_FALSE(Library::isMapped(Library::path()));
}

TEST(LibraryLifecycle, unload_hostMemoryLent_unchangedAndItsMutexUsable) {
    Host host;
    Library library(Library::path(), RTLD_LOCAL);
    useEverything(library.entries(), host, QString::fromLatin1("DM"));
    library.close();
    EXPECT_EQ(std::count(host.block.begin(), host.block.end(), 0), 60117);
    EXPECT_EQ(std::count(host.status.begin(), host.status.end(), 0xEE), 122024);
    EXPECT_EQ(std::count(host.recipe.begin(), host.recipe.end(), 0), 4096);
    EXPECT_TRUE(host.mutex.tryLock());
    host.mutex.unlock();
}

TEST(LibraryLifecycle, unload_textsGivenOut_stayValid) {
    QString parameter;
    QString page;
    QStringList names;
    QVector<QString> texts;
    {
        const Library library(Library::path(), RTLD_LOCAL);
        const host::Entries intf = library.entries();
        QVector<int> values;
        intf.getDriverParameter(parameter);
        intf.getDriverPropertyPage(page);
        intf.getRegListByType(0, names);
        intf.getRegDiscription(QString::fromLatin1("AR_bit"), names);
        intf.multiCopy(QString::fromLatin1("CIO_bit"), 98303, 2, 1, texts, values);
    }
    ASSERT_FALSE(Library::isMapped(Library::path()));
    EXPECT_TRUE(parameter.startsWith(QLatin1String("0,9600,8,NONE,1,0,1,")));
    EXPECT_TRUE(page.startsWith(QLatin1String("6_0,DNA_0")));
    EXPECT_EQ(names.join(QLatin1String(" ")).toStdString(),
              "CIO_bit WR_bit HR_bit AR_bit DM_bit ddd.DD (DD:0~15) 448.0 959.15 0 1");
    EXPECT_EQ(texts, QVector<QString>(2, QString::fromLatin1("6143.15")));
}

TEST(LibraryLifecycle, load_staticObjects_twoTablesAndThenTheDriver) {
    // Destruction is the reverse of registration: the driver first, then the tables.
    startRecordingExitRegistrations();
    const Library library(Library::path(), RTLD_LOCAL);
    const std::vector<ExitRegistration> registered = stopRecordingExitRegistrations();
#ifdef __ARM_EABI__
    GTEST_SKIP() << "there, libraries register through another function";
#endif
    const void* object = &library.driverObject();
    ASSERT_EQ(registered.size(), 3U);
    EXPECT_NE(registered[0].object, object);
    EXPECT_NE(registered[1].object, object);
    EXPECT_EQ(registered[2].object, object);
    for (const ExitRegistration& registration : registered) {
        Dl_info info = Dl_info();
        ASSERT_NE(dladdr(registration.library, &info), 0);
        EXPECT_TRUE(std::filesystem::equivalent(info.dli_fname, Library::path()));
    }
}

TEST(LibraryLifecycle, twoCopies_openedGlobally_keepSeparateStates) {
    const LibraryCopy copy;
    const Library first(Library::path(), RTLD_GLOBAL);
    const Library second(copy.path(), RTLD_GLOBAL);
    const host::Entries one = first.entries();
    const host::Entries two = second.entries();
    ASSERT_NE(&first.driverObject(), &second.driverObject());

    Host firstHost;
    Host secondHost;
    useEverything(one, firstHost, QString::fromLatin1("DM"));
    expectStartValues(second.driverObject());

    EXPECT_EQ(secondHost.bind(two, "9#1#0#5#10"), 1);
    two.setDriverPropertyPage(QString::fromLatin1("6,21,22,23,24,25,26"));
    two.addConditionRead(makeKey("DM", 5, 1), 0);
    EXPECT_EQ(header(two), (std::vector<int>{0x80, 0, 2, 21, 22, 23, 24, 25, 26, 1}));
    EXPECT_EQ(header(one), (std::vector<int>{0x80, 0, 2, 1, 2, 3, 4, 5, 6, 1}));
    EXPECT_EQ(first.driverObject().hostTag, 7);
    EXPECT_EQ(second.driverObject().hostTag, 9);
    EXPECT_EQ(first.driverObject().hostBlock, firstHost.block.data());
    EXPECT_EQ(second.driverObject().hostBlock, secondHost.block.data());
    EXPECT_EQ(first.driverObject().writeList.size(), 1);
    EXPECT_EQ(second.driverObject().writeList.size(), 0);
}

TEST(LibraryLifecycle, twoCopies_oneUnloaded_theOtherGoesOn) {
    const LibraryCopy copy;
    Library first(Library::path(), RTLD_GLOBAL);
    const Library second(copy.path(), RTLD_GLOBAL);
    Host firstHost;
    Host secondHost;
    useEverything(first.entries(), firstHost, QString::fromLatin1("DM"));
    useEverything(second.entries(), secondHost, QString::fromLatin1("DM"));
    first.close();
    EXPECT_FALSE(Library::isMapped(Library::path()));
    EXPECT_EQ(header(second.entries()), (std::vector<int>{0x80, 0, 2, 1, 2, 3, 4, 5, 6, 1}));
    QString page;
    second.entries().getDriverPropertyPage(page);
    EXPECT_EQ(page.size(), 39); // "6_0" and six times ",XXX_0"
}

TEST(LibraryLifecycle, hostExportsItsOwnDriver_libraryUsesItsOwn) {
    std::fill(driver, driver + sizeof driver, static_cast<unsigned char>(0));
    const Library library(Library::path(), RTLD_GLOBAL);
    ASSERT_NE(static_cast<void*>(&library.driverObject()), static_cast<void*>(driver));
    Host host;
    useEverything(library.entries(), host, QString::fromLatin1("DM"));
    EXPECT_EQ(library.driverObject().hostTag, 7);
    EXPECT_EQ(std::count(driver, driver + sizeof driver, 0),
              static_cast<std::ptrdiff_t>(sizeof driver));
}

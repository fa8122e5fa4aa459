#ifndef VELKOR_TESTS_CONTRACT_LOADED_DRIVER_H
#define VELKOR_TESTS_CONTRACT_LOADED_DRIVER_H

/// The built library, loaded as a host loads it.

#include "contract/host_records.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// One dlopen of a library file.
class Library {
public:
    /// Fails the test when it cannot be opened. `flags` are added to RTLD_NOW.
    Library(const std::string& path, int flags);
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    /// Closes it; a second call does nothing.
    void close();
    /// The address of an exported name; fails the test when there is none.
    void* symbol(const char* name) const;
    host::Entries entries() const;
    host::DriverObject& driverObject() const;

    /// The library under test.
    static std::string path();
    /// Whether a file is mapped into this process now.
    static bool isMapped(const std::string& path);

private:
    void* handle_;
};

/// One call of the value-change callback.
struct Notice {
    int tag;
    int station;
    std::string regName;
    int address;

    bool operator==(const Notice& other) const;
};

std::ostream& operator<<(std::ostream& out, const Notice& notice);

/// What a host lends to the driver, and what it hears from it.
class Host {
public:
    Host();
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Registers this host's callback and calls intf_initProperty.
    int bind(const host::Entries& entries, const char* properties = "7#0#0#3#64");
    /// What was heard since the last call.
    std::vector<Notice> takeNotices();

    std::vector<unsigned char> block;  ///< 60117 bytes, zero
    std::vector<unsigned char> status; ///< 122024 bytes, 0xEE
    std::vector<unsigned short> recipe;
    QMutex mutex;
    int initOut;
    /// Called inside every callback.
    std::function<void(const Notice&)> onNotice;

private:
    static int hear(int tag, int station, QString regName, int address);
    std::vector<Notice> notices_;
};

/// Loads the library, binds a host to it, unloads it at the end.
class LoadedDriver : public ::testing::Test {
protected:
    LoadedDriver();

    /// The next frame, which must be there.
    host::FramePro nextFrame();
    /// The bytes of a frame that go out.
    static std::vector<int> sentBytes(const host::FramePro& frame);
    /// Hands in the reply that a PLC gives when all is well: `words` (for a read) as they are.
    unsigned int answer(const host::FramePro& frame, const std::vector<int>& words = {});
    unsigned int answerBytes(const QByteArray& reply);

    Library library;
    host::Entries intf;
    host::DriverObject& object;
    Host host;
    QString message; ///< what the last answer left in the message argument
};

host::KeyAddress makeKey(const char* regName, int addr, int len);
host::RecipeVariable makeRecipeVariable(int hostTag, const char* regName, int addr, int len,
                                        int rcpOffset);

#endif

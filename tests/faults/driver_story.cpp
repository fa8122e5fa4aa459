#include "faults/driver_story.h"

#include "faults/heap.h"
#include "model/journal.h"
#include "model/tell_object.h"

#include <algorithm>
#include <new>

namespace {

const int WORDS = 700;
const int RECIPE_DOWNLOAD = 60115; // request bytes in the host's block
const int RECIPE_UPLOAD = 60116;
const int STATION = 1;
const unsigned int REQUEST_FAILED = 2; // of dealRcvFrame
/// More than any single call allocates: only near the failure the object is looked at.
const long MOST_OF_A_CALL = 200;
const int ENOUGH_TURNS = 12; ///< for anything that is asked for, and for every block to be polled
const std::pair<const char*, plc::Area> AREAS[] = {
    {"CIO", plc::Area::Cio}, {"HR", plc::Area::Holding}, {"DM", plc::Area::Dm}};

plc::Area areaOf(const std::string& reg) {
    return std::find_if(std::begin(AREAS), std::end(AREAS),
                        [&](const auto& area) { return reg.compare(0, 2, area.first, 2) == 0; })
        ->second;
}

/// Hears of everything and allocates nothing.
int deaf(int, int, QString, int) {
    return 0;
}

void swallowDebugLine(QtMsgType, const QMessageLogContext&, const QString&) {}

host::KeyAddress keyOf(const char* reg, int address, int count) {
    host::KeyAddress key = host::KeyAddress();
    key.station = STATION;
    key.regName = QString::fromLatin1(reg);
    key.addr = address;
    key.len = count;
    return key;
}

host::RecipeVariable recipeVariable(const char* reg, int address, int count, int offset) {
    host::RecipeVariable variable = host::RecipeVariable();
    variable.hostTag = 7;
    variable.station = STATION;
    variable.regName = QString::fromLatin1(reg);
    variable.addr = address;
    variable.len = count;
    variable.rcpOffset = offset;
    return variable;
}

} // namespace

DriverStory::DriverStory(Answer answer, long failing)
    : m_answer(answer), m_untilFailure(failing), m_library(Library::path(), 0),
      m_intf(m_library.entries()), m_hostBlock(60117, 0), m_statusBlock(122024, 0),
      m_recipe(100, 0), m_out() {
    qInstallMessageHandler(&swallowDebugLine);
    for (int area = 0; area < 3; ++area) {
        for (int word = 0; word < WORDS; ++word) {
            m_plc.memory().setWord(AREAS[area].second, static_cast<unsigned>(word),
                                   static_cast<std::uint16_t>(10000 * area + 7 * word + 1));
        }
    }
    m_plc.setMode(plc::Mode::Monitor);
    m_plc.setWritesOnlyIn(plc::Mode::Monitor);
}

std::uint64_t DriverStory::sumOfObject() const {
    model::Journal journal(false);
    model::ObjectTeller().tellWholeObject(journal, m_library.driverObject());
    return journal.sum();
}

bool DriverStory::call(const char* name, const std::function<void()>& perform, bool always) {
    const bool near = m_untilFailure > 0 && m_untilFailure <= MOST_OF_A_CALL;
    const std::uint64_t before = near ? sumOfObject() : 0;
    try {
        heap::failAllocation(m_untilFailure);
        perform();
        m_untilFailure = heap::stopFailing();
        return true;
    } catch (const std::bad_alloc&) {
        heap::stopFailing();
        m_untilFailure = 0;
    }
    m_failedIn = name;
    require(near, "the object was looked at before the call");
    m_noTrace = sumOfObject() == before;
    require(m_mutex.tryLock(), "the mutex is free");
    m_mutex.unlock();
    if (m_answer == Again || always) {
        perform();
        return true;
    }
    return false;
}

void DriverStory::configure() {
    int out = 0;
    m_intf.setAddrValueChangeCallBack(&deaf);
    const QString page = QStringLiteral("6,0,1,0,0,10,0");
    call(
        "initProperty",
        [&] {
            m_intf.initProperty(m_hostBlock.data(), m_statusBlock.data(), m_recipe.data(), &out,
                                "7#0#0#3#16", &m_mutex);
        },
        true);
    call(
        "SetDriverPropertyPage", [&] { m_intf.setDriverPropertyPage(page); }, true);
    const QList<host::KeyAddress> tags = {keyOf("DM", 0, 20), keyOf("DM", 30, 4),
                                          keyOf("CIO_bit", 16, 40), keyOf("HR", 5, 6)};
    call(
        "addrMerge",
        [&] {
            QList<host::KeyAddress> list = tags; // as a host hands it over again
            m_intf.addrMerge(list);
        },
        true);
}

/// The queries: what they give is judged elsewhere; here, that they can fail.
void DriverStory::ask() {
    const QString reg = QStringLiteral("DM");
    const QString address = QStringLiteral("100");
    call("getDriverParameter", [&] {
        QString text;
        m_intf.getDriverParameter(text);
    });
    call("getDriverPropertyPage", [&] {
        QString text;
        m_intf.getDriverPropertyPage(text);
    });
    call("getRegListByType", [&] {
        QList<QString> names;
        m_intf.getRegListByType(0, names);
    });
    call("getRegDiscription", [&] {
        QList<QString> texts;
        m_intf.getRegDiscription(reg, texts);
    });
    call("checkAddrValidity", [&] {
        int value = 0;
        m_intf.checkAddrValidity(address, reg, &value, 1, 1);
    });
    call("multiCopy", [&] {
        QVector<QString> texts;
        QVector<int> numbers;
        m_intf.multiCopy(reg, 10, 4, 2, texts, numbers);
    });
}

void DriverStory::turn(bool silent) {
    unsigned int sent = 0;
    if (!call("getSendFrame", [&] { sent = m_intf.getSendFrame(m_out); }) || sent == 0) {
        return;
    }
    QByteArray reply;
    if (!silent) {
        const std::optional<plc::Bytes> bytes =
            m_plc.handle(plc::Bytes(m_out.frame, m_out.frame + m_out.sendLen));
        reply = QByteArray(reinterpret_cast<const char*>(bytes->data()),
                           static_cast<int>(bytes->size()));
    }
    QString message;
    unsigned int result = 0;
    call("dealRcvFrame", [&] { result = m_intf.dealRcvFrame(&reply, &message); });
    if (result == REQUEST_FAILED) {
        noteFailure();
    }
}

/// Of the frame sent last.
void DriverStory::noteFailure() {
    for (Written& write : m_written) {
        const int at = m_out.var.addr - write.address;
        write.failed = write.failed || (m_out.dataLen == 0 && at >= 0 &&
                                        at < static_cast<int>(write.items.size()) &&
                                        m_out.var.regName == QString::fromStdString(write.reg));
    }
}

void DriverStory::turns(int count) {
    for (int left = count; left > 0; --left) {
        turn();
    }
}

void DriverStory::write(const char* reg, int address, const std::vector<int>& items) {
    const QString name = QString::fromLatin1(reg);
    const bool bits = name.endsWith(QLatin1String("_bit"));
    std::vector<unsigned char> bytes;
    for (const int item : items) {
        bytes.push_back(static_cast<unsigned char>(item & 0xFF));
        if (!bits) {
            bytes.push_back(static_cast<unsigned char>(item >> 8));
        }
    }
    const bool done = call("setData", [&] {
        m_intf.setData(STATION, name, address, static_cast<int>(items.size()), bytes.data(), 0);
    });
    m_written.push_back({reg, address, items, !done, false});
    turns(ENOUGH_TURNS);
}

void DriverStory::readOnce(const char* reg, int address, int count) {
    const host::KeyAddress key = keyOf(reg, address, count);
    const bool done = call("addConditionRead", [&] { m_intf.addConditionRead(key, 0); });
    turns(ENOUGH_TURNS);
    if (done) {
        judgeHostWords(reg, address, count);
    }
}

void DriverStory::requestRecipe(int byte) {
    m_hostBlock[static_cast<std::size_t>(byte)] = 1;
    turns(ENOUGH_TURNS);
    require(m_hostBlock[static_cast<std::size_t>(byte)] == 0, "the request byte is cleared");
}

void DriverStory::moveRecipe() {
    const QVector<host::RecipeVariable> recipe = {recipeVariable("HR", 20, 3, 0),
                                                  recipeVariable("DM", 400, 12, 3),
                                                  recipeVariable("DM", 412, 9, 15)};
    call(
        "setRcpAddress", [&] { m_intf.setRcpAddress(recipe); }, true);
    for (std::size_t word = 0; word < m_recipe.size(); ++word) {
        m_recipe[word] = static_cast<unsigned short>(40000 + word);
    }
    requestRecipe(RECIPE_DOWNLOAD);
    for (const host::RecipeVariable& variable : recipe) {
        for (int word = 0; word < variable.len; ++word) {
            require(m_plc.memory().word(areaOf(variable.regName.toStdString()),
                                        static_cast<unsigned>(variable.addr + word)) ==
                        40000 + variable.rcpOffset + word,
                    "the PLC holds the recipe");
        }
    }
    std::fill(m_recipe.begin(), m_recipe.end(), static_cast<unsigned short>(0));
    requestRecipe(RECIPE_UPLOAD);
    for (std::size_t word = 0; word < 24; ++word) {
        require(m_recipe[word] == 40000 + word, "the host holds the recipe");
    }
}

void DriverStory::tell() {
    configure();
    ask();
    turns(ENOUGH_TURNS);
    write("DM", 100, {50001, 50002, 50003});
    write("DM", 1, {50011}); // of what is polled
    write("CIO_bit", 100 * 16 + 14, {1, 0, 1, 1, 1});
    std::vector<int> many;
    many.reserve(40);
    for (int item = 0; item < 40; ++item) {
        many.push_back(51000 + item);
    }
    write("DM", 200, many); // three frames
    readOnce("DM", 300, 20);
    moveRecipe();
    m_plc.setMode(plc::Mode::Run);
    write("DM", 600, {52000, 52001});
    for (int silence = 0; silence < 4; ++silence) { // a request fails
        turn(true);
    }
    m_plc.memory().setWord(plc::Area::Dm, 5, 60000); // and the poll goes on
    m_plc.memory().setWord(plc::Area::Holding, 6, 60001);
    turns(2 * ENOUGH_TURNS);
    judge();
}

void DriverStory::require(bool holds, const std::string& what) {
    if (!holds) {
        m_wrong.push_back("not so: " + what);
    }
}

void DriverStory::judgeHostWords(const char* reg, int address, int count) {
    std::vector<unsigned char> bytes(2 * static_cast<std::size_t>(count));
    const QString name = QString::fromLatin1(reg);
    call(
        "getData", [&] { m_intf.getData(STATION, name, address, count, bytes.data()); }, true);
    for (int word = 0; word < count; ++word) {
        const std::size_t at = 2 * static_cast<std::size_t>(word);
        require(bytes[at] + 256 * bytes[at + 1] ==
                    m_plc.memory().word(areaOf(reg), static_cast<unsigned>(address + word)),
                "the host sees what the PLC holds in " + std::string(reg) + ' ' +
                    std::to_string(address + word));
    }
}

bool DriverStory::plcHolds(const Written& write) const {
    const bool bits = write.reg == "CIO_bit";
    for (std::size_t item = 0; item < write.items.size(); ++item) {
        const unsigned address = static_cast<unsigned>(write.address) + static_cast<unsigned>(item);
        const int holds = bits ? m_plc.memory().bit(plc::Area::Cio, address / 16, address % 16)
                               : m_plc.memory().word(areaOf(write.reg), address);
        if (holds != write.items[item]) {
            return false;
        }
    }
    return true;
}

void DriverStory::judge() {
    for (const Written& write : m_written) {
        const bool holds = plcHolds(write);
        m_writeLost = m_writeLost || (!holds && write.failed);
        require(holds || write.failed || write.lost, "the PLC holds what was written to " +
                                                         write.reg + ' ' +
                                                         std::to_string(write.address));
    }
    judgeHostWords("DM", 0, 20);
    judgeHostWords("DM", 30, 4);
    judgeHostWords("CIO", 1, 3);
    judgeHostWords("HR", 5, 6);
    const host::DriverObject& object = m_library.driverObject();
    require(object.writeList.isEmpty() && object.conditionReadList.isEmpty(),
            "nothing waits any more");
}

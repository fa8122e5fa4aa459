#include "faults/line_story.h"

#include <velkor/host/registers.h>

#include <algorithm>

using namespace velkor_host;

namespace {

/// The words of these registers that a story may touch, and some more.
const int WORDS = 1200;
const std::pair<plc::Area, const char*> AREAS[] = {{plc::Area::Cio, "CIO"},
                                                   {plc::Area::Holding, "HR"},
                                                   {plc::Area::Auxiliary, "AR"},
                                                   {plc::Area::Dm, "DM"}};
const int AREA_CODES[][2] = {{0xB0, 0x30}, {0xB2, 0x32}, {0xB3, 0x33}, {0x82, 0x02}};

int areaIndex(const QString& reg) {
    for (int index = 0; index < 4; ++index) {
        if (wordRegisterName(reg) == QLatin1String(AREAS[index].second)) {
            return index;
        }
    }
    return -1;
}

int wordsOf(int area) {
    return AREAS[area].first == plc::Area::Auxiliary ? 900 : WORDS;
}

/// A word, or a bit of a bit register.
int item(const plc::Memory& memory, const QString& reg, int address) {
    const plc::Area area = AREAS[areaIndex(reg)].first;
    if (isBitRegister(reg)) {
        return memory.bit(area, static_cast<unsigned>(address / 16),
                          static_cast<unsigned>(address % 16))
                   ? 1
                   : 0;
    }
    return memory.word(area, static_cast<unsigned>(address));
}

LineSettings storySettings(int retries) {
    LineSettings settings = lineSettings();
    settings.retries = retries;
    settings.wordsPerFrame = 8;
    settings.refusedRetryMs = 300;
    settings.allowModeChange = true;
    return settings;
}

// The driver's functions have no argument of the test's own; there is one story at a time.
decltype(DriverApi::initProperty) driversInit;
const unsigned char* lentHostBlock = nullptr;

int notingInit(unsigned char* hostBlock, unsigned char* statusBlock, unsigned short* recipeBuffer,
               int* out, const char* propertyString, QMutex* mutex) {
    lentHostBlock = hostBlock;
    return driversInit(hostBlock, statusBlock, recipeBuffer, out, propertyString, mutex);
}

DriverApi notingHostBlock(const DriverApi& api) {
    driversInit = api.initProperty;
    DriverApi noting = api;
    noting.initProperty = &notingInit;
    return noting;
}

const QVector<Tag>& storyTags() {
    static const QVector<Tag> tags = {tagAt("DM", 0, 4), tagAt("DM", 2, 11),
                                      tagAt("CIO_bit", 5 * 16 + 3, 20, ValueType::Bool),
                                      tagAt("HR", 10, 1, ValueType::Uint32)};
    return tags;
}

} // namespace

LineStory::LineStory(bool atOnce, int retries)
    : m_atOnce(atOnce), m_line(storySettings(retries), &notingHostBlock) {
    fillPlc();
    lockAfterTheFirstWrite(700);
}

/// No word is like another of its register, so that none passes for another; but for CIO, of which
/// bits are written.
void LineStory::fillPlc() {
    plc::Memory& memory = m_line.machine.core.memory();
    for (int area = 0; area < 4; ++area) {
        for (int word = 0; word < wordsOf(area); ++word) {
            memory.setWord(AREAS[area].first, static_cast<unsigned>(word),
                           static_cast<std::uint16_t>(10000 * area + 7 * word + 1));
        }
    }
    m_before = memory;
    m_line.machine.core.setMode(plc::Mode::Monitor);
    m_line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
}

/// The PLC executes one write to the word and refuses the next: where the reply to the first was
/// lost, the refusal is not the whole truth.
void LineStory::lockAfterTheFirstWrite(int dmAddress) {
    m_line.machine.onWrite = [this, dmAddress](const Machine::Write& write) {
        if (write.area == AREA_CODES[3][0] && write.word == dmAddress) {
            m_line.machine.refusals.push_back({write.area, dmAddress, dmAddress, 0x2101, false});
        }
    };
}

void LineStory::write(const char* reg, int address, const Items& items) {
    const quint64 id = m_line.write(reg, address, items);
    m_written[id] = items;
    m_ids.insert(id);
    const QString name = QString::fromLatin1(reg);
    for (int at = 0; at < items.size(); ++at) {
        const int word = isBitRegister(name) ? (address + at) / 16 : address + at;
        m_concerned.emplace(wordRegisterName(name), word);
    }
}

/// Until all is settled; so long at least that an overtaken datagram can be overtaken.
void LineStory::settle() {
    require(m_line.settle(), "everything is settled in the end");
}

void LineStory::handOverTransfers() {
    const int firstBit = 100 * 16 + 14;
    Items bits;
    for (int bit = 0; bit < 5; ++bit) { // every bit changes
        bits.append(
            static_cast<quint16>(1 - item(m_before, QStringLiteral("CIO_bit"), firstBit + bit)));
    }
    const auto next = [this] {
        if (!m_atOnce) {
            settle();
        }
    };
    write("DM", 100, counting(3, 50100));
    next();
    write("CIO_bit", firstBit, bits);
    next();
    write("DM", 200, counting(20, 50200)); // three frames
    next();
    write("AR", 10, counting(2, 60000)); // the PLC's own
    next();
    write("DM", 700, {50700});
    next();
    m_ids.insert(m_line.read("DM", 300, 20));
    next();
    m_ids.insert(m_line.read("HR_bit", 5 * 16 + 9, 30));
    next();
    const QVector<RecipeVariable> recipe = {variable("HR", 20, counting(3, 50020)),
                                            variable("DM", 400, counting(12, 50400)),
                                            variable("DM", 412, counting(2, 50412))};
    for (const RecipeVariable& part : recipe) {
        for (int word = 0; word < part.count; ++word) {
            m_concerned.emplace(part.reg, part.address + word);
        }
    }
    m_ids.insert(m_line.download(recipe, true));
    next();
    m_ids.insert(m_line.upload({variable("DM", 500, Items(10, 0)), variable("CIO", 40, {0, 0})}));
    settle();
}

void LineStory::tell() {
    m_line.setTags(storyTags());
    m_line.run(250000);
    handOverTransfers();
    m_line.machine.core.setMode(plc::Mode::Run);
    write("DM", 600, counting(2, 50600));
    m_modeWrite = *m_ids.rbegin();
    settle();
    m_line.run(1000000); // what is late arrives
    require(m_line.runUntil([this] { return m_line.core->board().allFresh(); }, 1000000),
            "every tag is fresh in the end");
    for (int tag = 0; tag < storyTags().size(); ++tag) {
        const Tag& shown = storyTags().at(tag);
        for (int at = 0; at < m_line.status(tag).lastRead().size(); ++at) {
            require(m_line.status(tag).lastRead().at(at) ==
                        item(m_line.machine.core.memory(), shown.reg, shown.address + at),
                    "every tag shows what the PLC holds");
        }
    }
    require(lentHostBlock[HOST_RECIPE_DOWNLOAD_REQUEST] == 0 &&
                lentHostBlock[HOST_RECIPE_UPLOAD_REQUEST] == 0,
            "no recipe is asked for any more");
    m_line.close();
    require(m_line.core->pending() == 0, "nothing is left when the line is closed");
}

std::vector<std::string> LineStory::untruths() {
    for (const WriteOutcome& outcome : m_line.writes) {
        judge(outcome);
    }
    for (const ReadOutcome& outcome : m_line.reads) {
        judge(outcome);
    }
    for (const RecipeOutcome& outcome : m_line.recipes) {
        judge(outcome);
    }
    judgeNumbers();
    judgeMode();
    judgeOtherWords();
    return m_untruths;
}

void LineStory::require(bool holds, const std::string& what) {
    if (!holds) {
        m_untruths.push_back("not so: " + what);
    }
}

void LineStory::judgeNumbers() {
    std::multiset<quint64> told;
    for (const WriteOutcome& outcome : m_line.writes) {
        told.insert(outcome.id);
    }
    for (const ReadOutcome& outcome : m_line.reads) {
        told.insert(outcome.id);
    }
    for (const RecipeOutcome& outcome : m_line.recipes) {
        told.insert(outcome.id);
    }
    require(told == std::multiset<quint64>(m_ids.begin(), m_ids.end()),
            "each thing handed over is told once");
}

bool LineStory::executed(const QString& reg, int address, int value) const {
    const bool bits = isBitRegister(reg);
    const int code = AREA_CODES[areaIndex(reg)][bits ? 1 : 0];
    for (const Machine::Write& write : m_line.machine.writes) {
        const int first = bits ? write.word * 16 + write.bit : write.word;
        const int at = address - first;
        if (write.area == code && at >= 0 && at < static_cast<int>(write.values.size()) &&
            write.values.at(static_cast<std::size_t>(at)) == value) {
            return true;
        }
    }
    return false;
}

/// Empty: the PLC has executed the item and holds it, or, when it is not `written`, neither.
std::string LineStory::itemWrong(const QString& reg, int address, int value, bool written) const {
    const int holds = item(m_line.machine.core.memory(), reg, address);
    const int right = written ? value : item(m_before, reg, address);
    if (holds == right && executed(reg, address, value) == written) {
        return std::string();
    }
    return reg.toStdString() + ' ' + std::to_string(address) + " holds " + std::to_string(holds) +
           (written ? ", was told as written" : ", was told as not written");
}

std::string LineStory::faultOf(const WriteOutcome& outcome) const {
    const Items& items = m_written.at(outcome.id);
    const int known = outcome.taken + outcome.unknown;
    if ((outcome.result == WriteResult::Taken) != (outcome.taken == outcome.count) ||
        (outcome.result == WriteResult::Unknown) != (outcome.unknown > 0) ||
        outcome.count != items.size()) {
        return "numbers and result do not agree";
    }
    for (int at = 0; at < outcome.count; ++at) {
        if (at < outcome.taken || at >= known) {
            std::string wrong =
                itemWrong(outcome.reg, outcome.address + at, items.at(at), at < outcome.taken);
            if (!wrong.empty()) {
                return wrong;
            }
        }
    }
    return std::string();
}

void LineStory::judge(const WriteOutcome& outcome) {
    const std::string wrong = faultOf(outcome);
    if (!wrong.empty()) {
        m_untruths.push_back("write " + std::to_string(outcome.id) + ", " +
                             writeResultName(outcome.result).toStdString() + ": " + wrong);
    }
}

void LineStory::judge(const ReadOutcome& outcome) {
    bool right = outcome.items.size() == (outcome.ok ? outcome.count : 0);
    for (int at = 0; at < outcome.items.size(); ++at) {
        right = right && outcome.items.at(at) == item(m_before, outcome.reg, outcome.address + at);
    }
    require(right, "read " + std::to_string(outcome.id) + " gives what the PLC holds");
}

std::string LineStory::faultOf(const RecipeOutcome& outcome) const {
    for (const RecipeVariable& part : outcome.variables) {
        const bool upload = outcome.direction == RecipeDirection::Upload;
        for (int at = 0; at < part.count; ++at) {
            const int address = part.address + at;
            if (upload) {
                if (outcome.result == RecipeResult::Done &&
                    part.words.at(at) != item(m_before, part.reg, address)) {
                    return "not the PLC's word";
                }
                continue;
            }
            const auto block = std::find_if(
                outcome.blocks.begin(), outcome.blocks.end(), [&](const RecipeBlock& candidate) {
                    return candidate.reg == part.reg && candidate.address <= address &&
                           address < candidate.address + candidate.length;
                });
            if (block == outcome.blocks.end()) {
                return "a word is in no block";
            }
            const bool moved = block->state == RecipeBlock::Moved;
            if (outcome.result == RecipeResult::Done && !moved) {
                return "done, but for a block";
            }
            const std::string wrong = block->state == RecipeBlock::Unknown
                                          ? std::string()
                                          : itemWrong(part.reg, address, part.words.at(at), moved);
            if (!wrong.empty()) {
                return wrong;
            }
        }
    }
    return outcome.result == RecipeResult::Different ? "nothing differs" : std::string();
}

void LineStory::judge(const RecipeOutcome& outcome) {
    const std::string wrong = faultOf(outcome);
    if (!wrong.empty()) {
        m_untruths.push_back("recipe " + std::to_string(outcome.id) + ", " +
                             recipeResultName(outcome.result).toStdString() + ": " + wrong);
    }
}

void LineStory::judgeMode() {
    const bool monitor = m_line.machine.core.mode() == plc::Mode::Monitor;
    for (const WriteOutcome& outcome : m_line.writes) {
        if (outcome.id == m_modeWrite) {
            require(!outcome.modeSwitched || monitor, "the mode is the one that was told");
            require(!monitor || outcome.modeSwitched || outcome.modeUnknown,
                    "a change of the mode is told");
        }
    }
}

/// The PLC's words with which nobody had business.
void LineStory::judgeOtherWords() {
    const plc::Memory& memory = m_line.machine.core.memory();
    for (int area = 0; area < 4; ++area) {
        const QString reg = QString::fromLatin1(AREAS[area].second);
        for (int word = 0; word < wordsOf(area); ++word) {
            const unsigned address = static_cast<unsigned>(word);
            if (memory.word(AREAS[area].first, address) !=
                    m_before.word(AREAS[area].first, address) &&
                m_concerned.count({reg, word}) == 0) {
                m_untruths.push_back(reg.toStdString() + ' ' + std::to_string(word) +
                                     " has been written by nobody");
            }
        }
    }
}

std::string LineStory::told() const {
    std::map<quint64, QString> results;
    for (const WriteOutcome& outcome : m_line.writes) {
        results[outcome.id] = writeResultName(outcome.result);
    }
    for (const ReadOutcome& outcome : m_line.reads) {
        results[outcome.id] = outcome.ok ? QStringLiteral("read") : QStringLiteral("not read");
    }
    for (const RecipeOutcome& outcome : m_line.recipes) {
        results[outcome.id] = recipeResultName(outcome.result);
    }
    std::string text;
    for (const auto& result : results) {
        text += (text.empty() ? "" : ", ") + result.second.toStdString();
    }
    return text;
}

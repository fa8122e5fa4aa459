#include "plc/memory.h"

#include <stdexcept>

namespace plc {

namespace {

constexpr std::array<AreaFacts, kAreaCount> kAreas = {{
    {Area::Cio, "CIO", 0xB0, 0x30, 0, 6144, 0},
    {Area::Work, "WR", 0xB1, 0x31, 0, 512, 0},
    {Area::Holding, "HR", 0xB2, 0x32, 0, 1536, 0},
    {Area::Auxiliary, "AR", 0xB3, 0x33, 0, 960, 448},
    {Area::Timer, "T", 0x89, 0x09, 0, 4096, 0},
    {Area::Counter, "C", 0x89, 0x09, 0x8000, 4096, 0},
    {Area::Dm, "DM", 0x82, 0x02, 0, 32768, 0},
    {Area::Em0, "EM0", 0xA0, 0x20, 0, 32768, 0},
}};

std::size_t indexOf(Area area) {
    return static_cast<std::size_t>(area);
}

unsigned checkedBit(unsigned bitNumber) {
    if (bitNumber > 15) {
        throw std::out_of_range("a word has the bits 0 to 15");
    }
    return bitNumber;
}

} // namespace

const std::array<AreaFacts, kAreaCount>& areaTable() {
    return kAreas;
}

const AreaFacts& factsOf(Area area) {
    return kAreas.at(indexOf(area));
}

std::optional<Area> areaNamed(const std::string& name) {
    for (const AreaFacts& facts : kAreas) {
        if (name == facts.name) {
            return facts.area;
        }
    }
    return std::nullopt;
}

bool hasCompletionFlags(Area area) {
    return area == Area::Timer || area == Area::Counter;
}

Memory::Memory() {
    for (const AreaFacts& facts : kAreas) {
        words_.at(indexOf(facts.area)).resize(facts.size);
        if (hasCompletionFlags(facts.area)) {
            flags_.at(indexOf(facts.area)).resize(facts.size);
        }
    }
}

std::uint16_t Memory::word(Area area, std::uint32_t address) const {
    return words_.at(indexOf(area)).at(address);
}

void Memory::setWord(Area area, std::uint32_t address, std::uint16_t value) {
    words_.at(indexOf(area)).at(address) = value;
}

bool Memory::bit(Area area, std::uint32_t address, unsigned bitNumber) const {
    return ((unsigned{word(area, address)} >> checkedBit(bitNumber)) & 1U) != 0;
}

void Memory::setBit(Area area, std::uint32_t address, unsigned bitNumber, bool on) {
    const unsigned mask = 1U << checkedBit(bitNumber);
    const unsigned before = word(area, address);
    setWord(area, address, static_cast<std::uint16_t>(on ? before | mask : before & ~mask));
}

bool Memory::flag(Area area, std::uint32_t number) const {
    return flags_.at(indexOf(area)).at(number);
}

void Memory::setFlag(Area area, std::uint32_t number, bool on) {
    flags_.at(indexOf(area)).at(number) = on;
}

} // namespace plc

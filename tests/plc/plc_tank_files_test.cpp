// The files in examples/tank against the memory: a row that names an address which the PLC does not
// have, or a recipe block with a hole, would only show up in a demonstration.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "plc/memory.h"

namespace {

using Row = std::map<std::string, std::string>;

std::vector<std::string> split(const std::string& line, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(line);
    std::string part;
    while (std::getline(in, part, separator)) {
        parts.push_back(part);
    }
    return parts;
}

std::vector<Row> readCsv(const std::string& name) {
    std::ifstream in(std::string(VELKOR_TANK_FILES) + "/" + name);
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> columns = split(line, ',');
    std::vector<Row> rows;
    while (std::getline(in, line)) {
        const std::vector<std::string> fields = split(line, ',');
        EXPECT_LE(fields.size(), columns.size()) << line;
        Row row;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            row[columns[i]] = i < fields.size() ? fields[i] : "";
        }
        rows.push_back(row);
    }
    return rows;
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

unsigned wordsOf(const std::string& type, unsigned count) {
    return type == "uint32" || type == "int32" || type == "float32" ? 2 * count : count;
}

TEST(PlcTankFiles, tags_everyRow_namesWordsOrBitsThatExist) {
    const auto rows = readCsv("tags.csv");
    ASSERT_GT(rows.size(), 30U);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.at("name"));
        const std::string name = row.at("register");
        const bool bits = endsWith(name, "_bit");
        const auto area = plc::areaNamed(bits ? name.substr(0, name.size() - 4) : name);
        ASSERT_TRUE(area.has_value());
        EXPECT_EQ(bits, row.at("type") == "bool");
        const auto address = split(row.at("address"), '.');
        ASSERT_EQ(address.size(), bits ? 2U : 1U);
        const auto count = static_cast<unsigned>(std::stoul(row.at("count")));
        const auto word = static_cast<unsigned>(std::stoul(address[0]));
        if (bits) {
            EXPECT_LE(std::stoul(address[1]) + count, 16U);
        }
        EXPECT_LE(word + (bits ? 1 : wordsOf(row.at("type"), count)), plc::factsOf(*area).size);
    }
}

TEST(PlcTankFiles, tags_everyRegister_isUsed) {
    std::map<std::string, int> used;
    for (const Row& row : readCsv("tags.csv")) {
        ++used[row.at("register")];
    }
    for (const char* name : {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit", "CIO", "WR", "HR",
                             "AR", "T", "C", "DM"}) {
        EXPECT_GT(used[name], 0) << name;
    }
}

TEST(PlcTankFiles, recipe_variables_lieBackToBackInThreeBlocks) {
    const auto rows = readCsv("recipe.csv");
    ASSERT_FALSE(rows.empty());
    int blocks = 0;
    std::string area;
    unsigned long next = 0;
    unsigned long offset = 0;
    for (const Row& row : rows) {
        const unsigned long address = std::stoul(row.at("address"));
        blocks += row.at("register") != area || address != next ? 1 : 0;
        EXPECT_EQ(std::stoul(row.at("offset")), offset) << row.at("name");
        area = row.at("register");
        next = address + std::stoul(row.at("count"));
        offset += std::stoul(row.at("count"));
    }
    EXPECT_EQ(blocks, 3);
}

} // namespace

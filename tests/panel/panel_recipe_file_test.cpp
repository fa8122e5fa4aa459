#include "panel/files/recipe_file.h"

#include "panel/fake_catalogue.h"
#include "panel/text.h"

#include <gtest/gtest.h>

#include <ctime>

using namespace panel;

namespace {

const int BUFFER_WORDS = 100;

Recipe read(const char* rows) {
    return readRecipe(QByteArray("name,register,address,count,offset,comment\n") + rows,
                      FakeCatalogue(), BUFFER_WORDS);
}

std::string firstError(const Recipe& recipe) {
    return recipe.errors.isEmpty() ? "" : plain(errorText("r.csv", recipe.errors.first()));
}

TEST(ReadRecipe, goodRows_giveVariablesInTheFilesOrder) {
    const Recipe recipe = read("b,DM,200,1,5,\na,DM,100,2,0,note\n");
    ASSERT_EQ(firstError(recipe), "");
    ASSERT_EQ(recipe.variables.size(), 2);
    EXPECT_EQ(plain(recipe.variables.at(0).name), "b");
    EXPECT_EQ(recipe.variables.at(1).offset, 0);
    EXPECT_EQ(recipe.variables.at(1).count, 2);
}

TEST(ReadRecipe, noOffsets_areGivenInPlcOrder) {
    const Recipe recipe = read("b,DM,102,3,,\na,DM,100,2,,\nc,HR,0,1,,\n");
    ASSERT_EQ(firstError(recipe), "");
    EXPECT_EQ(recipe.variables.at(0).offset, 2); // DM 102 after DM 100
    EXPECT_EQ(recipe.variables.at(1).offset, 0);
    EXPECT_EQ(recipe.variables.at(2).offset, 5);
}

struct BadRecipe {
    const char* name;
    const char* rows;
    const char* error;
};

class ReadRecipeFault : public testing::TestWithParam<BadRecipe> {};

TEST_P(ReadRecipeFault, badRow_isNamedWithWhatWouldBeRight) {
    EXPECT_EQ(firstError(read(GetParam().rows)).rfind(GetParam().error, 0), 0U)
        << firstError(read(GetParam().rows));
}

const BadRecipe BAD_RECIPES[] = {
    {"bitRegister", "a,CIO_bit,1.0,1,0,\n", "r.csv:2:3: register: CIO_bit is a bit register"},
    {"unknownRegister", "a,XX,1,1,0,\n", "r.csv:2:3: register: \"XX\" is no register"},
    {"addressRange", "a,DM,32768,1,0,\n", "r.csv:2:6: address: DM 32768 lies outside"},
    {"percentSigns", "a,DM,0,%2%3,0,\n",
     "r.csv:2:8: count: \"%2%3\": right is a whole number from 1 to 100"},
    {"countTooLarge", "a,DM,0,101,0,\n",
     "r.csv:2:8: count: \"101\": right is a whole number from 1 to 100"},
    {"offsetBeyondBuffer", "a,DM,0,2,99,\n",
     "r.csv:2:10: offset: \"99\": right is a whole number from 0 to 98"},
    {"sameName", "a,DM,0,1,0,\na,DM,5,1,1,\n", "r.csv:3:1: name: \"a\" is there twice"},
    {"someOffsetsOnly", "a,DM,0,1,0,\nb,DM,5,1,,\n", "r.csv:1:1: offset: some variables have one"},
    {"sharedPlcWord", "a,DM,0,3,0,\nb,DM,2,1,3,\n",
     "r.csv:3:1: address: DM 2 belongs to \"a\" (line 2) already; right is 3 or higher"},
    {"innerVariable", "b,DM,1,1,10,\na,DM,0,5,0,\n",
     "r.csv:2:1: address: DM 1 belongs to \"a\" (line 3)"},
    {"sharedBufferWord", "a,DM,0,3,0,\nb,DM,50,1,2,\n",
     "r.csv:3:1: offset: 2 belongs to \"a\" (line 2) already; right is 3 or higher"},
    {"neighboursApartInBuffer", "a,DM,0,3,0,\nb,DM,3,1,4,\n",
     "r.csv:3:1: offset: DM 3 follows \"a\" (line 2)"},
    {"empty", "", "r.csv:2:1: no variable"},
};

INSTANTIATE_TEST_SUITE_P(Panel, ReadRecipeFault, testing::ValuesIn(BAD_RECIPES),
                         [](const auto& row) { return std::string(row.param.name); });

class RecipeValues : public testing::Test {
protected:
    Recipe m_recipe = read("a,DM,100,2,0,\nb,DM,200,1,5,\n");
    std::vector<unsigned short> m_buffer = std::vector<unsigned short>(BUFFER_WORDS, 0);

    std::string firstValueError(const char* csv) {
        const CsvErrors errors = readRecipeValues(csv, m_recipe, &m_buffer);
        return errors.isEmpty() ? "" : plain(errorText("v.csv", errors.first()));
    }
};

TEST_F(RecipeValues, rows_fillTheBufferAtTheOffsets) {
    EXPECT_EQ(firstValueError("name,values\nb,0x10\na,1,2\n"), "");
    EXPECT_EQ(m_buffer.at(0), 1);
    EXPECT_EQ(m_buffer.at(1), 2);
    EXPECT_EQ(m_buffer.at(5), 16);
}

TEST_F(RecipeValues, withoutHeader_areRead) {
    EXPECT_EQ(firstValueError("a,1,2\nb,3\n"), "");
    EXPECT_EQ(m_buffer.at(5), 3);
}

TEST_F(RecipeValues, faults_areNamed) {
    EXPECT_EQ(firstValueError("a,1\nb,3\n"), "v.csv:1:1: \"a\" has 2 words; 1 values are given");
    EXPECT_EQ(firstValueError("a,1,70000\nb,3\n").rfind("v.csv:1:5: \"70000\"", 0), 0U);
    EXPECT_EQ(firstValueError("a,1,2\nc,3\n"), "v.csv:2:1: \"c\" is no variable of the recipe");
    EXPECT_EQ(firstValueError("a,1,2\n").rfind("v.csv:1:1: no values for \"b\"", 0), 0U);
    EXPECT_EQ(firstValueError("a,1,2\na,1,2\nb,3\n"),
              "v.csv:2:1: \"a\" has its values in line 1 already");
}

double cpuSeconds() {
    timespec used = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

/// A search of the recipe for each row would be two thousand million comparisons.
TEST_F(RecipeValues, largestRecipe_isReadInTimeProportionalToItsLength) {
    const int count = 32768; // all of DM
    m_recipe.variables.clear();
    QByteArray values;
    for (int word = 0; word < count; ++word) {
        RecipeVariable variable;
        variable.name = QString("variable_with_a_name_%1").arg(word);
        variable.offset = word;
        m_recipe.variables.append(variable);
        values += variable.name.toUtf8() + ',' + QByteArray::number(word) + '\n';
    }
    m_buffer.assign(count, 0);
    const double before = cpuSeconds();
    EXPECT_EQ(firstValueError(values), "");
    EXPECT_LT(cpuSeconds() - before, 2);
    EXPECT_EQ(m_buffer.at(count - 1), count - 1);
}

TEST_F(RecipeValues, writtenOut_canBeReadAgain) {
    m_buffer.at(0) = 65535;
    m_buffer.at(1) = 2;
    m_buffer.at(5) = 7;
    EXPECT_EQ(plain(recipeValuesCsv(m_recipe, m_buffer)), "name,values\na,65535,2\nb,7\n");
}

} // namespace

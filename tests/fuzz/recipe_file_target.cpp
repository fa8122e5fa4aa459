// Recipe files and files of recipe values of any kind, divided by a line of "===".

#include "fuzz/input.h"
#include "fuzz/own_catalogue.h"
#include "panel/files/recipe_file.h"

namespace {

const int BUFFER_WORDS = 512;

void checkLayout(const panel::Recipe& recipe) {
    std::vector<bool> taken(BUFFER_WORDS, false);
    for (const panel::RecipeVariable& variable : recipe.variables) {
        const velkor_host::RegisterInfo* info = ownCatalogue().find(variable.reg);
        require(info != nullptr && !info->bit, "a recipe's registers are of words");
        require(variable.count >= 1 && variable.offset >= 0 &&
                    variable.offset + variable.count <= BUFFER_WORDS,
                "a variable lies in the buffer");
        for (int i = variable.offset; i < variable.offset + variable.count; ++i) {
            require(!taken.at(static_cast<std::size_t>(i)), "no two share a word of it");
            taken.at(static_cast<std::size_t>(i)) = true;
        }
    }
}

void readValues(const QByteArray& csv, const panel::Recipe& recipe) {
    std::vector<unsigned short> buffer(BUFFER_WORDS, 0);
    if (!panel::readRecipeValues(csv, recipe, &buffer).isEmpty()) {
        return;
    }
    std::vector<unsigned short> again(BUFFER_WORDS, 0);
    const QByteArray written = panel::recipeValuesCsv(recipe, buffer).toUtf8();
    require(panel::readRecipeValues(written, recipe, &again).isEmpty(),
            "what is written can be read");
    require(again == buffer, "and says the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const QByteArray text = input.rest();
    const int cut = static_cast<int>(text.indexOf("===\n"));
    const panel::Recipe recipe =
        panel::readRecipe(cut < 0 ? text : text.left(cut), ownCatalogue(), BUFFER_WORDS);
    require(!recipe.errors.isEmpty() || !recipe.variables.isEmpty(),
            "a file has variables or faults");
    if (recipe.errors.isEmpty()) {
        checkLayout(recipe);
        readValues(cut < 0 ? QByteArray() : text.mid(cut + 4), recipe);
    }
    return 0;
}

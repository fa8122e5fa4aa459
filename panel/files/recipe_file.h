#ifndef VELKOR_PANEL_FILES_RECIPE_FILE_H
#define VELKOR_PANEL_FILES_RECIPE_FILE_H

/// Recipes: a CSV file that lays variables into the recipe buffer, and a CSV file of their values.

#include "panel/files/csv_reader.h"
#include "panel/host_names.h"
#include <velkor/host/registers.h>
#include <velkor/host/value.h>

#include <vector>

namespace panel {

struct RecipeVariable {
    QString name;
    QString reg;
    int address = 0;
    int count = 1;  ///< words
    int offset = 0; ///< first word in the recipe buffer
    QString comment;
    int line = 0;
};

struct Recipe {
    QVector<RecipeVariable> variables; ///< in the file's order
    CsvErrors errors;                  ///< not empty: nothing is to be transferred
};

/// Columns: name, register, address and, if wanted, count, offset, comment. An empty count means 1;
/// offsets are given for all variables or for none, and then follow register and address.
///
/// The driver downloads neighbouring variables as one run of words from the first one's offset. So
/// variables may not share words, in the PLC or in the buffer, and those that touch in the PLC must
/// touch in the buffer too; a file that breaks this is refused.
Recipe readRecipe(const QByteArray& csv, const Catalogue& catalogue, int bufferWords);

/// Rows of a name and one value for each word (0 to 65535, or hexadecimal after 0x); a first row
/// "name,..." is a header. Every variable needs its row. Fills `buffer`; errors are returned.
CsvErrors readRecipeValues(const QByteArray& csv, const Recipe& recipe,
                           std::vector<unsigned short>* buffer);

/// The buffer in the same form.
QString recipeValuesCsv(const Recipe& recipe, const std::vector<unsigned short>& buffer);

/// The words of one variable.
Items recipeItems(const RecipeVariable& variable, const std::vector<unsigned short>& buffer);

} // namespace panel

#endif

// Two PLCs by the host layer: polls tags of both, writes a set point, and moves a recipe from one
// to the other, reading back what was written. Usage: two_lines HOST:PORT HOST:PORT Ends with 0
// when everything was done, with 1 when something was not, which is then told, with 2 when it was
// called wrongly.

#include <velkor/host/line.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QHash>
#include <QtCore/QTimer>

#include <cstdio>

using namespace velkor_host;

namespace {

LineSettings settingsFor(const Endpoint& plc) {
    LineSettings settings;
    settings.plc = plc;
    return settings;
}

/// Shows the tags of a line when what it shows changes: never an old value without saying so.
void showChanges(const char* plc, Line& line) {
    line.onTags = [plc, &line](const QVector<int>& changed) {
        for (const int index : changed) {
            const Tag& tag = line.tags().at(index);
            const TagStatus& status = line.status(index);
            const QString text = status.value() ? formatItems(tag.type, *status.value())
                                                : tagStateName(status.state);
            static QHash<QString, QString> shown; // onTags tells of a write under way, too
            QString& before = shown[plc + (' ' + tag.name)];
            if (before != text) {
                std::printf("%s %s: %s\n", plc, qPrintable(tag.name), qPrintable(text));
            }
            before = text;
        }
    };
}

void fail(const QString& text) {
    std::fprintf(stderr, "%s\n", qPrintable(text));
    QCoreApplication::exit(1);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    Endpoint plcs[2];
    for (int index = 0; index < 2; ++index) {
        const QString fault = endpointFromText(arguments.value(index + 1), &plcs[index]);
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "usage: two_lines HOST:PORT HOST:PORT: %s\n", qPrintable(fault));
            return 2;
        }
    }
    Line left(settingsFor(plcs[0]));
    Line right(settingsFor(plcs[1]));
    showChanges("left", left);
    showChanges("right", right);

    // The set points DM 100 to 104 and the product code HR 100.
    const QVector<RecipeVariable> recipe{{"DM", 100, 5, {}}, {"HR", 100, 1, {}}};

    // 1. A set point is written on the left; 2. then the recipe is read from there;
    left.onWrite = [&](const WriteOutcome& outcome) {
        if (outcome.result == WriteResult::Taken) {
            left.upload(recipe);
        } else {
            fail(failureText(outcome.last, left.settings(), left.nodes()));
        }
    };
    // 3. it goes to the right, and is read back; 4. and the tags are shown a little longer.
    left.onRecipe = [&](const RecipeOutcome& outcome) {
        if (outcome.result == RecipeResult::Done) {
            right.download(outcome.variables, true);
        } else {
            fail("reading the recipe: " + recipeResultName(outcome.result));
        }
    };
    right.onRecipe = [&](const RecipeOutcome& outcome) {
        std::printf("recipe: %s\n", qPrintable(recipeBlocksText(outcome)));
        if (outcome.result == RecipeResult::Done) {
            QTimer::singleShot(500, QCoreApplication::instance(), SLOT(quit()));
        } else {
            fail("writing the recipe: " + recipeResultName(outcome.result));
        }
    };

    for (Line* line : {&left, &right}) {
        QString fault = line->open();
        if (fault.isEmpty()) {
            fault = line->setTags({{"set point", "DM", 101, ValueType::Uint16},
                                   {"pump", "CIO_bit", 100 * 16, ValueType::Bool}}); // 100.0
        }
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "%s\n", qPrintable(fault));
            return 1;
        }
    }
    left.write("DM", 101, {640});
    return QCoreApplication::exec();
}

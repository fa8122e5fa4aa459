// Two PLCs by the host layer: shows tags of both in their units, writes a set point as a person
// types it, and moves a recipe from one to the other, reading back what was written.
// Usage: two_lines HOST:PORT HOST:PORT. Ends with 0 when everything was done, with 1 when something
// was not, which is then told, with 2 when it was called wrongly.

#include <velkor/host/line.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <cstdio>

using namespace velkor_host;

namespace {

/// Litres, kept in tenths, of which 0 to 200 may be written; the recipe's other words; a bit.
const QVector<Tag>& tags() {
    static const QVector<Tag> tags{
        {"set point", "DM", 101, ValueType::Uint16, 1, {0.1, 0, 1}, "l", {0.0, 200.0}},
        {"times", "DM", 102, ValueType::Uint16, 3, Scaling(), "s"},
        {"product", "HR", 100},
        {"pump", "CIO_bit", 100 * 16, ValueType::Bool}}; // 100.0
    return tags;
}

/// Shows the tags of a line when what is to be shown changes: never an old value without saying so.
void showChanges(const char* plc, Line& line) {
    line.onTags = [plc, &line](const QVector<int>& changed) {
        for (const int index : changed) {
            const Tag& tag = line.tags().at(index);
            std::printf("%s %s: %s\n", plc, qPrintable(tag.name),
                        qPrintable(tagText(tag, line.status(index))));
        }
    };
}

/// Tells an outcome, and ends with 1 when it is not what was asked for.
template <typename Outcome>
bool tell(const char* plc, const Line& line, const Outcome& outcome, bool good) {
    const QString text = outcomeText(outcome, line.settings(), SettingNames(), plc);
    std::fprintf(good ? stdout : stderr, "%s\n", qPrintable(text));
    if (!good) {
        QCoreApplication::exit(1);
    }
    return good;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    LineSettings settings[2];
    for (int index = 0; index < 2; ++index) {
        const QString text = QCoreApplication::arguments().value(index + 1);
        const QString fault = endpointFromText(text, &settings[index].plc);
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "usage: two_lines HOST:PORT HOST:PORT: %s\n", qPrintable(fault));
            return 2;
        }
    }
    Line left(settings[0]);
    Line right(settings[1]);
    showChanges("left", left);
    showChanges("right", right);

    // 1. A set point is written on the left; 2. then the recipe is read from there;
    left.onWrite = [&](const WriteOutcome& outcome) {
        if (tell("left", left, outcome, outcome.result == WriteResult::Taken)) {
            left.upload({recipeVariable(tags().at(2)), recipeVariable(tags().at(0)),
                         recipeVariable(tags().at(1))});
        }
    };
    // 3. it goes to the right, and is read back; 4. and the tags are shown a little longer.
    left.onRecipe = [&](const RecipeOutcome& outcome) {
        if (tell("left", left, outcome, outcome.result == RecipeResult::Done)) {
            right.download(outcome.variables, true);
        }
    };
    right.onRecipe = [&](const RecipeOutcome& outcome) {
        if (tell("right", right, outcome, outcome.result == RecipeResult::Done)) {
            QTimer::singleShot(500, QCoreApplication::instance(), SLOT(quit()));
        }
    };

    Items items;
    QString fault = parseTagText(tags().first(), "64.0", &items);
    for (Line* line : {&left, &right}) {
        fault = fault.isEmpty() ? line->open() : fault;
        fault = fault.isEmpty() ? line->setTags(tags()) : fault;
    }
    if (!fault.isEmpty() || left.write(tags().first(), items, &fault) == 0) {
        std::fprintf(stderr, "%s\n", qPrintable(fault));
        return 1;
    }
    return QCoreApplication::exec();
}

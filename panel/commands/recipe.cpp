#include "panel/commands/commands.h"
#include "panel/context/open_lines.h"
#include "panel/files/file_access.h"
#include "panel/files/recipe_file.h"
#include "panel/output/outcome_text.h"
#include "panel/output/output.h"
#include "panel/output/printable.h"
#include "panel/process/end_signals.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace panel {
namespace {

/// The largest recipe that the layer takes.
const int RECIPE_WORDS = 65536;

QVector<velkor_host::RecipeVariable> toMove(const Recipe& recipe,
                                            const std::vector<unsigned short>& buffer) {
    QVector<velkor_host::RecipeVariable> variables;
    for (const RecipeVariable& variable : recipe.variables) {
        velkor_host::RecipeVariable moved;
        moved.reg = variable.reg;
        moved.address = variable.address;
        moved.count = variable.count;
        moved.words = recipeItems(variable, buffer);
        variables.append(moved);
    }
    return variables;
}

void takeOver(const RecipeOutcome& outcome, const Recipe& recipe,
              std::vector<unsigned short>* buffer) {
    for (int index = 0; index < recipe.variables.size(); ++index) {
        const Items& words = outcome.variables.at(index).words;
        std::copy(words.begin(), words.end(), buffer->begin() + recipe.variables.at(index).offset);
    }
}

void tellFailure(const Context& context, const Line& line, const RecipeOutcome& outcome) {
    if (outcome.result == RecipeResult::Different) {
        context.fail(EXIT_WORK_FAILED, outcomeText(outcome, line.settings(), optionNames()));
        return;
    }
    context.fail(EXIT_WORK_FAILED,
                 failureText(outcome.last, line.settings(), line.nodes(), optionNames()));
    if (outcome.result == RecipeResult::NotVerified) {
        context.fail(EXIT_WORK_FAILED, QStringLiteral("the PLC has acknowledged every block of the "
                                                      "download; what it holds was not compared"));
    }
    for (const QString& text : leftBehind(outcome)) {
        context.fail(EXIT_WORK_FAILED, text);
    }
}

void printUpload(const Context& context, const Recipe& recipe,
                 const std::vector<unsigned short>& buffer) {
    if (context.options.format == OutputFormat::Csv) {
        context.out << recipeValuesCsv(recipe, buffer);
        context.out.flush();
        return;
    }
    QVector<Record> records;
    for (const RecipeVariable& variable : recipe.variables) {
        records.append({variable.name, variable.reg, variable.address,
                        formatItems(ValueType::Uint16, recipeItems(variable, buffer))});
    }
    printRecords(context.out, context.options.format,
                 {QStringLiteral("name"), QStringLiteral("register"), QStringLiteral("address"),
                  QStringLiteral("values")},
                 records);
}

QString variablesText(const Recipe& recipe) {
    return counted(recipe.variables.size(), "variable", "variables");
}

int saveUpload(const Context& context, const Recipe& recipe,
               const std::vector<unsigned short>& buffer) {
    const QString values = recipeValuesCsv(recipe, buffer);
    if (isStandardOutput(context.options.values)) {
        context.out << values; // and nothing else: the report would be one more line of values
        context.out.flush();
        return EXIT_DONE;
    }
    const QString fault = saveFile(context.options.values, values.toUtf8());
    if (!fault.isEmpty()) {
        return context.fail(EXIT_WORK_FAILED, fault);
    }
    if (context.options.format == OutputFormat::Table) {
        context.out << "uploaded: " << variablesText(recipe) << " to "
                    << printable(context.options.values) << '\n';
        context.out.flush();
    }
    return EXIT_DONE;
}

int loadRecipe(const Context& context, Recipe* recipe) {
    const QString& path = context.options.arguments.at(1);
    QByteArray csv;
    const QString unreadable = readFile(path, &csv);
    if (!unreadable.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, unreadable);
    }
    *recipe = readRecipe(csv, context.registers, RECIPE_WORDS);
    return recipe->errors.isEmpty() ? int(EXIT_DONE)
                                    : failWithErrors(context, path, recipe->errors);
}

int loadValues(const Context& context, const Recipe& recipe, std::vector<unsigned short>* buffer) {
    const QString& path = context.options.values;
    if (path.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE,
                            QStringLiteral("recipe download needs its values: --values FILE"));
    }
    QByteArray csv;
    const QString unreadable = readFile(path, &csv);
    if (!unreadable.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, unreadable);
    }
    const CsvErrors errors = readRecipeValues(csv, recipe, buffer);
    return errors.isEmpty() ? int(EXIT_DONE) : failWithErrors(context, path, errors);
}

int finish(const Context& context, const Recipe& recipe, bool download,
           const std::vector<unsigned short>& values) {
    if (download) {
        context.out << "downloaded: " << variablesText(recipe)
                    << (context.options.verify ? ", read back and equal\n" : "\n");
        context.out.flush();
        return EXIT_DONE;
    }
    if (!context.options.values.isEmpty()) {
        return saveUpload(context, recipe, values);
    }
    printUpload(context, recipe, values);
    return EXIT_DONE;
}

} // namespace

int runRecipe(const Context& context) {
    const QString& direction = context.options.arguments.at(0);
    const bool download = direction == QLatin1String("download");
    if (!download && direction != QLatin1String("upload")) {
        return context.fail(
            EXIT_WRONG_USAGE,
            QStringLiteral("\"%1\": right is recipe download or recipe upload").arg(direction));
    }
    Recipe recipe;
    std::vector<unsigned short> values(RECIPE_WORDS, 0);
    int exitCode = EXIT_DONE;
    {
        const EndSignalsReleased released; // a pipe may have to be waited for
        exitCode = loadRecipe(context, &recipe);
        if (exitCode == EXIT_DONE && download) {
            exitCode = loadValues(context, recipe, &values);
        }
    }
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    OpenLines lines(context);
    if (lines.exitCode() != EXIT_DONE) {
        return lines.exitCode();
    }
    Line& line = lines.only();
    bool interrupted = false;
    EndSignals ending;
    ending.onEnd = [&] {
        interrupted = true;
        line.close(); // which settles the download as far as it can be known
    };
    const QString deaf = download ? ending.open() : QString();
    if (!deaf.isEmpty()) {
        return context.fail(EXIT_WORK_FAILED, deaf);
    }
    if (!download) {
        releaseEndSignals(); // the PLC holds what it held
    }
    ModeChangeNotes notes(QStringLiteral("starting once more"), false);
    line.onRequest = [&](const RequestEnd& end) { context.note(notes.of(end)); };
    line.onRecipe = [&](const RecipeOutcome& outcome) {
        const bool done = outcome.result == RecipeResult::Done;
        if (done) {
            takeOver(outcome, recipe, &values);
        } else if (interrupted) {
            for (const QString& text : interruptedText(outcome)) {
                context.fail(EXIT_WORK_FAILED, text);
            }
        } else {
            tellFailure(context, line, outcome);
        }
        QCoreApplication::exit(done ? EXIT_DONE : EXIT_WORK_FAILED);
    };
    QString fault;
    const quint64 id = download
                           ? line.download(toMove(recipe, values), context.options.verify, &fault)
                           : line.upload(toMove(recipe, values), &fault);
    if (id == 0) {
        return context.fail(EXIT_WRONG_USAGE, fault);
    }
    exitCode = QCoreApplication::exec();
    if (exitCode == EXIT_DONE) {
        exitCode = finish(context, recipe, download, values);
    }
    return lines.close(exitCode);
}

} // namespace panel

#include "panel/advice.h"
#include "panel/commands.h"
#include "panel/file_access.h"
#include "panel/output.h"
#include "panel/printable.h"
#include "panel/recipe_file.h"
#include <velkor/host/end_codes.h>

#include <QtCore/QCoreApplication>

namespace panel {
namespace {

int transfer(const Context& context, Session& session, RecipeTransfer direction) {
    session.onWrittenAgain = [&](const Settled& settled) {
        context.err << "velkor-panel: " << requestText(settled) << " was refused ("
                    << endCodeText(settled.refusalBeforeModeChange)
                    << "); the driver has asked for MONITOR mode, starting once more\n";
        context.err.flush();
    };
    session.onRecipeEnd = [&, direction](bool ok, const Settled& last) {
        if (!ok) {
            context.fail(EXIT_WORK_FAILED, failureText(last, session.settings(), session.nodes()));
            const QStringList lines = direction == RecipeTransfer::Download
                                          ? recipeLeftBehind(session.recipeBlocksDone(), last)
                                          : QStringList();
            for (const QString& line : lines) {
                context.fail(EXIT_WORK_FAILED, line);
            }
        }
        QCoreApplication::exit(ok ? EXIT_DONE : EXIT_WORK_FAILED);
    };
    session.startRecipe(direction);
    return QCoreApplication::exec();
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
    *recipe = readRecipe(csv, context.catalogue, Session::RECIPE_WORDS);
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
    int exitCode = loadRecipe(context, &recipe);
    std::vector<unsigned short> values(Session::RECIPE_WORDS, 0);
    if (exitCode == EXIT_DONE && download) {
        exitCode = loadValues(context, recipe, &values);
    }
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    OpenSession session(context);
    if (session.exitCode() != EXIT_DONE) {
        return session.exitCode();
    }
    std::copy(values.begin(), values.end(), session->recipeBuffer().begin());
    session->setRecipe(driverRecipe(recipe, Session::HOST_TAG, Session::STATION,
                                    session->settings().wordsPerFrame));
    exitCode =
        transfer(context, *session, download ? RecipeTransfer::Download : RecipeTransfer::Upload);
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    if (download) {
        context.out << "downloaded: " << variablesText(recipe) << '\n';
        context.out.flush();
        return EXIT_DONE;
    }
    if (!context.options.values.isEmpty()) {
        return saveUpload(context, recipe, session->recipeBuffer());
    }
    printUpload(context, recipe, session->recipeBuffer());
    return EXIT_DONE;
}

} // namespace panel

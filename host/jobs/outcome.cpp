#include <velkor/host/outcome.h>

#include <QtCore/QStringList>

namespace velkor_host {
namespace {

QString stateText(RecipeBlock::State state, RecipeDirection direction) {
    const bool download = direction == RecipeDirection::Download;
    switch (state) {
    case RecipeBlock::Moved:
        return download ? QStringLiteral("written") : QStringLiteral("read");
    case RecipeBlock::Unknown:
        return download ? QStringLiteral("not known, it may have been written")
                        : QStringLiteral("not read");
    case RecipeBlock::NotMoved:
        break;
    }
    return download ? QStringLiteral("not written") : QStringLiteral("not read");
}

QString rangeText(const RecipeBlock& block) {
    return block.length == 1 ? QStringLiteral("%1 %2").arg(block.reg).arg(block.address)
                             : QStringLiteral("%1 %2 to %3")
                                   .arg(block.reg)
                                   .arg(block.address)
                                   .arg(block.address + block.length - 1);
}

/// " (speed, level and 3 more)": of the variables that have words in the block.
QString namesText(const RecipeOutcome& outcome, const RecipeBlock& block) {
    const int SHOWN = 5;
    QStringList names;
    for (const RecipeVariable& variable : outcome.variables) {
        if (!variable.name.isEmpty() && variable.reg == block.reg &&
            variable.address < block.address + block.length &&
            block.address < variable.address + variable.count) {
            names.append(variable.name);
        }
    }
    const int more = static_cast<int>(names.size()) - SHOWN;
    return names.isEmpty() ? QString()
                           : QStringLiteral(" (%1%2)").arg(
                                 QStringList(names.mid(0, SHOWN)).join(QStringLiteral(", ")),
                                 more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString());
}

} // namespace

RecipeVariable recipeVariable(const Tag& tag, const Items& words) {
    return {tag.reg, tag.address, tag.itemCount(), words, tag.name};
}

QString writeResultName(WriteResult result) {
    switch (result) {
    case WriteResult::Taken:
        return QStringLiteral("taken");
    case WriteResult::Refused:
        return QStringLiteral("refused");
    case WriteResult::Unknown:
        return QStringLiteral("unknown");
    case WriteResult::NotReached:
        break;
    }
    return QStringLiteral("not reached");
}

QString recipeResultName(RecipeResult result) {
    switch (result) {
    case RecipeResult::Done:
        return QStringLiteral("done");
    case RecipeResult::Refused:
        return QStringLiteral("refused");
    case RecipeResult::Unknown:
        return QStringLiteral("unknown");
    case RecipeResult::NotReached:
        return QStringLiteral("not reached");
    case RecipeResult::Different:
        return QStringLiteral("different");
    case RecipeResult::NotVerified:
        return QStringLiteral("not verified");
    case RecipeResult::GivenUp:
        break;
    }
    return QStringLiteral("given up");
}

QString recipeBlocksText(const RecipeOutcome& outcome) {
    QStringList texts;
    for (const RecipeBlock& block : outcome.blocks) {
        texts.append(rangeText(block) + namesText(outcome, block) + QLatin1Char(' ') +
                     stateText(block.state, outcome.direction));
    }
    return texts.join(QStringLiteral("; "));
}

} // namespace velkor_host

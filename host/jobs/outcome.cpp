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

} // namespace

QString recipeBlocksText(const RecipeOutcome& outcome) {
    QStringList texts;
    for (const RecipeBlock& block : outcome.blocks) {
        texts.append(rangeText(block) + QLatin1Char(' ') +
                     stateText(block.state, outcome.direction));
    }
    return texts.join(QStringLiteral("; "));
}

} // namespace velkor_host

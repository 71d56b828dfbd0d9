#include "platform/update/UpdateChoice.h"

#include <algorithm>

namespace corvella {

namespace {

bool hasReachedPhase(const AppcastItem &item, const UpdateFacts &facts)
{
    if (item.phaseInterval.count() == 0 || !item.published.isValid())
        return true;
    return facts.now >= item.published.addSecs(item.phaseInterval.count() * facts.phase);
}

bool isOffered(const AppcastItem &item, const UpdateFacts &facts, CheckKind kind)
{
    return item.build > std::max(facts.runningBuild, facts.failedBuild)
        && item.machine == facts.machine && item.minimumSystem <= facts.system
        && (item.channel.isEmpty() || facts.channels.contains(item.channel))
        && (kind == CheckKind::byHand || hasReachedPhase(item, facts));
}

} // namespace

std::optional<AppcastItem> chooseUpdate(const QList<AppcastItem> &items, const UpdateFacts &facts,
                                        CheckKind kind)
{
    std::optional<AppcastItem> best;
    for (const AppcastItem &item : items) {
        if (isOffered(item, facts, kind) && (!best || item.build > best->build))
            best = item;
    }
    return best;
}

} // namespace corvella

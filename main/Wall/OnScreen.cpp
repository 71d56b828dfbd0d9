#include "Wall/OnScreen.h"

#include "Wall/SharedClaims.h"

#include <QHash>

namespace corvella::OnScreen {

namespace {

QHash<const void *, QString> &claims()
{
    static QHash<const void *, QString> table;
    return table;
}

std::optional<SharedClaims> &shared()
{
    static std::optional<SharedClaims> claims;
    return claims;
}

void announce()
{
    if (shared())
        shared()->announce(QSet<QString>(claims().cbegin(), claims().cend()));
}

} // namespace

void claim(const QString &id, const void *view)
{
    claims().insert(view, id);
    announce();
}

void release(const void *view)
{
    claims().remove(view);
    announce();
}

void shareIn(const QString &folder)
{
    shared() = SharedClaims::join(folder);
    announce();
}

QSet<QString> heldElsewhere(const void *view)
{
    QSet<QString> held = shared() ? shared()->ofOthers() : QSet<QString>();
    for (auto claim = claims().cbegin(); claim != claims().cend(); ++claim) {
        if (claim.key() != view)
            held.insert(claim.value());
    }
    return held;
}

} // namespace corvella::OnScreen

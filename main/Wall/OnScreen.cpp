#include "Wall/OnScreen.h"

#include <QHash>

namespace corvella::OnScreen {

namespace {

QHash<const void *, QString> &claims()
{
    static QHash<const void *, QString> table;
    return table;
}

} // namespace

void claim(const QString &id, const void *view)
{
    claims().insert(view, id);
}

void release(const void *view)
{
    claims().remove(view);
}

QSet<QString> heldElsewhere(const void *view)
{
    QSet<QString> held;
    for (auto claim = claims().cbegin(); claim != claims().cend(); ++claim) {
        if (claim.key() != view)
            held.insert(claim.value());
    }
    return held;
}

} // namespace corvella::OnScreen

#include "Preferences/ScreenNames.h"

#include <algorithm>

namespace corvella {

QStringList screenNames(const QList<ScreenLabel> &screens)
{
    QStringList names;
    for (const ScreenLabel &screen : screens) {
        const auto alike =
            std::count_if(screens.cbegin(), screens.cend(), [&screen](const ScreenLabel &other) {
                return other.model == screen.model;
            });
        if (screen.model.isEmpty())
            names << screen.connector;
        else if (alike > 1)
            names << QStringLiteral("%1 (%2)").arg(screen.model, screen.connector);
        else
            names << screen.model;
    }
    return names;
}

} // namespace corvella

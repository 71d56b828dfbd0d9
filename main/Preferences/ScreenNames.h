// What displays are called. A pure function; any thread.
#pragma once

#include <QString>
#include <QStringList>

namespace corvella {

struct ScreenLabel
{
    QString connector; // "HDMI-A-1"
    QString model;     // as the display tells of itself; empty where it does not
};

// A name for each, in their order: the model where it is known, with the connector where several
// are of one model.
[[nodiscard]] QStringList screenNames(const QList<ScreenLabel> &screens);

} // namespace corvella

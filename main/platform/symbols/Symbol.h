// The symbols that the program draws itself, so that they look the same on every desktop.
#pragma once

#include <QIcon>
#include <QPainterPath>
#include <QString>

#include <optional>

namespace corvella {

// The symbol of this name as a filled outline for text of `size` points, its middle at the origin,
// y downwards. None for a name that is not known.
[[nodiscard]] std::optional<QPainterPath> symbolPath(const QString &name, double size);

// The symbol as an icon for controls, sharp at every size and scale, in the colour that the palette
// gives to their texts at the moment of painting. Empty for a name that is not known.
[[nodiscard]] QIcon symbolIcon(const QString &name);

} // namespace corvella

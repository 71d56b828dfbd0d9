// What sway shows behind its windows: it tells nobody, but the program that draws for it was
// started with it. Reads /proc; any thread.
#pragma once

#include <QMap>
#include <QStringList>

namespace corvella {

// One output's background in the words of a `bg` command: {"/home/u/a.png", "fill", "#000000"}, the
// colour only where one was given, or {"#102030", "solid_color"}.
using SwayBackground = QStringList;

// By output, "*" for all others, from the arguments that swaybg was started with.
[[nodiscard]] QMap<QString, SwayBackground> backgroundsIn(const QStringList &arguments);

// Of the swaybg that this sway started; empty when there is none.
[[nodiscard]] QMap<QString, SwayBackground> backgroundsOf(const QString &swayAddress);

} // namespace corvella

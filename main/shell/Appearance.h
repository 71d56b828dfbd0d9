// Light or dark, where the user wants another than the desktop's. Main thread only.
#pragma once

#include <QPalette>
#include <QString>

#include <optional>

namespace corvella {

enum class Appearance { light, dark };

// The one that is stored under exactly this text; none for any other.
[[nodiscard]] std::optional<Appearance> appearanceFromText(const QString &text);

// What a palette looks like: dark when its text is lighter than its ground.
[[nodiscard]] Appearance appearanceOf(const QPalette &palette);

// All windows of the application look so from now on. Where the desktop looks so already nothing
// changes. Else they are drawn in the plain style that is part of Qt, because a desktop's own style
// may not draw by the palette that it is given.
void setAppearance(Appearance appearance);

// They look as the desktop has it again.
void resetAppearance();

} // namespace corvella

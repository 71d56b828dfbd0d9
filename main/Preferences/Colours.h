// The colours of texts and lines that a palette has no role for, mixed from those that it has. Ask
// when painting: light and dark may change while a window is up.
#pragma once

#include <QColor>
#include <QPalette>

namespace corvella {

enum class Tone { primary, secondary, tertiary };

[[nodiscard]] QColor textColour(const QPalette &palette, Tone tone);
// The ground of what is selected: the palette's own, deepened where its text would be hard to read.
[[nodiscard]] QColor selectionColour(const QPalette &palette);
// Of the line around what has the keys: the palette's highlight, so light or dark that it is seen
// on a button.
[[nodiscard]] QColor focusColour(const QPalette &palette);
[[nodiscard]] QColor separatorColour(const QPalette &palette);

} // namespace corvella

#include "Preferences/Colours.h"

namespace corvella {

namespace {

// As faint as a text may be that is still read easily: on the grounds of a light and a dark desktop
// the contrast stays above 4.5.
constexpr double kSecondaryOpacity = 0.68;
constexpr double kTertiaryOpacity = 0.62;
constexpr double kSeparatorOpacity = 0.16;

QColor faded(QColor colour, double opacity)
{
    colour.setAlphaF(static_cast<float>(colour.alphaF() * opacity));
    return colour;
}

} // namespace

QColor textColour(const QPalette &palette, Tone tone)
{
    const QColor text = palette.color(QPalette::WindowText);
    switch (tone) {
    case Tone::primary:
        return text;
    case Tone::secondary:
        return faded(text, kSecondaryOpacity);
    case Tone::tertiary:
        return faded(text, kTertiaryOpacity);
    }
    return text;
}

QColor separatorColour(const QPalette &palette)
{
    return faded(palette.color(QPalette::WindowText), kSeparatorOpacity);
}

} // namespace corvella

#include "Preferences/Colours.h"

#include <algorithm>
#include <cmath>

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

// How light a colour is to the eye, and how much two differ:
// https://www.w3.org/TR/WCAG21/#dfn-contrast-ratio
double luminance(const QColor &colour)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

// A colour, made darker or lighter until it has this contrast to the one beside it.
QColor toldFrom(const QColor &beside, QColor colour, double least)
{
    constexpr int kMostSteps = 20; // enough to come from any colour near black or white
    constexpr int kStep = 105;     // percent
    const bool isDarkened = luminance(beside) > luminance(colour);
    for (int i = 0; i < kMostSteps && contrast(colour, beside) < least; ++i)
        colour = isDarkened ? colour.darker(kStep) : colour.lighter(kStep);
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

QColor selectionColour(const QPalette &palette)
{
    constexpr double kReadable = 4.5;
    return toldFrom(palette.color(QPalette::HighlightedText), palette.color(QPalette::Highlight),
                    kReadable);
}

QColor focusColour(const QPalette &palette)
{
    constexpr double kSeen = 3;
    return toldFrom(palette.color(QPalette::Button), palette.color(QPalette::Highlight), kSeen);
}

QColor separatorColour(const QPalette &palette)
{
    return faded(palette.color(QPalette::WindowText), kSeparatorOpacity);
}

} // namespace corvella

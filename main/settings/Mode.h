// How the program presents the imagery. Pure values; any thread.
#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace corvella {

enum class Mode { wall, saver, kiosk, desktop };

// The segments of the settings window's mode control, left to right. People meet the gentlest mode
// first, so this is not the order of the enumeration.
inline constexpr std::array kModeSegments{Mode::desktop, Mode::saver, Mode::wall, Mode::kiosk};

// The text under which a mode is stored.
[[nodiscard]] QString rawValue(Mode mode);

// The mode that is stored under exactly this text; none for any other.
[[nodiscard]] std::optional<Mode> modeFromRawValue(QStringView text);

// The mode's name for people.
[[nodiscard]] QString label(Mode mode);

// What the mode does, in two or three sentences.
[[nodiscard]] QString helpText(Mode mode);

} // namespace corvella

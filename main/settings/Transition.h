// How one clip gives way to the next on a wall. Pure values; any thread.
#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace corvella {

enum class Transition { blink, crossfade, black, circle, wipe };

// Every transition, in the order in which the settings window lists them.
inline constexpr std::array kAllTransitions{Transition::blink, Transition::crossfade,
                                            Transition::black, Transition::circle,
                                            Transition::wipe};

// The text under which a transition is stored.
[[nodiscard]] QString rawValue(Transition transition);

// The transition that is stored under exactly this text; none for any other.
[[nodiscard]] std::optional<Transition> transitionFromRawValue(QStringView text);

// The transition's name for people.
[[nodiscard]] QString label(Transition transition);

} // namespace corvella

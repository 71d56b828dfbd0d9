// An explicit change of one value over time. A value type: what it shows at a moment depends on
// that moment alone.
#pragma once

#include "platform/layers/TimingCurve.h"
#include "platform/time/MediaClock.h"

#include <algorithm>
#include <optional>

namespace corvella {

// What an animation shows before it begins. After its end it shows nothing: the layer's own value
// holds.
enum class FillMode {
    removed,   // nothing, too
    backwards, // its first value
};

inline double interpolated(double from, double to, double progress)
{
    return from + (to - from) * progress;
}

template <typename Value> struct BasicAnimation
{
    Value from{};
    Value to{};
    MediaTime begin{0};
    MediaTime duration{0};
    FillMode fillMode = FillMode::removed;
    TimingCurve curve = TimingCurve::linear();

    [[nodiscard]] MediaTime end() const { return begin + duration; }

    // The value at this moment, or none when the animation has no say then.
    [[nodiscard]] std::optional<Value> value(MediaTime now) const
    {
        if (now >= end())
            return std::nullopt;
        if (now < begin)
            return fillMode == FillMode::backwards ? std::optional<Value>(from) : std::nullopt;
        const double time = std::chrono::duration<double>(now - begin) / duration;
        return interpolated(from, to, curve.progress(time));
    }
};

} // namespace corvella

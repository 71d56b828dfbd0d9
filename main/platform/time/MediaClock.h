// The clock that playback and animations read: monotonic nanoseconds since some fixed moment.
// Tests set a ManualMediaClock by hand, so that every presented picture is a function of its time.
#pragma once

#include <chrono>

namespace corvella {

using MediaTime = std::chrono::nanoseconds;

class MediaClock
{
public:
    virtual ~MediaClock() = default;
    [[nodiscard]] virtual MediaTime now() const = 0;
};

class SteadyMediaClock final : public MediaClock
{
public:
    [[nodiscard]] MediaTime now() const override
    {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
};

} // namespace corvella

// When frames are due. Pure arithmetic: every moment is an argument.
#pragma once

#include "platform/time/MediaClock.h"

#include <optional>

namespace corvella {

class PlaybackSchedule
{
public:
    // Beyond this the machine was asleep or stopped rather than slow: go on from here instead of
    // skipping what was missed.
    static constexpr MediaTime kLongestCatchUp = std::chrono::seconds(1);

    // A clip that is over at once would be let go and opened again all the time.
    static constexpr MediaTime kShortestLap = std::chrono::milliseconds(500);

    // Clip time is divided by the rate (greater than 0): at 0.5 a second of clip takes two.
    explicit PlaybackSchedule(double rate = 1.0)
        : m_rate(rate)
    {
    }

    // The lap's clip time 0 is at this moment.
    void anchor(MediaTime lapStart) { m_lapStart = lapStart; }
    [[nodiscard]] bool isAnchored() const { return m_lapStart.has_value(); }

    // The moment at which `clipTime` of the current lap is due. Anchored only.
    [[nodiscard]] MediaTime due(MediaTime clipTime) const;

    // The moment at which a lap of such a length of clip time ends: not before kShortestLap is
    // over.
    [[nodiscard]] MediaTime lapEnd(MediaTime lapLength) const;

    // Begins the next lap without a gap, when one of this length of clip time ends.
    void nextLap(MediaTime lapLength) { m_lapStart = lapEnd(lapLength); }

    // Moves the anchor so that `clipTime` is due now, if it is overdue by more than
    // kLongestCatchUp.
    void reanchorIfOverdue(MediaTime clipTime, MediaTime now);

    // While paused, time stands still.
    void pause(MediaTime now) { m_pausedAt = now; }
    void resume(MediaTime now);

private:
    [[nodiscard]] MediaTime played(MediaTime clipTime) const
    {
        return std::chrono::duration_cast<MediaTime>(clipTime / m_rate);
    }

    double m_rate;
    std::optional<MediaTime> m_lapStart;
    std::optional<MediaTime> m_pausedAt;
};

} // namespace corvella

// A media clock that moves only when told.
#pragma once

#include "platform/time/MediaClock.h"

namespace corvella::test {

class ManualMediaClock final : public MediaClock
{
public:
    [[nodiscard]] MediaTime now() const override { return m_now; }
    void advance(MediaTime by) { m_now += by; }
    void set(MediaTime now) { m_now = now; }

private:
    MediaTime m_now{std::chrono::seconds(1000)};
};

} // namespace corvella::test

#include "platform/video/PlaybackSchedule.h"

#include <algorithm>

namespace corvella {

MediaTime PlaybackSchedule::due(MediaTime clipTime) const
{
    return *m_lapStart + played(clipTime);
}

MediaTime PlaybackSchedule::lapEnd(MediaTime lapLength) const
{
    return *m_lapStart + std::max(played(lapLength), kShortestLap);
}

void PlaybackSchedule::reanchorIfOverdue(MediaTime clipTime, MediaTime now)
{
    if (now - due(clipTime) > kLongestCatchUp)
        m_lapStart = now - played(clipTime);
}

void PlaybackSchedule::resume(MediaTime now)
{
    if (m_pausedAt && m_lapStart)
        *m_lapStart += now - *m_pausedAt;
    m_pausedAt.reset();
}

} // namespace corvella

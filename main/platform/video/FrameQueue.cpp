#include "platform/video/FrameQueue.h"

#include <pthread.h>
#include <system_error>

namespace corvella {

FrameQueue::FrameQueue(const QString &path, QSize bounds, Events events)
    : m_events(std::move(events))
    , m_bounds(bounds)
{
    try {
        m_thread = std::thread([this, path] { run(path); });
    } catch (const std::system_error &error) {
        fail(QStringLiteral("there is no thread for it: ") + QString::fromLocal8Bit(error.what()));
    }
}

FrameQueue::~FrameQueue()
{
    m_stop.request_stop();
    {
        const std::lock_guard lock(m_mutex);
        m_changed.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

std::optional<FrameQueue::Upcoming> FrameQueue::front()
{
    const std::lock_guard lock(m_mutex);
    m_starved = m_ready.empty();
    if (m_starved)
        return std::nullopt;
    return Upcoming{m_ready.front().start, m_ready.front().isLastOfLap};
}

bool FrameQueue::take(VideoFrame &frame)
{
    const std::lock_guard lock(m_mutex);
    m_starved = m_ready.empty();
    if (m_starved)
        return false;
    frame = std::move(m_ready.front());
    m_ready.pop_front();
    m_changed.notify_all();
    return true;
}

void FrameQueue::restart()
{
    const std::lock_guard lock(m_mutex);
    m_ready.clear();
    m_restart = true;
    m_starved = true;
    m_changed.notify_all();
}

void FrameQueue::setGoesOnAfterLap(bool goesOn)
{
    const std::lock_guard lock(m_mutex);
    m_goesOnAfterLap = goesOn;
    m_changed.notify_all();
}

void FrameQueue::setBounds(QSize bounds)
{
    const std::lock_guard lock(m_mutex);
    m_bounds = bounds;
}

QSize FrameQueue::bounds()
{
    const std::lock_guard lock(m_mutex);
    return m_bounds;
}

QString FrameQueue::whyFailed()
{
    const std::lock_guard lock(m_mutex);
    return m_whyFailed;
}

QString FrameQueue::whyBrokenOff()
{
    const std::lock_guard lock(m_mutex);
    return m_whyBrokenOff;
}

void FrameQueue::run(const QString &path)
{
    pthread_setname_np(pthread_self(), "clip-reader");
    const ClipSource::Opened opened = ClipSource::open(path, m_stop.get_token());
    if (const auto *error = std::get_if<ClipError>(&opened)) {
        if (!m_stop.stop_requested())
            fail(error->text);
        return;
    }
    ClipSource &clip = *std::get<std::unique_ptr<ClipSource>>(opened);
    m_announcedLength = clip.announcedLength();
    decode(clip);
}

void FrameQueue::decode(ClipSource &clip)
{
    bool saidBrokenOff = false;
    while (waitForRoom()) {
        if (consumeRestart())
            clip.rewind();
        auto next = clip.next(bounds());
        if (m_stop.stop_requested())
            return;
        if (const auto *error = std::get_if<ClipError>(&next))
            return fail(error->text);
        auto &frame = std::get<VideoFrame>(next);
        if (!frame.brokenOff.isEmpty() && !std::exchange(saidBrokenOff, true))
            breakOff(frame.brokenOff);
        push(std::move(frame));
    }
}

bool FrameQueue::waitForRoom()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] {
        const bool mayDecode = m_goesOnAfterLap || !m_betweenLaps;
        return m_stop.stop_requested() || m_restart || (mayDecode && m_ready.size() < kCapacity);
    });
    m_betweenLaps = false;
    return !m_stop.stop_requested();
}

bool FrameQueue::consumeRestart()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_restart, false);
}

void FrameQueue::push(VideoFrame frame)
{
    bool wasStarved = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_restart)
            return;
        m_betweenLaps = frame.isLastOfLap;
        m_ready.push_back(std::move(frame));
        wasStarved = std::exchange(m_starved, false);
    }
    if (wasStarved)
        m_events.frameArrived();
}

void FrameQueue::fail(const QString &reason)
{
    {
        const std::lock_guard lock(m_mutex);
        m_whyFailed = reason;
    }
    m_events.failed();
}

void FrameQueue::breakOff(const QString &reason)
{
    {
        const std::lock_guard lock(m_mutex);
        m_whyBrokenOff = reason;
    }
    m_events.brokenOff();
}

} // namespace corvella

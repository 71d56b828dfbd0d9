#include "platform/video/FrameQueue.h"

#include "platform/video/ClipDecoder.h"
#include "platform/video/PictureConverter.h"

#include <pthread.h>

namespace corvella {

FrameQueue::FrameQueue(const QString &path, const PictureRequest &request, Events events)
    : m_events(std::move(events))
    , m_request(request)
    , m_thread([this, path] { run(path); })
{
}

FrameQueue::~FrameQueue()
{
    m_stopping = true;
    {
        const std::lock_guard lock(m_mutex);
        m_changed.notify_all();
    }
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

std::optional<VideoFrame> FrameQueue::take()
{
    const std::lock_guard lock(m_mutex);
    m_starved = m_ready.empty();
    if (m_starved)
        return std::nullopt;
    VideoFrame frame = std::move(m_ready.front());
    m_ready.pop_front();
    m_changed.notify_all();
    return frame;
}

void FrameQueue::restart()
{
    const std::lock_guard lock(m_mutex);
    m_ready.clear();
    m_restart = true;
    m_starved = true;
    m_changed.notify_all();
}

void FrameQueue::startPlaying()
{
    const std::lock_guard lock(m_mutex);
    m_capacity = kCapacity;
    m_changed.notify_all();
}

void FrameQueue::setGoesOnAfterLap(bool goesOn)
{
    const std::lock_guard lock(m_mutex);
    m_goesOnAfterLap = goesOn;
    m_changed.notify_all();
}

void FrameQueue::setRequest(const PictureRequest &request)
{
    const std::lock_guard lock(m_mutex);
    m_request = request;
}

PictureRequest FrameQueue::request()
{
    const std::lock_guard lock(m_mutex);
    return m_request;
}

void FrameQueue::run(const QString &path)
{
    pthread_setname_np(pthread_self(), "clip-decoder");
    auto opened = ClipDecoder::open(path, m_stopping);
    if (auto *error = std::get_if<ClipError>(&opened)) {
        if (!m_stopping)
            m_events.failed(error->text);
        return;
    }
    m_announcedLength = std::get<ClipDecoder>(opened).announcedLength();
    decode(std::get<ClipDecoder>(opened));
}

void FrameQueue::decode(ClipDecoder &decoder)
{
    PictureConverter converter;
    // One frame is held back, because only the next one tells whether it was the lap's last.
    std::optional<DecodedFrame> held;
    bool saidBrokenOff = false;

    const auto publish = [&](bool isLastOfLap) {
        const AVFrame &frame = *held->frame;
        VideoFrame ready{converter.convert(frame,
                                           {decoder.pixelAspect(frame), decoder.quarterTurns()},
                                           request()),
                         held->start, held->duration, isLastOfLap};
        held.reset();
        if (ready.picture.isNull()) {
            m_events.failed(QStringLiteral("there is no memory for its pictures"));
            return false;
        }
        push(std::move(ready));
        return true;
    };

    while (waitForRoom()) {
        if (consumeRestart()) {
            held.reset();
            if (!decoder.rewind())
                return m_events.failed(QStringLiteral("it cannot be played from the start again"));
        }
        auto next = decoder.next();
        if (m_stopping)
            return;
        if (auto *frame = std::get_if<DecodedFrame>(&next)) {
            if (held && !publish(false))
                return;
            held = std::move(*frame);
        } else if (auto *end = std::get_if<EndOfLap>(&next)) {
            if (!end->brokenOff.isEmpty() && !saidBrokenOff)
                m_events.brokenOff(end->brokenOff);
            saidBrokenOff = saidBrokenOff || !end->brokenOff.isEmpty();
            if (held && !publish(true))
                return;
            if (!decoder.rewind())
                return m_events.failed(QStringLiteral("it cannot be played from the start again"));
        } else {
            return m_events.failed(std::get<ClipError>(next).text);
        }
    }
}

bool FrameQueue::waitForRoom()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] {
        const bool mayDecode = m_goesOnAfterLap || !m_betweenLaps;
        return m_stopping || m_restart || (mayDecode && m_ready.size() < m_capacity);
    });
    m_betweenLaps = false;
    return !m_stopping;
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

} // namespace corvella

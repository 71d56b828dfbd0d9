#include "platform/video/VideoPlayer.h"

#include "platform/video/FrameQueue.h"
#include "platform/video/ReaderProcess.h"

#include <QPointer>

#include <algorithm>

namespace corvella {

using std::chrono::milliseconds;

namespace {

// A timer takes no more than 24.8 days, and a rate may be as slow as one likes.
constexpr MediaTime kLongestWait = std::chrono::hours(24);

quint64 lastPictureSerial = 0; // main thread only

} // namespace

void VideoPlayer::holdReader()
{
    ReaderProcess::holdProgram();
}

std::shared_ptr<const void> VideoPlayer::loadAhead()
{
    return ReaderProcess::loadAhead();
}

VideoPlayer::VideoPlayer(const QString &path, QSize bounds, const MediaClock &clock,
                         QObject *parent)
    : QObject(parent)
    , m_path(path)
    , m_clock(clock)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &VideoPlayer::advance);

    // Events come from the decoding thread and are queued to this object; what is queued for an
    // object that has gone is dropped by Qt.
    const auto queued = [this](void (VideoPlayer::*slot)()) {
        return [this, slot] { QMetaObject::invokeMethod(this, slot, Qt::QueuedConnection); };
    };
    FrameQueue::Events events;
    events.frameArrived = queued(&VideoPlayer::frameArrived);
    events.failed = queued(&VideoPlayer::clipFailed);
    events.brokenOff = queued(&VideoPlayer::clipBrokeOff);
    m_queue = std::make_unique<FrameQueue>(path, bounds, std::move(events));
}

VideoPlayer::~VideoPlayer() = default;

void VideoPlayer::play(double rate)
{
    if (!m_queue)
        return;
    if (!m_schedule.isAnchored())
        m_schedule = PlaybackSchedule(rate);
    else if (!m_playing)
        m_schedule.resume(m_clock.now());
    m_rate = rate;
    m_playing = true;
    if (!m_frame.picture.isNull() && !m_schedule.isAnchored())
        m_schedule.anchor(m_clock.now());
    advance();
}

void VideoPlayer::pause()
{
    if (!m_playing)
        return;
    m_playing = false;
    m_timer.stop();
    m_schedule.pause(m_clock.now());
}

void VideoPlayer::seekToStart()
{
    m_nearEndAnnounced = false;
    if (!m_queue)
        return;
    m_queue->setGoesOnAfterLap(true);
    if (m_ended) {
        // The decoder has gone on into the next lap by itself.
        m_ended = false;
        m_frame.isLastOfLap = false;
        m_schedule.nextLap(m_frame.start + m_frame.duration);
        return;
    }
    m_frame.isLastOfLap = false;
    m_schedule = PlaybackSchedule(m_rate);
    m_queue->restart();
}

void VideoPlayer::setLoops(bool loops)
{
    if (m_queue)
        m_queue->setGoesOnAfterLap(loops);
}

void VideoPlayer::clear()
{
    pause();
    m_queue.reset();
    m_frame.picture = {};
}

void VideoPlayer::setBounds(QSize bounds)
{
    if (m_queue)
        m_queue->setBounds(bounds);
}

void VideoPlayer::advance()
{
    if (m_playing && m_queue && bringUpDueFrames())
        Q_EMIT frameDue();
}

void VideoPlayer::frameArrived()
{
    if (!m_queue)
        return;
    // Before it plays the first picture is brought up all the same, so that it is ready when it
    // shall.
    if (!m_playing && m_frame.picture.isNull() && takeFrame())
        Q_EMIT frameDue();
    advance();
}

void VideoPlayer::clipFailed()
{
    if (m_queue)
        Q_EMIT failed(m_queue->whyFailed());
}

void VideoPlayer::clipBrokeOff()
{
    if (m_queue)
        Q_EMIT brokenOff(m_queue->whyBrokenOff());
}

bool VideoPlayer::bringUpDueFrames()
{
    const QPointer<VideoPlayer> self(this);
    bool changed = false;
    while (passLapEnd(m_clock.now())) {
        const std::optional<FrameQueue::Upcoming> upcoming = m_queue->front();
        if (!upcoming)
            return changed; // frameArrived goes on from here
        const MediaTime now = m_clock.now();
        if (!m_schedule.isAnchored())
            m_schedule.anchor(now);
        m_schedule.reanchorIfOverdue(upcoming->start, now);
        if (m_schedule.due(upcoming->start) > now) {
            wakeAt(m_schedule.due(upcoming->start), now);
            return changed;
        }
        changed = takeFrame() || changed;
        if (self && m_queue)
            announceNearEnd();
        if (!self || !m_queue || !m_playing)
            return false; // a listener has let the clip go
    }
    return self && changed;
}

bool VideoPlayer::passLapEnd(MediaTime now)
{
    if (!m_frame.isLastOfLap)
        return true;
    if (m_ended)
        return false;
    const MediaTime end = m_schedule.lapEnd(m_frame.start + m_frame.duration);
    if (end > now) {
        wakeAt(end, now);
        return false;
    }
    m_ended = true;
    const QPointer<VideoPlayer> self(this);
    Q_EMIT playedToEnd();
    return self && m_queue && m_playing && !m_ended;
}

bool VideoPlayer::takeFrame()
{
    const bool isFirst = m_frame.picture.isNull();
    if (!m_queue->take(m_frame))
        return false;
    m_pictureSerial = ++lastPictureSerial;
    if (isFirst)
        Q_EMIT readyForDisplay();
    return true;
}

void VideoPlayer::announceNearEnd()
{
    const MediaTime length = m_queue->announcedLength();
    const bool isNear = m_frame.isLastOfLap
        || (length > MediaTime(0)
            && std::chrono::duration_cast<MediaTime>((length - m_frame.start) / m_rate)
                <= kNearEnd);
    if (!isNear || m_nearEndAnnounced)
        return;
    m_nearEndAnnounced = true;
    Q_EMIT nearEnd();
}

void VideoPlayer::wakeAt(MediaTime moment, MediaTime now)
{
    // Rounded up: a timer that fires early would only have to be set again.
    m_timer.start(std::chrono::ceil<milliseconds>(std::min(moment - now, kLongestWait)));
}

} // namespace corvella

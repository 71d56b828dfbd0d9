// A clip fetched a picture ahead on a thread of its own, lap after lap without a gap.
// Included by this folder's sources only. All members may be called from one thread, the main one;
// none of them waits for the decoder but the destructor, for the picture in work.
#pragma once

#include "platform/video/ClipSource.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

namespace corvella {

class FrameQueue
{
public:
    // Frames ready ahead of the one that shows. At half speed there are 67 ms between two pictures
    // of 30 a second, and the seek at the loop point takes 20 ms with what is decoded after it;
    // each more would cost a picture of memory, 1.5 MB on a Full HD wall.
    static constexpr size_t kCapacity = 1;

    struct Events
    {
        // The first frame arrived, or one after take() or front() found none. On the decoding
        // thread.
        std::function<void()> frameArrived;
        // The clip cannot be played (any more), or breaks off early (once); whyFailed() and
        // whyBrokenOff() tell why. On the decoding thread, or from the constructor where there is
        // none.
        std::function<void()> failed;
        std::function<void()> brokenOff;
    };

    FrameQueue(const QString &path, QSize bounds, Events events);
    ~FrameQueue();
    FrameQueue(const FrameQueue &) = delete;
    FrameQueue &operator=(const FrameQueue &) = delete;

    // The start time of the next frame, if one is ready; otherwise frameArrived follows.
    struct Upcoming
    {
        MediaTime start;
        bool isLastOfLap;
    };
    [[nodiscard]] std::optional<Upcoming> front();
    // Puts the next frame in the place of `frame`; false when none is ready. The old picture is let
    // go before the decoder makes another one, so that it finds that one's memory free.
    [[nodiscard]] bool take(VideoFrame &frame);

    // Throws away what is decoded and begins again with the clip's first frame.
    void restart();
    // Whether decoding goes on into the next lap by itself (it does, at first).
    void setGoesOnAfterLap(bool goesOn);
    // How many pixels further pictures fit into.
    void setBounds(QSize bounds);
    // The clip's length as its file announces it; 0 while it is not open or where the file does not
    // say.
    [[nodiscard]] MediaTime announcedLength() const { return m_announcedLength.load(); }
    // Empty before the event of that name.
    [[nodiscard]] QString whyFailed();
    [[nodiscard]] QString whyBrokenOff();

private:
    void run(const QString &path);
    // Decodes until told to stop or the clip fails.
    void decode(ClipSource &clip);
    // Waits until there is something to decode and room for it; false when it is time to end.
    bool waitForRoom();
    // Makes the frame visible to take(), unless restart() has thrown its lap away meanwhile.
    void push(VideoFrame frame);
    void fail(const QString &reason);
    void breakOff(const QString &reason);
    [[nodiscard]] QSize bounds();
    bool consumeRestart();

    const Events m_events;
    std::stop_source m_stop;
    std::atomic<MediaTime> m_announcedLength{MediaTime(0)};

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<VideoFrame> m_ready; // guarded by m_mutex
    QSize m_bounds;                 // guarded by m_mutex
    QString m_whyFailed;            // guarded by m_mutex
    QString m_whyBrokenOff;         // guarded by m_mutex
    bool m_restart = false;         // guarded by m_mutex
    bool m_goesOnAfterLap = true;   // guarded by m_mutex
    bool m_betweenLaps = false;     // guarded by m_mutex: the next frame is the first of a lap
    bool m_starved = true;          // guarded by m_mutex: somebody waits for frameArrived

    std::thread m_thread; // last: everything it uses is made before it
};

} // namespace corvella

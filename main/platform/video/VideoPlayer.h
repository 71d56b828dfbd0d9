// Plays one clip file, muted by nature. Lives on the main thread and never waits there: decoding
// runs in a process of its own, a frame ahead, across the loop point too. Which picture is up
// is a function of the media clock alone; a timer only says when to look.
#pragma once

#include "platform/time/MediaClock.h"
#include "platform/video/PlaybackSchedule.h"
#include "platform/video/VideoFrame.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

namespace corvella {

class FrameQueue;

class VideoPlayer : public QObject
{
    Q_OBJECT

public:
    // nearEnd comes this long before the end, in real time.
    static constexpr MediaTime kNearEnd = std::chrono::seconds(1);

    // Holds on to the program that reads clips: worth calling while the files are this build's. Any
    // thread.
    static void holdReader();

    // Starts to load what the first player needs, which takes longer than all else until its
    // picture is there: worth calling as soon as it is clear that a clip will be played. It stays
    // loaded for as long as the handle or a player lives. Any thread.
    [[nodiscard]] static std::shared_ptr<const void> loadAhead();

    // Starts to open the clip at once; its first picture is shown as soon as it is decoded.
    // The clock must outlive the player.
    VideoPlayer(const QString &path, QSize bounds, const MediaClock &clock,
                QObject *parent = nullptr);
    ~VideoPlayer() override;

    [[nodiscard]] const QString &path() const { return m_path; }

    // Goes on at `rate` (greater than 0; 0.5 is half speed).
    void play(double rate);
    void pause();
    // Back to the first picture. Called at the end of the clip, playing on is seamless.
    void seekToStart();
    // Tells that the clip will not be played again after this lap (or that it will, as at first),
    // so that nothing is decoded for it. seekToStart() works all the same, only not without a gap.
    void setLoops(bool loops);
    // Lets the file and all pictures go, for good.
    void clear();

    // How many pixels further pictures fit into, at least one each way; those already decoded come
    // as they are.
    void setBounds(QSize bounds);

    // The picture that is up now; null before the first.
    [[nodiscard]] const Picture &picture() const { return m_frame.picture; }
    // Another number for every picture of every player; 0 before the first.
    [[nodiscard]] quint64 pictureSerial() const { return m_pictureSerial; }

    // Brings up what is due by the clock. The player does this itself; tests that set the clock
    // call it.
    void advance();

Q_SIGNALS:
    void readyForDisplay();             // the first picture is there
    void frameDue();                    // picture() has changed
    void nearEnd();                     // once a lap: the end is kNearEnd away, or less
    void playedToEnd();                 // the last picture has had its time
    void failed(const QString &reason); // nothing (more) will come
    void
    brokenOff(const QString &reason); // once: the file ends early; it is played as far as it goes

private:
    void frameArrived();
    void clipFailed();
    void clipBrokeOff();
    // Takes every picture that is due and arms the timer for the next. True when picture() changed.
    bool bringUpDueFrames();
    // True when the lap is not over yet, or was continued by a listener of playedToEnd.
    bool passLapEnd(MediaTime now);
    bool takeFrame();
    void announceNearEnd();
    void wakeAt(MediaTime moment, MediaTime now);

    const QString m_path;
    const MediaClock &m_clock;
    PlaybackSchedule m_schedule;
    QTimer m_timer;

    VideoFrame m_frame; // that is up
    quint64 m_pictureSerial = 0;
    double m_rate = 1.0;
    bool m_playing = false;
    bool m_ended = false;
    bool m_nearEndAnnounced = false;

    std::unique_ptr<FrameQueue> m_queue; // last, so that its thread ends before the rest goes
};

} // namespace corvella

// Keeps the desktop pictures current, on a thread of its own that does one thing after the other.
// The calls are for the main thread and return at once; see Desktop for what they mean.
#pragma once

#include "platform/pictures/DesktopPictures.h"
#include "platform/threads/BackgroundWork.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace corvella {

class DesktopUpdater
{
public:
    using Screens = std::function<QList<PictureScreen>()>;

    // The screens are asked for on the main thread, at each call.
    DesktopUpdater(Screens screens, std::unique_ptr<DesktopPictures> pictures);
    // Hurries, and waits until all is done.
    ~DesktopUpdater();
    DesktopUpdater(const DesktopUpdater &) = delete;
    DesktopUpdater &operator=(const DesktopUpdater &) = delete;

    void remember();
    void apply();
    void followScreens();
    void restore();
    // The program ends: what has not begun is dropped, but for what puts the user's own back, and
    // nothing waits for a desktop that is yet to come up.
    void hurry();
    // True when all is done, false when the time was not enough.
    bool finish(std::chrono::milliseconds within);

private:
    using Job = std::function<void(DesktopPictures &pictures, const QList<PictureScreen> &screens)>;
    void afterwards(const Job &job);
    void unlessItEnds(const Job &job);

    struct Shown
    {
        QList<PictureScreen> screens;
        qint64 step = 0;
    };

    const Screens m_screens;
    std::unique_ptr<DesktopPictures> m_pictures; // for the work alone
    std::optional<Shown> m_shown;                // by the last update; likewise
    std::atomic<bool> m_ends = false;
    BackgroundWork m_work{1};
};

} // namespace corvella

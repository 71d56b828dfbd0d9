// Keeps the desktop pictures current, on a thread of its own that does one thing after the other.
// The calls are for the main thread and return at once; see Desktop for what they mean.
#pragma once

#include "platform/pictures/DesktopPictures.h"
#include "platform/threads/BackgroundWork.h"

#include <chrono>
#include <functional>
#include <memory>

namespace corvella {

class DesktopUpdater
{
public:
    using Screens = std::function<QList<PictureScreen>()>;

    // The screens are asked for on the main thread, at each call.
    DesktopUpdater(Screens screens, std::unique_ptr<DesktopPictures> pictures);
    // Waits for what is under way; what has not begun is dropped.
    ~DesktopUpdater();
    DesktopUpdater(const DesktopUpdater &) = delete;
    DesktopUpdater &operator=(const DesktopUpdater &) = delete;

    void remember();
    void apply();
    void restore();
    // True when all is done, false when the time was not enough.
    bool finish(std::chrono::milliseconds within);

private:
    using Job = std::function<void(DesktopPictures &pictures, const QList<PictureScreen> &screens)>;
    void afterwards(const Job &job);

    const Screens m_screens;
    std::unique_ptr<DesktopPictures> m_pictures; // for the work alone
    BackgroundWork m_work{1};
};

} // namespace corvella

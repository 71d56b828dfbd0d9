// The pictures that the desktop shows behind all windows, one per screen. Made on the main thread;
// everything else is called on one other thread, always the same, because it waits for services,
// files and processes, though never for long: a service that is silent for two seconds counts as
// one that refuses.
#pragma once

#include "platform/pictures/PictureScreen.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>
#include <optional>

namespace corvella {

// Why something was not done, for people to read; none when it was.
using Failure = std::optional<QString>;

class DesktopPictures
{
public:
    // What the desktop can do.
    enum class Reach {
        eachScreen, // a picture of its own for each screen
        allScreens, // one picture over all of them; it is composed of theirs
        nothing,    // nobody shows what is set
    };

    // What the user has now, one text per screen: all that putBack() needs. Empty for a screen that
    // has no picture, whose picture cannot be known, or is known already.
    struct Present
    {
        QStringList texts;
        Failure failure; // with it there are no texts
    };

    DesktopPictures() = default;
    virtual ~DesktopPictures() = default;
    DesktopPictures(const DesktopPictures &) = delete;
    DesktopPictures &operator=(const DesktopPictures &) = delete;

    // Those of the desktop that is running at the time of each call; never null. What has to be
    // drawn or kept for a desktop lies in `folder`, which is made when it is needed. The desktop
    // that the session is called after is awaited once for so long; then others will do.
    [[nodiscard]] static std::unique_ptr<DesktopPictures>
    create(const QString &folder,
           std::chrono::milliseconds forADesktopToComeUp = std::chrono::seconds(20));

    [[nodiscard]] virtual Reach reach() const = 0;
    // `known` are texts from earlier: what they tell of has been replaced since, and is not asked
    // for again.
    [[nodiscard]] virtual Present present(const QList<PictureScreen> &screens,
                                          const QStringList &known) = 0;

    // Shows a file on each screen: the whole of it as large as fits, the margins black. A screen
    // without a file keeps what it has. One answer per screen.
    [[nodiscard]] virtual QList<Failure> show(const QList<PictureScreen> &screens,
                                              const QList<std::optional<QString>> &files) = 0;

    // Puts back what present() gave, whatever screens there are now; or, on the screen of the same
    // number, the file of a plain file URL. Does nothing for an empty text and for one that it does
    // not understand.
    virtual void putBack(const QList<PictureScreen> &screens, const QStringList &texts) = 0;

    // The program ends: from now on nothing waits for a desktop that is yet to come up. Any thread.
    virtual void hurry() {}
};

} // namespace corvella

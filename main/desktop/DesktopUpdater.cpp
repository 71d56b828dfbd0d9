#include "desktop/DesktopUpdater.h"

#include "cache/Cache.h"
#include "desktop/DesktopFolder.h"
#include "desktop/PictureChoice.h"
#include "log.h"
#include "platform/storage/DurableFile.h"
#include "settings/Settings.h"

#include <QDir>
#include <QFile>

namespace corvella {

namespace {

using ScreenList = QList<PictureScreen>;
using Files = QList<std::optional<QString>>; // one per screen

// What the user has is kept once: later on it is ours that is shown. Only what no earlier text
// tells of, a new screen or another desktop, is added. Pictures are changed only when what they
// replace is safe, since this may be all that knows of it.
Failure rememberOnce(DesktopPictures &pictures, const ScreenList &screens)
{
    const std::optional<QStringList> stored = Settings::previousDesktop();
    const QStringList known = stored.value_or(QStringList());
    const DesktopPictures::Present present = pictures.present(screens, known);
    if (present.failure)
        return present.failure;
    QStringList texts = present.texts;
    if (stored)
        texts.removeAll(QString());
    if (stored && texts.isEmpty())
        return {};
    Settings::setPreviousDesktop(known + texts);
    if (Settings::previousDesktop() != known + texts)
        return QStringLiteral("the previous picture cannot be stored");
    log(QStringLiteral("desktop: remembered the previous picture on %1 screen(s)")
            .arg(texts.size()));
    return {};
}

QList<ScreenWish> wishes(qsizetype screens)
{
    QList<ScreenWish> wishes;
    for (int i = 0; i < screens; ++i)
        wishes << (Settings::isEnabled(i) ? ScreenWish(Settings::productList(i)) : std::nullopt);
    return wishes;
}

// The picture's own file for the desktop. That it could not be made shows itself when it is shown.
QString copyOf(const QJsonObject &entry, const QString &name)
{
    QString copy = Desktop::dir() + u'/' + name;
    if (!QFile::exists(copy))
        (void)DurableFile::copy(Cache::dir() + u'/' + entry[u"still"].toString(), copy);
    return copy;
}

void logOutcome(const PictureScreen &screen, const QJsonObject &entry, const Failure &failure)
{
    const QString start = QStringLiteral("desktop: ") + screen.name;
    if (failure)
        log(start + QStringLiteral(" failed: ") + *failure);
    else
        log(start + QStringLiteral(" -> ") + entry[u"id"].toString() + QStringLiteral(" (")
            + entry[u"updated"].toString(QStringLiteral("?")) + u')');
}

void removeAllBut(const QStringList &names)
{
    QDir folder(Desktop::dir());
    const QStringList there = folder.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : there) {
        if (!names.contains(name))
            folder.remove(name);
    }
}

// False where there was nothing to show.
bool update(DesktopPictures &pictures, const ScreenList &screens, qint64 step)
{
    if (!Settings::desktopActive())
        return false;
    const QList<QJsonObject> stills = stillsOf(Cache::entries());
    if (stills.isEmpty()) {
        log(QStringLiteral("desktop: no stills cached yet"));
        return false;
    }
    const Failure notRemembered = rememberOnce(pictures, screens);

    const auto chosen = choosePictures(stills, wishes(screens.size()), step);
    Files files(screens.size());
    QStringList keep;
    for (qsizetype i = 0; i < screens.size(); ++i) {
        const std::optional<QString> name = chosen[i] ? pictureName(*chosen[i]) : std::nullopt;
        if (!name)
            continue;
        keep << *name;
        files[i] = copyOf(*chosen[i], *name);
    }
    const QList<Failure> outcomes = notRemembered ? QList<Failure>(screens.size(), notRemembered)
                                                  : pictures.show(screens, files);
    for (qsizetype i = 0; i < screens.size(); ++i) {
        if (files[i])
            logOutcome(screens[i], *chosen[i], outcomes[i]);
    }
    // What was not replaced is shown still.
    if (!notRemembered)
        removeAllBut(keep);
    return true;
}

void putBack(DesktopPictures &pictures, const ScreenList &screens)
{
    const std::optional<QStringList> previous = Settings::previousDesktop();
    if (!previous)
        return;
    pictures.putBack(screens, *previous);
    Settings::setPreviousDesktop(std::nullopt);
    log(QStringLiteral("desktop: restored"));
}

} // namespace

DesktopUpdater::DesktopUpdater(Screens screens, std::unique_ptr<DesktopPictures> pictures)
    : m_screens(std::move(screens))
    , m_pictures(std::move(pictures))
{
}

DesktopUpdater::~DesktopUpdater()
{
    hurry();
    m_work.start([this] { m_pictures.reset(); });
    m_work.finish();
}

void DesktopUpdater::remember()
{
    unlessItEnds([](DesktopPictures &pictures, const ScreenList &screens) {
        if (const Failure failure = rememberOnce(pictures, screens))
            log(QStringLiteral("desktop: could not remember the previous picture: ") + *failure);
    });
}

void DesktopUpdater::apply()
{
    unlessItEnds([this](DesktopPictures &pictures, const ScreenList &screens) {
        const qint64 step = Settings::desktopCounter();
        if (!update(pictures, screens, step))
            return;
        Settings::setDesktopCounter(step + 1);
        m_shown = Shown{screens, step};
    });
}

void DesktopUpdater::followScreens()
{
    unlessItEnds([this](DesktopPictures &pictures, const ScreenList &screens) {
        // Where no display is left there is nothing to follow; they may come back as they were.
        const bool areOthers = m_shown && !screens.isEmpty() && screens != m_shown->screens;
        if (areOthers && update(pictures, screens, m_shown->step))
            m_shown->screens = screens;
    });
}

void DesktopUpdater::restore()
{
    afterwards([this](DesktopPictures &pictures, const ScreenList &screens) {
        m_shown.reset();
        putBack(pictures, screens);
    });
}

void DesktopUpdater::hurry()
{
    m_ends = true;
    m_pictures->hurry();
}

bool DesktopUpdater::finish(std::chrono::milliseconds within)
{
    return m_work.finish(within);
}

void DesktopUpdater::afterwards(const Job &job)
{
    m_work.start([this, job, screens = m_screens()] { job(*m_pictures, screens); });
}

void DesktopUpdater::unlessItEnds(const Job &job)
{
    afterwards([this, job](DesktopPictures &pictures, const ScreenList &screens) {
        if (!m_ends)
            job(pictures, screens);
    });
}

} // namespace corvella

#include "platform/pictures/DesktopPictures.h"

#include "log.h"
#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/DesktopPicturesPortal.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/PictureFile.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/RootPixmap.h"
#include "platform/pictures/ServiceCall.h"
#include "platform/pictures/SwayConnection.h"
#include "platform/session/WaylandGlobals.h"
#include "platform/session/XcbConnection.h"

#include <QFileInfo>
#include <QSemaphore>
#include <QStandardPaths>

#define namespace layer_namespace // a parameter's name in C
#include <wlr-layer-shell-unstable-v1-client.h>
#undef namespace

#include <map>

namespace corvella {

namespace {

using namespace std::chrono_literals;

constexpr auto kBetweenLooks = 500ms;

constexpr PictureDesktop kWithStates[] = {
    PictureDesktop::plasma, PictureDesktop::cinnamon, PictureDesktop::mate, PictureDesktop::gnome,
    PictureDesktop::xfce,   PictureDesktop::lxqt,     PictureDesktop::sway, PictureDesktop::x11,
};

// What only the main thread can tell.
struct Session
{
    bool isX11 = x11::isX11Session();
    bool hasLayers = wayland::offeredVersion(zwlr_layer_shell_v1_interface) > 0;
};

DesktopFacts lookAround(const Session &session, bool believesTheName)
{
    DesktopFacts facts;
    facts.services = runningServices();
    if (believesTheName)
        facts.calledDesktop =
            qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    const bool hasSwaybg =
        session.hasLayers && !QStandardPaths::findExecutable(QStringLiteral("swaybg")).isEmpty();
    facts.isSway = hasSwaybg && SwayConnection().isOpen();
    facts.hasLayers = hasSwaybg;
    facts.isRootVisible = session.isX11 && x11::isRootVisible();
    // It is asked only where there is nobody else.
    facts.hasPortal = chooseDesktop(facts) == PictureDesktop::nobody && portalSetsPictures();
    return facts;
}

std::unique_ptr<DesktopPictures> picturesOf(PictureDesktop desktop, const QString &folder)
{
    switch (desktop) {
    case PictureDesktop::plasma:
        return createDesktopPicturesPlasma();
    case PictureDesktop::cinnamon:
        return createDesktopPicturesGSettings(cinnamonSettings(), folder);
    case PictureDesktop::mate:
        return createDesktopPicturesGSettings(mateSettings(), folder);
    case PictureDesktop::gnome:
        return createDesktopPicturesGSettings(gnomeSettings(), folder);
    case PictureDesktop::xfce:
        return createDesktopPicturesXfce();
    case PictureDesktop::lxqt:
        return createDesktopPicturesLxqt(folder);
    case PictureDesktop::sway:
        return createDesktopPicturesSway();
    case PictureDesktop::layers:
        return createDesktopPicturesLayers();
    case PictureDesktop::x11:
        return createDesktopPicturesX11(folder);
    case PictureDesktop::portal:
        return createDesktopPicturesPortal(folder);
    case PictureDesktop::nobody:
        break;
    }
    return createRecordedPictures();
}

QString sayingOf(PictureDesktop desktop, DesktopPictures::Reach reach)
{
    switch (reach) {
    case DesktopPictures::Reach::eachScreen:
        return QStringLiteral("desktop: pictures are shown by %1, one on each screen")
            .arg(nameOf(desktop));
    case DesktopPictures::Reach::allScreens:
        return QStringLiteral("desktop: pictures are shown by %1, one over all screens")
            .arg(nameOf(desktop));
    case DesktopPictures::Reach::nothing:
        break;
    }
    return QStringLiteral("desktop: nothing here shows pictures; the last of each screen is kept");
}

// Those of whatever runs: a session's desktop can start late, or be replaced.
class SessionPictures final : public DesktopPictures
{
public:
    SessionPictures(const QString &folder, std::chrono::milliseconds forADesktopToComeUp)
        : m_folder(folder)
        , m_forADesktopToComeUp(forADesktopToComeUp)
    {
    }

    Reach reach() const override
    {
        return m_chosen ? m_desktops.at(*m_chosen)->reach() : Reach::nothing;
    }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        return choose().present(screens, known);
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        // Most desktops would take a name without a picture behind it, and show nothing.
        QList<std::optional<QString>> there = files;
        QList<Failure> failures(screens.size());
        for (qsizetype i = 0; i < files.size(); ++i) {
            if (files[i] && !QFileInfo(*files[i]).isReadable())
                failures[i] = QStringLiteral("there is no file ") + *files[i];
            else if (files[i])
                (void)readStill(*files[i], failures[i]);
            if (failures[i])
                there[i].reset();
        }
        if (there.count(std::nullopt) == there.size())
            return failures;
        const QList<Failure> shown = choose().show(screens, there);
        for (qsizetype i = 0; i < shown.size(); ++i) {
            if (there[i])
                failures[i] = shown[i];
        }
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        choose().putBack(screens, texts);
        // What was remembered in another desktop is put back there, as far as that can be done.
        for (const PictureDesktop desktop : kWithStates) {
            const QStringList others = statesOf(idOf(desktop), texts);
            if (desktop != m_chosen && !others.isEmpty())
                on(desktop).putBack({}, others);
        }
    }

    void hurry() override { m_isHurried.release(); }

private:
    DesktopPictures &choose()
    {
        DesktopFacts facts = lookAround(m_session, m_believesTheName);
        for (auto waited = 0ms; isAwaited(facts) && !isHurried(); waited += kBetweenLooks) {
            // Sessions are also called after a desktop whose pictures others show.
            m_believesTheName = waited < m_forADesktopToComeUp;
            facts = lookAround(m_session, m_believesTheName);
        }
        const PictureDesktop chosen = chooseDesktop(facts);
        DesktopPictures &pictures = on(chosen);
        if (std::exchange(m_chosen, chosen) != chosen)
            log(sayingOf(chosen, pictures.reach()));
        if (chosen != PictureDesktop::layers)
            m_desktops.erase(PictureDesktop::layers); // they would cover the others'
        return pictures;
    }

    // Waits a moment first.
    bool isHurried()
    {
        const bool isHurried = m_isHurried.tryAcquire(
            1, static_cast<int>(std::chrono::milliseconds(kBetweenLooks).count()));
        if (isHurried)
            m_isHurried.release(); // for the next who asks
        return isHurried;
    }

    DesktopPictures &on(PictureDesktop desktop)
    {
        std::unique_ptr<DesktopPictures> &pictures = m_desktops[desktop];
        if (!pictures)
            pictures = picturesOf(desktop, m_folder);
        return *pictures;
    }

    const Session m_session;
    const QString m_folder;
    const std::chrono::milliseconds m_forADesktopToComeUp;
    bool m_believesTheName = true; // that the session has
    std::map<PictureDesktop, std::unique_ptr<DesktopPictures>> m_desktops;
    std::optional<PictureDesktop> m_chosen;
    QSemaphore m_isHurried;
};

} // namespace

std::unique_ptr<DesktopPictures>
DesktopPictures::create(const QString &folder, std::chrono::milliseconds forADesktopToComeUp)
{
    return std::make_unique<SessionPictures>(folder, forADesktopToComeUp);
}

} // namespace corvella

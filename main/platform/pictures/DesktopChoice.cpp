#include "platform/pictures/DesktopChoice.h"

#include <algorithm>
#include <array>

namespace corvella {

namespace {

// How a desktop is known: by the service of the part that draws, and by what its session is called.
struct Desktop
{
    PictureDesktop desktop;
    const char *service;
    const char *called;       // in small letters
    bool hasSettings = false; // that can be written without it
};

// Budgie and others take GNOME's names too, and a file manager of one desktop may run in another:
// the more special stand first.
constexpr std::array kDesktops = {
    Desktop{PictureDesktop::plasma, "org.kde.plasmashell", "kde", false},
    Desktop{PictureDesktop::cinnamon, "org.Cinnamon", "x-cinnamon", true},
    Desktop{PictureDesktop::mate, "org.mate.SettingsDaemon", "mate", true},
    Desktop{PictureDesktop::gnome, "org.gnome.Shell", "gnome", true},
    Desktop{PictureDesktop::gnome, "org.budgie_desktop.Panel", "budgie", true},
    Desktop{PictureDesktop::xfce, "org.xfce.xfdesktop", "xfce", false},
    Desktop{PictureDesktop::lxqt, "org.pcmanfm.PCManFM", "lxqt", false},
};

bool isRunning(const Desktop &desktop, const DesktopFacts &facts)
{
    return facts.services.contains(QLatin1String(desktop.service));
}

bool isCalled(const Desktop &desktop, const DesktopFacts &facts)
{
    return facts.calledDesktop.contains(QLatin1String(desktop.called), Qt::CaseInsensitive);
}

template <typename Condition> const Desktop *first(const Condition &condition)
{
    const auto *const found = std::find_if(kDesktops.begin(), kDesktops.end(), condition);
    return found == kDesktops.end() ? nullptr : found;
}

const Desktop *knownDesktop(const DesktopFacts &facts)
{
    const auto runs = [&](const Desktop &each) { return isRunning(each, facts); };
    const auto called = [&](const Desktop &each) { return isCalled(each, facts); };
    if (const Desktop *const both =
            first([&](const auto &each) { return runs(each) && called(each); }))
        return both;
    if (const Desktop *const one = first(runs))
        return one;
    return first(called);
}

} // namespace

PictureDesktop chooseDesktop(const DesktopFacts &facts)
{
    if (const Desktop *const desktop = knownDesktop(facts))
        return desktop->desktop;
    if (facts.isSway)
        return PictureDesktop::sway;
    if (facts.hasLayers)
        return PictureDesktop::layers;
    if (facts.isRootVisible)
        return PictureDesktop::x11;
    return facts.hasPortal ? PictureDesktop::portal : PictureDesktop::nobody;
}

bool isAwaited(const DesktopFacts &facts)
{
    const Desktop *const desktop = knownDesktop(facts);
    return desktop && !desktop->hasSettings && !isRunning(*desktop, facts);
}

QString idOf(PictureDesktop desktop)
{
    switch (desktop) {
    case PictureDesktop::plasma:
        return QStringLiteral("plasma");
    case PictureDesktop::cinnamon:
        return QStringLiteral("cinnamon");
    case PictureDesktop::mate:
        return QStringLiteral("mate");
    case PictureDesktop::gnome:
        return QStringLiteral("gnome");
    case PictureDesktop::xfce:
        return QStringLiteral("xfce");
    case PictureDesktop::lxqt:
        return QStringLiteral("lxqt");
    case PictureDesktop::sway:
        return QStringLiteral("sway");
    case PictureDesktop::x11:
        return QStringLiteral("x11");
    case PictureDesktop::layers:
    case PictureDesktop::portal:
    case PictureDesktop::nobody:
        break;
    }
    return {};
}

QString nameOf(PictureDesktop desktop)
{
    switch (desktop) {
    case PictureDesktop::plasma:
        return QStringLiteral("Plasma");
    case PictureDesktop::cinnamon:
        return QStringLiteral("Cinnamon");
    case PictureDesktop::mate:
        return QStringLiteral("MATE");
    case PictureDesktop::gnome:
        return QStringLiteral("GNOME");
    case PictureDesktop::xfce:
        return QStringLiteral("Xfce");
    case PictureDesktop::lxqt:
        return QStringLiteral("LXQt");
    case PictureDesktop::sway:
        return QStringLiteral("sway");
    case PictureDesktop::layers:
        return QStringLiteral("the compositor's lowest layer");
    case PictureDesktop::x11:
        return QStringLiteral("the X server's root window");
    case PictureDesktop::portal:
        return QStringLiteral("the desktop portal");
    case PictureDesktop::nobody:
        break;
    }
    return QStringLiteral("nobody");
}

} // namespace corvella

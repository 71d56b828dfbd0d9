#include "Preferences/ModeRules.h"

#include <array>

namespace corvella {

namespace {

struct Texts
{
    QStringView startTitle;
    QStringView armTooltip;
    QStringView armNote; // %1: minutes
};

// In the order of the enumeration.
constexpr std::array<Texts, 4> kTexts{{
    {u"Start Wall",
     u"Hide this window and wait for the idle timer below, then start the wall on its own.",
     u"Arm hides this window, then starts the wall after %1 minutes without input."},
    {u"Start Now",
     u"Hide this window now, same as what Screen Saver mode already waits to do on its own.",
     u"Arm hides this window. Screen Saver already waits on its own."},
    {u"Start Kiosk",
     u"Hide this window and wait for the idle timer below, then start the kiosk on its own.",
     u"Arm hides this window, then starts the kiosk after %1 minutes without input."},
    {u"Update Desktop Now",
     u"Hide this window and leave it running; the picture updates on its own schedule.",
     u"Arm hides this window and leaves Corvella running; the picture keeps updating."},
}};

QString armNote(const Texts &texts, double idleMinutes)
{
    QString note = texts.armNote.toString();
    return note.replace(QStringLiteral("%1"), QString::number(static_cast<qint64>(idleMinutes)));
}

} // namespace

ModeRules modeRules(Mode mode, double idleMinutes, bool desktop)
{
    const Texts &texts = kTexts[static_cast<size_t>(mode)];
    const bool isDesktop = mode == Mode::desktop;
    ModeRules rules;
    rules.startTitle = texts.startTitle.toString();
    rules.armTooltip = texts.armTooltip.toString();
    rules.armNote = armNote(texts, idleMinutes);
    if (mode != Mode::saver)
        rules.lockNote = QStringLiteral("Screen Saver mode only.");
    if (mode == Mode::kiosk)
        rules.presetNote = QStringLiteral("Kiosk mode turned these on, along with Offline below. "
                                          "Leaving Kiosk puts them back.");
    rules.idleTime = !isDesktop;
    rules.lock = mode == Mode::saver;
    rules.playback = !isDesktop;
    rules.desktopNow = isDesktop || desktop;
    rules.desktopAlways = isDesktop;
    return rules;
}

ModeChange modeChange(Mode old, Mode chosen, bool desktop)
{
    ModeChange change;
    change.startsDesktop = chosen == Mode::desktop;
    change.restoresDesktop = chosen != Mode::desktop && old == Mode::desktop && !desktop;
    change.turnsKioskOn = chosen == Mode::kiosk;
    change.savesOffline = chosen == Mode::kiosk && old != Mode::kiosk;
    change.turnsKioskBack = chosen != Mode::kiosk && old == Mode::kiosk;
    return change;
}

} // namespace corvella

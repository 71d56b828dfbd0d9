#include "shell/StatusLine.h"

namespace corvella {

namespace {

constexpr double kTwiceADay = 720; // minutes

QString idle(const StatusFacts &facts)
{
    return QStringLiteral("%1 min idle").arg(static_cast<qint64>(facts.idleMinutes));
}

QString desktopLine(const StatusFacts &facts)
{
    if (facts.isOffline)
        return QStringLiteral("Desktop: picture fixed, not updating");
    return facts.refreshMinutes == kTwiceADay
        ? QStringLiteral("Desktop: picture updates twice a day")
        : QStringLiteral("Desktop: picture updates once a day");
}

} // namespace

QString statusLine(const StatusFacts &facts)
{
    if (facts.isShowing)
        return label(facts.mode) + QStringLiteral(": on screen");
    if (facts.isArmedWaiting)
        return label(facts.mode) + QStringLiteral(": armed, starts after ") + idle(facts);
    switch (facts.mode) {
    case Mode::saver:
        return label(facts.mode) + QStringLiteral(": starts after ") + idle(facts);
    case Mode::desktop:
        return desktopLine(facts);
    case Mode::wall:
    case Mode::kiosk:
        break;
    }
    return label(facts.mode) + QStringLiteral(": ready");
}

QString startTitle(Mode mode)
{
    switch (mode) {
    case Mode::saver:
        return QStringLiteral("Start Screen Saver Now");
    case Mode::kiosk:
        return QStringLiteral("Start Kiosk Now");
    case Mode::wall:
    case Mode::desktop:
        break;
    }
    return QStringLiteral("Start Wall Now");
}

} // namespace corvella

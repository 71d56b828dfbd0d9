#include "settings/Mode.h"

#include <algorithm>

namespace corvella {

namespace {

struct Row
{
    QStringView rawValue;
    QStringView label;
    QStringView helpText;
};

// In the order of the enumeration.
constexpr std::array<Row, 4> kRows{{
    {u"wall", u"Wall",
     u"Starts when you open Corvella or click Start. "
     u"Ends on its close button, which appears when you move the mouse."},
    {u"saver", u"Screen Saver",
     u"Waits in the background and starts after the idle time. "
     u"Any input dismisses it. Quit from the Dock to stop waiting."},
    {u"kiosk", u"Kiosk",
     u"Starts at login and stays up. Offline, with all imagery downloaded first. "
     u"Exit a running kiosk with Control-Option-Command-Q."},
    {u"desktop", u"Desktop",
     u"Keeps each screen's desktop picture current with the latest still. "
     u"Leave Corvella running; it lives in the menu bar."},
}};

const Row &row(Mode mode)
{
    return kRows[size_t(mode)];
}

} // namespace

QString rawValue(Mode mode)
{
    return row(mode).rawValue.toString();
}

std::optional<Mode> modeFromRawValue(QStringView text)
{
    const auto found = std::find_if(kRows.begin(), kRows.end(),
                                    [text](const Row &row) { return row.rawValue == text; });
    if (found == kRows.end())
        return std::nullopt;
    return Mode(found - kRows.begin());
}

QString label(Mode mode)
{
    return row(mode).label.toString();
}

QString helpText(Mode mode)
{
    return row(mode).helpText.toString();
}

} // namespace corvella

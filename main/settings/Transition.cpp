#include "settings/Transition.h"

#include <algorithm>

namespace corvella {

namespace {

struct Row
{
    QStringView rawValue;
    QStringView label;
};

// In the order of the enumeration.
constexpr std::array<Row, kAllTransitions.size()> kRows{{
    {u"blink", u"Blink"},
    {u"crossfade", u"Crossfade"},
    {u"black", u"Fade through black"},
    {u"circle", u"Circular reveal"},
    {u"wipe", u"Wipe"},
}};

} // namespace

QString rawValue(Transition transition)
{
    return kRows[size_t(transition)].rawValue.toString();
}

std::optional<Transition> transitionFromRawValue(QStringView text)
{
    const auto found = std::find_if(kRows.begin(), kRows.end(),
                                    [text](const Row &row) { return row.rawValue == text; });
    if (found == kRows.end())
        return std::nullopt;
    return Transition(found - kRows.begin());
}

QString label(Transition transition)
{
    return kRows[size_t(transition)].label.toString();
}

} // namespace corvella

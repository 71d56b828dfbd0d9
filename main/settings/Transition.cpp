#include "settings/Transition.h"

#include <algorithm>

namespace corvella {

namespace {

struct TransitionRow
{
    QStringView rawValue;
    QStringView label;
};

// In the order of the enumeration.
constexpr std::array<TransitionRow, kAllTransitions.size()> kTransitionRows{{
    {u"blink", u"Blink"},
    {u"crossfade", u"Crossfade"},
    {u"black", u"Fade through black"},
    {u"circle", u"Circular reveal"},
    {u"wipe", u"Wipe"},
}};

} // namespace

QString rawValue(Transition transition)
{
    return kTransitionRows[size_t(transition)].rawValue.toString();
}

std::optional<Transition> transitionFromRawValue(QStringView text)
{
    const auto found =
        std::find_if(kTransitionRows.begin(), kTransitionRows.end(),
                     [text](const TransitionRow &row) { return row.rawValue == text; });
    if (found == kTransitionRows.end())
        return std::nullopt;
    return Transition(found - kTransitionRows.begin());
}

QString label(Transition transition)
{
    return kTransitionRows[size_t(transition)].label.toString();
}

} // namespace corvella

#include "settings/Transition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

struct TransitionRow
{
    Transition transition;
    int ordinal;
    QString rawValue;
    QString label;
};

const TransitionRow kTransitionRows[] = {
    {Transition::blink, 0, QStringLiteral("blink"), QStringLiteral("Blink")},
    {Transition::crossfade, 1, QStringLiteral("crossfade"), QStringLiteral("Crossfade")},
    {Transition::black, 2, QStringLiteral("black"), QStringLiteral("Fade through black")},
    {Transition::circle, 3, QStringLiteral("circle"), QStringLiteral("Circular reveal")},
    {Transition::wipe, 4, QStringLiteral("wipe"), QStringLiteral("Wipe")},
};

TEST(TransitionTest, HasItsOrdinalTextAndLabel)
{
    for (const TransitionRow &row : kTransitionRows) {
        EXPECT_EQ(int(row.transition), row.ordinal);
        EXPECT_EQ(rawValue(row.transition), row.rawValue);
        EXPECT_EQ(label(row.transition), row.label);
    }
}

TEST(TransitionTest, IsMadeFromItsExactText)
{
    for (const TransitionRow &row : kTransitionRows)
        EXPECT_EQ(transitionFromRawValue(row.rawValue), row.transition);
}

TEST(TransitionTest, IsMadeFromNoOtherText)
{
    for (const QStringView text : {u"", u"fade", u"Blink", u"blink ", u"Fade through black"})
        EXPECT_FALSE(transitionFromRawValue(text)) << text.toUtf8().constData();
}

TEST(TransitionTest, ListsAllFiveFromBlinkToWipe)
{
    EXPECT_THAT(kAllTransitions,
                testing::ElementsAre(Transition::blink, Transition::crossfade, Transition::black,
                                     Transition::circle, Transition::wipe));
}

} // namespace
} // namespace corvella

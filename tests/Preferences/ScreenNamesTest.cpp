#include "Preferences/ScreenNames.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

TEST(ScreenNamesTest, DisplaysAreCalledByTheirModel)
{
    EXPECT_EQ(screenNames({{u"eDP-1"_s, QString()}, {u"HDMI-1"_s, u"U2720Q"_s}}),
              (QStringList{u"eDP-1"_s, u"U2720Q"_s}));
}

TEST(ScreenNamesTest, DisplaysOfOneModelAreToldApartByTheirConnectors)
{
    EXPECT_EQ(
        screenNames({{u"DP-1"_s, u"U2720Q"_s}, {u"DP-2"_s, u"P2419H"_s}, {u"DP-3"_s, u"U2720Q"_s}}),
        (QStringList{u"U2720Q (DP-1)"_s, u"P2419H"_s, u"U2720Q (DP-3)"_s}));
    EXPECT_EQ(screenNames({}), QStringList());
}

} // namespace
} // namespace corvella

#include "platform/pictures/DesktopChoice.h"

#include <gtest/gtest.h>

#include <ostream>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

struct Case
{
    const char *name;
    DesktopFacts facts;
    PictureDesktop chosen;
    bool isAwaited = false;
};

std::ostream &operator<<(std::ostream &stream, const Case &test)
{
    return stream << test.name;
}

class DesktopChoice : public testing::TestWithParam<Case>
{
};

TEST_P(DesktopChoice, Is)
{
    EXPECT_EQ(chooseDesktop(GetParam().facts), GetParam().chosen);
    EXPECT_EQ(isAwaited(GetParam().facts), GetParam().isAwaited);
}

const QString kPlasma = u"org.kde.plasmashell"_s;
const QString kGnome = u"org.gnome.Shell"_s;
const QString kXfce = u"org.xfce.xfdesktop"_s;
const QString kFileManager = u"org.pcmanfm.PCManFM"_s;

DesktopFacts running(const QStringList &services, const QStringList &called = {})
{
    return {.services = services, .calledDesktop = called, .isRootVisible = true};
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DesktopChoice,
    testing::Values(
        Case{"Plasma", running({u":1.1"_s, kPlasma}), PictureDesktop::plasma},
        Case{"Gnome", running({kGnome}, {u"ubuntu"_s, u"GNOME"_s}), PictureDesktop::gnome},
        Case{"Budgie", running({u"org.budgie_desktop.Panel"_s}, {u"Budgie"_s, u"GNOME"_s}),
             PictureDesktop::gnome},
        Case{"CinnamonBesideGnomesName", running({kGnome, u"org.Cinnamon"_s}),
             PictureDesktop::cinnamon},
        Case{"Mate", running({u"org.mate.SettingsDaemon"_s}), PictureDesktop::mate},
        Case{"Xfce", running({kXfce}), PictureDesktop::xfce},
        Case{"Lxqt", running({kFileManager}), PictureDesktop::lxqt},
        Case{"FileManagerInAnotherDesktop", running({kFileManager, kXfce}), PictureDesktop::xfce},
        Case{"OfSeveralTheOneThatTheSessionIs", running({kGnome, kXfce}, {u"XFCE"_s}),
             PictureDesktop::xfce},
        Case{"WhatRunsAndNotWhatTheSessionIsCalled", running({kXfce}, {u"KDE"_s}),
             PictureDesktop::xfce},
        Case{"WaitsForADesktopThatComesUp", running({}, {u"KDE"_s}), PictureDesktop::plasma, true},
        Case{"SettingsCanBeWrittenBefore", running({}, {u"GNOME"_s}), PictureDesktop::gnome},
        Case{"UnknownNameOfASession", running({}, {u"i3"_s}), PictureDesktop::x11},
        Case{"Sway", {.isSway = true, .hasLayers = true}, PictureDesktop::sway},
        Case{"OtherCompositor", {.hasLayers = true}, PictureDesktop::layers},
        Case{"BareServer", {.isRootVisible = true, .hasPortal = true}, PictureDesktop::x11},
        Case{"OnlyThePortal", {.hasPortal = true}, PictureDesktop::portal},
        Case{"Nobody", {}, PictureDesktop::nobody}),
    [](const auto &test) { return test.param.name; });

} // namespace
} // namespace corvella

// The program's item in a desktop's status area, as panels see it.
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/StatusNotifierHost.h"
#include "support/VirtualDisplay.h"
#include "support/X11Tray.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;
using test::StatusNotifierHost;

const QString kLine; // between entries

class StatusItemOnADesktop : public testing::Test
{
protected:
    StatusItemOnADesktop()
    {
        m_program.showOn(m_display);
        m_program.setSessionBus(m_bus);
        m_program.addClip(u"171"_s, 1);
    }

    void start(const QJsonObject &settings)
    {
        m_program.configure({{u"configured"_s, true}, {u"offline"_s, true}});
        m_program.configure(settings);
        m_program.start();
    }

    [[nodiscard]] int windows() { return static_cast<int>(m_display.client().windows().size()); }

    test::VirtualDisplay m_display{QSize(1024, 900)};
    test::PrivateBus m_bus;
    test::ProgramUnderTest m_program;
};

struct MenuRow
{
    const char *name;
    QJsonObject settings;
    QStringList titles;
};

class StatusMenuOf : public StatusItemOnADesktop, public testing::WithParamInterface<MenuRow>
{
};

TEST_P(StatusMenuOf, SaysWhatItIsDoingAndOffersWhatThereIs)
{
    const StatusNotifierHost host(m_bus.address());
    start(GetParam().settings);
    ASSERT_TRUE(host.hasItem());
    EXPECT_EQ(host.titles(), GetParam().titles);
    EXPECT_FALSE(host.menu().first().isEnabled);
    EXPECT_EQ(host.tip(), u"Corvella"_s);
}

INSTANTIATE_TEST_SUITE_P(
    Modes, StatusMenuOf,
    testing::Values(
        MenuRow{"DesktopOnline",
                {{u"mode"_s, u"desktop"_s}, {u"offline"_s, false}, {u"refreshMinutes"_s, 1440}},
                {u"Desktop: picture updates once a day"_s, kLine, u"Update Desktop Now"_s, kLine,
                 u"Settings…"_s, u"Check for Updates…"_s, kLine, u"Quit Corvella"_s}},
        MenuRow{"Saver",
                {{u"mode"_s, u"saver"_s}},
                {u"Screen Saver: starts after 5 min idle"_s, kLine, u"Start Screen Saver Now"_s,
                 kLine, u"Settings…"_s, u"Check for Updates…"_s, kLine, u"Quit Corvella"_s}},
        MenuRow{"Wall",
                {{u"mode"_s, u"wall"_s}, {u"configured"_s, false}},
                {u"Wall: ready"_s, kLine, u"Start Wall Now"_s, kLine, u"Settings…"_s,
                 u"Check for Updates…"_s, kLine, u"Quit Corvella"_s}},
        MenuRow{"WallWithTheDesktopPicture",
                {{u"mode"_s, u"wall"_s}, {u"configured"_s, false}, {u"desktop"_s, true}},
                {u"Wall: ready"_s, kLine, u"Start Wall Now"_s, u"Update Desktop Now"_s, kLine,
                 u"Settings…"_s, u"Check for Updates…"_s, kLine, u"Quit Corvella"_s}},
        MenuRow{"Kiosk",
                {{u"mode"_s, u"kiosk"_s}, {u"configured"_s, false}},
                {u"Kiosk: ready"_s, kLine, u"Start Kiosk Now"_s, kLine, u"Settings…"_s, kLine,
                 u"Quit Corvella"_s}}),
    [](const auto &row) { return row.param.name; });

TEST_F(StatusItemOnADesktop, DoesWhatIsChosen)
{
    const StatusNotifierHost host(m_bus.address());
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(host.hasItem());
    EXPECT_EQ(windows(), 0);
    host.choose(u"Settings…"_s);
    EXPECT_TRUE(becomes([this] { return windows() == 1; }));
    m_program.changeSettings({u"write"_s, u"mode"_s, u"wall"_s});
    host.choose(u"Start Wall Now"_s);
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    EXPECT_TRUE(becomes([&] { return host.titles().first() == u"Wall: on screen"_s; }));
    host.choose(u"Quit Corvella"_s);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

// Some panels show what they fetched before, without a word to the program.
TEST_F(StatusItemOnADesktop, KeepsItsMenuRightAtAllTimes)
{
    const StatusNotifierHost host(m_bus.address());
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(host.hasItem());
    m_program.changeSettings({u"write"_s, u"mode"_s, u"saver"_s});
    EXPECT_TRUE(becomes(
        [&] { return host.menu().first().title == u"Screen Saver: starts after 5 min idle"_s; }));
}

TEST_F(StatusItemOnADesktop, OpensTheSettingsWhenItIsClicked)
{
    const StatusNotifierHost host(m_bus.address());
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(host.hasItem());
    host.click();
    EXPECT_TRUE(becomes([this] { return windows() == 1; }));
}

// At login panels come when they come.
TEST_F(StatusItemOnADesktop, ComesUpInAPanelThatStartsLater)
{
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
    const StatusNotifierHost host(m_bus.address());
    EXPECT_TRUE(host.hasItem());
}

TEST_F(StatusItemOnADesktop, ComesUpAgainWhenThePanelIsStartedAnew)
{
    std::optional<StatusNotifierHost> host(m_bus.address());
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(host->hasItem());
    host.reset();
    host.emplace(m_bus.address());
    EXPECT_TRUE(host->hasItem());
}

TEST_F(StatusItemOnADesktop, TakesATrayOfTheOlderWayWhereThereIsNoOther)
{
    test::X11Tray tray(m_display.display());
    start({{u"mode"_s, u"desktop"_s}});
    EXPECT_TRUE(becomes([&] { return tray.docked().has_value(); }));
}

TEST_F(StatusItemOnADesktop, TakesATrayOfTheOlderWayThatStartsLater)
{
    start({{u"mode"_s, u"desktop"_s}});
    ASSERT_TRUE(m_program.logs(u"desktop mode: resident, no windows"_s));
    // It has looked once.
    EXPECT_FALSE(becomes([this] { return !m_program.process().isRunning(); }, 2500ms));
    test::X11Tray tray(m_display.display());
    EXPECT_TRUE(becomes([&] { return tray.docked().has_value(); }));
}

} // namespace
} // namespace corvella

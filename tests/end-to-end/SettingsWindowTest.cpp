// The settings window of the real program: for people who do not see it, on displays that come and
// go, in the dark, and when the program ends in the middle of a download.
#include "support/NginxServer.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/QtPrinting.h"
#include "support/ScreenReader.h"
#include "support/StandInService.h"
#include "support/TestAuthority.h"
#include "support/TestImageryHost.h"
#include "support/VirtualDisplay.h"

#include <QDBusVariant>
#include <QFile>
#include <QImage>
#include <QJsonDocument>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using testing::Contains;

class SettingsWindow : public testing::Test
{
protected:
    SettingsWindow()
    {
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"saver"_s}}); // which opens the settings
    }

    [[nodiscard]] QJsonValue stored(const QString &key) const
    {
        QFile file(m_program.settingsFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QJsonDocument::fromJson(file.readAll()).object().value(key);
    }

    // The window's ground at a corner of it, in the middle of the display.
    [[nodiscard]] QColor ground() { return m_display.client().picture().pixelColor(600, 400); }

    // A display without a window is darker still: black.
    [[nodiscard]] bool isDark()
    {
        const int lightness = ground().lightness();
        return lightness > 20 && lightness < 80;
    }

    [[nodiscard]] bool isLight() { return ground().lightness() > 200; }

    test::VirtualDisplay m_display{QSize(1200, 800)};
    test::ProgramUnderTest m_program;
};

class SettingsReadAloud : public SettingsWindow
{
protected:
    SettingsReadAloud()
    {
        m_program.setSessionBus(m_bus);
        m_program.start();
        EXPECT_TRUE(becomes([this] { return m_reader.find(u"Start Now"_s).has_value(); }));
    }

    [[nodiscard]] std::optional<test::ScreenReader::Thing> thing(const QString &name,
                                                                 const QString &role) const
    {
        for (const test::ScreenReader::Thing &thing : m_reader.everything()) {
            if (thing.name == name && thing.role == role)
                return thing;
        }
        return std::nullopt;
    }

    test::PrivateBus m_bus;
    test::ScreenReader m_reader{m_bus};
};

TEST_F(SettingsReadAloud, EveryControlHasItsNameAndRole)
{
    QStringList told;
    for (const test::ScreenReader::Thing &thing : m_reader.everything())
        told << thing.role + u": "_s + thing.name;
    for (const QString &expected :
         {u"dialog: Corvella"_s,
          u"panel: Mode"_s,
          u"radio button: Desktop"_s,
          u"radio button: Screen Saver"_s,
          u"radio button: Wall"_s,
          u"radio button: Kiosk"_s,
          u"panel: Screens"_s,
          u"button menu: screen: All products (cycle)"_s,
          u"push button: Randomize the running order"_s,
          u"panel: Playback"_s,
          u"check box: Play products in random order"_s,
          u"text: Loops per clip"_s,
          u"spin box: Loops per clip"_s,
          u"combo box: Blink"_s,
          u"panel: Desktop picture"_s,
          u"check box: Set the desktop picture to the latest still"_s,
          u"push button: Update now"_s,
          u"panel: General"_s,
          u"check box: Open Corvella at login"_s,
          u"check box: Show corvella.example on screen"_s,
          u"panel: Starting"_s,
          u"text: Start after minutes without input"_s,
          u"spin box: Start after minutes without input"_s,
          u"check box: Lock the Mac when dismissed"_s,
          u"panel: Imagery"_s,
          u"radio button: Keep imagery updated"_s,
          u"combo box: once a day"_s,
          u"radio button: Offline: never use the network"_s,
          u"push button: Download all imagery now"_s,
          u"push button: Turn Off and Quit"_s,
          u"label: Version 1.0.0 (1)"_s,
          u"push button: Arm"_s,
          u"push button: Start Now"_s,
          u"label: Arm hides this window. Screen Saver already waits on its own."_s})
        EXPECT_THAT(told, Contains(expected));
}

TEST_F(SettingsReadAloud, WhatAReaderPressesActsAtOnce)
{
    m_reader.press(*thing(u"Play products in random order"_s, u"check box"_s));
    EXPECT_TRUE(becomes([this] { return stored(u"shuffle"_s) == true; }));
    m_reader.press(*thing(u"Keep imagery updated"_s, u"radio button"_s));
    EXPECT_TRUE(becomes([this] { return stored(u"offline"_s) == false; }));
    m_reader.press(*thing(u"Offline: never use the network"_s, u"radio button"_s));
    EXPECT_TRUE(becomes([this] { return stored(u"offline"_s) == true; }));
    m_reader.press(*thing(u"Wall"_s, u"radio button"_s));
    EXPECT_TRUE(becomes([this] { return stored(u"mode"_s) == u"wall"_s; }));
    EXPECT_TRUE(becomes([this] { return m_reader.find(u"Start Wall"_s).has_value(); }));
}

TEST_F(SettingsReadAloud, DisplaysThatComeHaveTheirRows)
{
    m_display.plugIn(u"L"_s, {0, 0, 1200, 400});
    m_display.plugIn(u"R"_s, {0, 400, 1200, 400});
    EXPECT_TRUE(becomes([this] {
        return m_reader.find(u"L: All products (cycle)"_s)
            && m_reader.find(u"R: All products (cycle)"_s);
    }));
    m_display.pullOut(u"R"_s);
    EXPECT_TRUE(becomes([this] { return !m_reader.find(u"R: All products (cycle)"_s); }));
    EXPECT_TRUE(m_program.process().isRunning());
}

TEST_F(SettingsWindow, ADisplayMayGoWhileItsMenuIsOpen)
{
    m_display.plugIn(u"L"_s, {0, 0, 1200, 400});
    m_display.plugIn(u"R"_s, {0, 400, 1200, 400});
    m_program.start();
    EXPECT_TRUE(becomes([this] { return !m_display.client().windows().isEmpty(); }));
    // From no control to the selected segment, the first screen's menu, its button, the second's.
    for (int i = 0; i < 4; ++i)
        m_display.input({u"key"_s, u"Tab"_s});
    m_display.input({u"key"_s, u"space"_s});
    EXPECT_TRUE(becomes([this] { return m_display.client().windows().size() == 2; })) << "the menu";
    m_display.pullOut(u"R"_s);
    EXPECT_TRUE(becomes([this] { return m_display.client().windows().size() == 1; }));
    // What has the keys now is still the window.
    m_display.input({u"key"_s, u"Return"_s});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode saver"_s));
}

TEST_F(SettingsWindow, IsAsDarkAsTheUserWants)
{
    m_program.start();
    EXPECT_TRUE(becomes([this] { return isLight(); }));
    m_program.configure({{u"appearance"_s, u"dark"_s}});
    m_program.start();
    EXPECT_TRUE(becomes([this] { return isDark(); }));
}

TEST_F(SettingsWindow, IsDarkWhileTheDesktopsPortalSaysSo)
{
    const auto scheme = [](uint number) {
        return QVariant::fromValue(QDBusVariant(QVariant::fromValue(number)));
    };
    const test::PrivateBus bus;
    test::StandInService portal(bus, u"org.freedesktop.portal.Desktop"_s);
    portal.setAnswer(u"Read"_s, QVariantList{QVariant::fromValue(QDBusVariant(scheme(1)))});
    m_program.setSessionBus(bus);
    m_program.start();
    EXPECT_TRUE(becomes([this] { return isDark(); }));
    const auto choose = [&](uint number) {
        portal.tell(u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.Settings"_s,
                    u"SettingChanged"_s,
                    {u"org.freedesktop.appearance"_s, u"color-scheme"_s, scheme(number)});
    };
    choose(2);
    EXPECT_TRUE(becomes([this] { return isLight(); }));
    choose(1);
    EXPECT_TRUE(becomes([this] { return isDark(); }));
    choose(0);
    EXPECT_TRUE(becomes([this] { return isLight(); }));
    // What the user wants of this program alone comes first.
    m_program.configure({{u"appearance"_s, u"dark"_s}});
    portal.setAnswer(u"Read"_s, QVariantList{QVariant::fromValue(QDBusVariant(scheme(2)))});
    m_program.start();
    EXPECT_TRUE(becomes([this] { return isDark(); }));
}

TEST_F(SettingsWindow, EndingInTheMiddleOfADownloadTakesNoTime)
{
    const test::TestAuthority authority;
    const test::TestImageryHost host(test::TestImageryHost::kProducts,
                                     test::TestImageryHost::kStamp, 1'000'000);
    test::NginxServer server(authority.issue({u"localhost"_s}), host.folder(),
                             u"limit_rate 20k;"_s);
    m_program.configure({{u"imageryHost"_s, server.host()}});
    m_program.setVariable(u"SSL_CERT_FILE"_s, authority.certificate());
    m_program.setVariable(u"no_proxy"_s, u"localhost"_s);
    m_program.start();
    EXPECT_TRUE(becomes([this] { return !m_display.client().windows().isEmpty(); }));
    // A kiosk that lacks imagery downloads it: three segments on from the selected one.
    m_display.input({u"key"_s, u"Tab"_s, u"Right"_s, u"Right"_s, u"space"_s});
    QStringList asked;
    EXPECT_TRUE(becomes([&] {
        asked << server.takeRequests();
        return !asked.isEmpty(); // the index; the first clip is under way
    }));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(std::chrono::seconds(5)), 0);
}

} // namespace
} // namespace corvella

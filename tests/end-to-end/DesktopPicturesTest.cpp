// The program in desktop mode: what is to be seen behind all windows.
#include "support/HeadlessSway.h"
#include "support/PrivateBus.h"
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

const QColor kRed(200, 20, 10);
const QColor kBlue(10, 20, 200);

class DesktopProgram : public testing::Test
{
protected:
    DesktopProgram()
    {
        m_program.addClip(u"171"_s, 1, 1);
        m_program.addStill(kRed);
        m_program.addClip(u"193"_s, 2, 1);
        m_program.addStill(kBlue);
        m_program.configure({{u"mode"_s, u"desktop"_s},
                             {u"configured"_s, true},
                             {u"offline"_s, true},
                             {u"products"_s, QJsonArray{u"all"_s}}});
    }

    // It has set the pictures since it was started.
    [[nodiscard]] bool updates(qint64 counter)
    {
        return becomes([&] { return settings()[u"desktopCounter"].toInteger() == counter; });
    }
    [[nodiscard]] QJsonObject settings() const
    {
        QFile file(m_program.settingsFile());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QJsonDocument::fromJson(file.readAll()).object();
    }

    test::ProgramUnderTest m_program;
};

class DesktopPictures : public DesktopProgram
{
protected:
    DesktopPictures()
    {
        m_display.plugIn(u"Wide"_s, QRect(0, 0, 800, 400));
        m_display.plugIn(u"Tall"_s, QRect(800, 0, 200, 400));
        m_display.client().paintRoot(QColor(u"#336699"_s));
        m_program.showOn(m_display);
    }

    [[nodiscard]] bool shows(const QColor &wide, const QColor &tall)
    {
        const QImage seen = m_display.client().picture();
        return seen.pixelColor(400, 200) == wide && seen.pixelColor(201, 1) == wide
            && seen.pixelColor(199, 200) == QColor(Qt::black) && seen.pixelColor(900, 200) == tall
            && seen.pixelColor(900, 99) == QColor(Qt::black);
    }

    test::VirtualDisplay m_display{QSize(1000, 400)};
};

TEST_F(DesktopPictures, AreFittedOnEachScreenAtLaunchAndStayWhenItEnds)
{
    m_program.start();
    EXPECT_TRUE(updates(1));
    EXPECT_TRUE(shows(kRed, kBlue));
    EXPECT_TRUE(m_program.logs(u"desktop: Wide -> 171 (2025-03-01T09:05:00Z)"_s));
    EXPECT_TRUE(m_program.logs(u"desktop: Tall -> 193 (2025-03-01T09:05:00Z)"_s));
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    EXPECT_TRUE(shows(kRed, kBlue));
}

TEST_F(DesktopPictures, FollowTheDisplays)
{
    m_program.start();
    EXPECT_TRUE(updates(1));
    ASSERT_TRUE(shows(kRed, kBlue));
    m_display.plugIn(u"Tall"_s, QRect(800, 200, 200, 200));
    EXPECT_TRUE(becomes([this] {
        const QImage seen = m_display.client().picture();
        return seen.pixelColor(801, 201) == kBlue && seen.pixelColor(998, 398) == kBlue;
    }));
    EXPECT_TRUE(m_program.logs(u"desktop: Tall -> 193 (2025-03-01T09:05:00Z)"_s));
    EXPECT_EQ(settings()[u"desktopCounter"].toInteger(), 1);
}

TEST_F(DesktopPictures, StepOnAtTheNextLaunchAndRememberTheFirstStateThroughACrash)
{
    m_program.start();
    EXPECT_TRUE(updates(1));
    const QJsonValue remembered = settings()[u"previousDesktop"];
    EXPECT_EQ(remembered.toArray().size(), 2);
    m_program.process().signal(SIGKILL);
    EXPECT_EQ(m_program.process().exitStatus(), std::nullopt);
    m_program.start();
    EXPECT_TRUE(updates(2));
    EXPECT_TRUE(shows(kBlue, kRed));
    EXPECT_EQ(settings()[u"previousDesktop"], remembered);
}

TEST_F(DesktopPictures, GiveWayToTheUsersAtTheNextLaunchWhereTurningOffWasCutOff)
{
    m_program.start();
    EXPECT_TRUE(updates(1));
    m_program.process().signal(SIGKILL);
    EXPECT_EQ(m_program.process().exitStatus(), std::nullopt);
    m_program.configure({{u"mode"_s, u"saver"_s}});
    m_program.start({u"--quiet"_s}); // its settings window would lie there
    EXPECT_TRUE(m_program.logs(u"desktop: restored"_s));
    EXPECT_EQ(m_display.client().picture().pixelColor(400, 200), QColor(u"#336699"_s));
    EXPECT_FALSE(settings().contains(u"previousDesktop"_s));
}

TEST_F(DesktopPictures, HaveTheirFilesInAFolderOfAnyName)
{
    const QString data = m_program.home() + u"/it's \"100%\" $(touch harm) ünï日本"_s;
    m_program.setVariable(u"XDG_DATA_HOME"_s, data);
    m_program.start();
    EXPECT_TRUE(updates(1));
    EXPECT_TRUE(shows(kRed, kBlue));
    EXPECT_EQ(QDir(data + u"/Corvella/desktop"_s).entryList(QDir::Files),
              (QStringList{u"171-2025-03-01T09-00-00Z.png"_s, u"193-2025-03-01T09-00-00Z.png"_s}));
    EXPECT_FALSE(QFile::exists(m_program.home() + u"/harm"_s));
}

TEST_F(DesktopPictures, FailScreenByScreenWhereTheFolderTakesNothing)
{
    const QString data = m_program.home() + u"/data"_s;
    QFile file(data);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    m_program.setVariable(u"XDG_DATA_HOME"_s, data);
    m_program.start();
    EXPECT_TRUE(updates(1));
    EXPECT_EQ(m_program.messages().filter(u" failed: there is no file "_s).size(), 2);
    EXPECT_EQ(m_display.client().picture().pixelColor(400, 200), QColor(u"#336699"_s));
}

TEST_F(DesktopPictures, HoldUpNoEndThoughTheBusHangs)
{
    test::PrivateBus bus;
    m_program.setSessionBus(bus);
    m_program.start();
    ASSERT_TRUE(updates(1));
    bus.hang();
    m_program.process().signal(SIGTERM);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
    bus.goOn();
}

class DesktopPicturesOnSway : public DesktopProgram
{
protected:
    DesktopPicturesOnSway() { m_program.showOn(m_sway); }

    [[nodiscard]] bool shows(int output, QSize size, const QColor &colour)
    {
        return becomes([&] {
            const QImage seen = m_sway.picture(output);
            return seen.pixelColor(size.width() / 2, size.height() / 2) == colour
                && seen.pixelColor(1, 1) == QColor(Qt::black);
        });
    }

    test::HeadlessSway m_sway{{QRect(0, 0, 400, 200), QRect(400, 0, 100, 200)}};
};

TEST_F(DesktopPicturesOnSway, AreSetBySway)
{
    const QDir folder(m_sway.folder());
    m_program.setVariable(
        u"SWAYSOCK"_s, folder.filePath(folder.entryList({u"sway-ipc.*"_s}, QDir::System).value(0)));
    // Root's own folders are closed to the user that sway may have to run as.
    const QString data = m_sway.folder() + u"/data"_s;
    ASSERT_TRUE(QDir().mkpath(data + u"/Corvella/desktop"_s));
    m_program.setVariable(u"XDG_DATA_HOME"_s, data);
    m_program.start();
    EXPECT_TRUE(m_program.logs(u"desktop: pictures are shown by sway, one on each screen"_s));
    EXPECT_TRUE(shows(0, {400, 200}, kRed));
    EXPECT_TRUE(shows(1, {100, 200}, kBlue));
}

TEST_F(DesktopPicturesOnSway, LieOnTheLowestLayerOfOtherCompositorsAndGoWithTheProgram)
{
    m_program.start();
    EXPECT_TRUE(m_program.logs(
        u"desktop: pictures are shown by the compositor's lowest layer, one on each screen"_s));
    EXPECT_TRUE(shows(0, {400, 200}, kRed));
    EXPECT_TRUE(shows(1, {100, 200}, kBlue));
    m_program.process().signal(SIGKILL);
    EXPECT_TRUE(
        becomes([this] { return m_sway.picture(0).pixelColor(1, 1) != QColor(Qt::black); }));
}

} // namespace
} // namespace corvella

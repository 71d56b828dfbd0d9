// The program between its walls: how it is launched, reached again, and asked about updates.
#include "shell/AppFixture.h"

#include "Preferences/Preferences.h"
#include "Preferences/SaverInstall.h"
#include "cache/Cache.h"
#include "desktop/Desktop.h"
#include "support/Waiting.h"
#include "updater/Updater.h"

#include <QDir>
#include <QGuiApplication>
#include <QRegularExpression>

#include <sys/prctl.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

const QString kRefreshed = u"offline or read-only, not refreshing the cache"_s;
const QString kResident = u"desktop mode: resident, no windows"_s;

class AgentTest : public test::AppFixture
{
protected:
    AgentTest() { Cache::setReadOnly(true); } // a refresh says so, and asks nobody
    ~AgentTest() override { Cache::setReadOnly(false); }
};

class EveryLaunch : public AgentTest, public testing::WithParamInterface<Mode>
{
};

TEST_P(EveryLaunch, ShowsWhatItShould)
{
    const Mode mode = GetParam();
    for (const bool configured : {false, true}) {
        for (const bool offline : {false, true}) {
            for (const bool start : {false, true}) {
                SCOPED_TRACE(testing::Message() << "configured " << configured << ", offline "
                                                << offline << ", --start " << start);
                TearDown();
                SetUp();
                configure(mode);
                Settings::setConfigured(configured);
                Settings::setOffline(offline);
                launch(start ? QStringList{u"--start"_s} : QStringList());
                const bool isPlayed = mode == Mode::wall || mode == Mode::kiosk;
                const bool walls = (start && mode != Mode::desktop) || (configured && isPlayed);
                const bool resident = !start && configured && mode == Mode::desktop;
                EXPECT_EQ(m_app->isShowing(), walls);
                EXPECT_EQ(settingsOpen(), !walls && !resident && !start);
                EXPECT_EQ(logged(kResident).size(), resident ? 1 : 0);
                // Online it refreshes in the background.
                EXPECT_TRUE(
                    becomes([&] { return logged(kRefreshed).size() == (offline ? 0 : 1); }));
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, EveryLaunch,
                         testing::Values(Mode::wall, Mode::saver, Mode::kiosk, Mode::desktop),
                         [](const auto &row) { return rawValue(row.param).toStdString(); });

TEST_F(AgentTest, LaunchBringsThingsUpToDateInTheirOrder)
{
    // A saver of an older build and an empty cache.
    m_home.write(installedSaver() + u"/Contents/Info.plist"_s, "<plist><dict/></plist>");
    configure(Mode::desktop);
    QDir(m_home.cache(u"Corvella"_s)).removeRecursively();
    launch();
    const QStringList messages = m_log->messages();
    const auto position = [&](const QString &start) {
        for (qsizetype i = 0; i < messages.size(); ++i) {
            if (messages[i].startsWith(start))
                return i;
        }
        return qsizetype(-1);
    };
    const qsizetype saver = position(u"screen saver updated from build 0 to "_s);
    const qsizetype seeded = position(u"cache was empty, seeded"_s);
    const qsizetype decided = position(kResident);
    EXPECT_GE(saver, 0) << messages.join(u'\n').toStdString();
    EXPECT_LT(saver, seeded);
    EXPECT_LT(seeded, decided);
}

TEST_F(AgentTest, OpensTheSettingsWhenItIsStartedAgain)
{
    configure(Mode::desktop);
    launch();
    ASSERT_FALSE(settingsOpen());
    m_app->perform({});
    EXPECT_TRUE(settingsOpen());
}

TEST_F(AgentTest, LeavesWallsAloneWhenItIsStartedAgain)
{
    configure(Mode::wall);
    launch();
    ASSERT_TRUE(m_app->isShowing());
    for (const QString &action : {QString(), u"settings"_s, u"start"_s, u"unheard-of"_s}) {
        m_app->perform(action);
        EXPECT_FALSE(settingsOpen()) << qPrintable(action);
        EXPECT_TRUE(m_app->isShowing());
    }
    EXPECT_EQ(logged(u"showing on"_s).size(), 1);
}

TEST_F(AgentTest, StartsWallsWhenItIsStartedAgainForThat)
{
    configure(Mode::saver);
    launch();
    m_app->perform(u"start"_s);
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(AgentTest, SaysWhenACheckIsAllowedAgain)
{
    configure(Mode::desktop);
    Settings::setOffline(true);
    launch();
    Settings::setOffline(false);
    Settings::setLastManual(QDateTime::currentDateTimeUtc());
    m_app->perform(u"update-desktop"_s);
    EXPECT_TRUE(becomes([&] { return logged(u"update: checked recently"_s).size() == 1; }));
    const QRegularExpression expected(u"^update: checked recently, next check allowed at "
                                      u"\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+0000$"_s);
    EXPECT_TRUE(expected.match(logged(u"update: "_s).first()).hasMatch())
        << qPrintable(logged(u"update: "_s).first());
}

// As the kernel may let this thread's timers be, and those of the threads that are started by it.
std::chrono::nanoseconds slack()
{
    return std::chrono::nanoseconds(::prctl(PR_GET_TIMERSLACK));
}

TEST_F(AgentTest, ItsTimersMayBeLateOnlyAsLongAsNothingIsToBeSeen)
{
    constexpr auto exact = std::chrono::microseconds(50); // the kernel's own
    configure(Mode::saver);
    launch({u"--quiet"_s});
    EXPECT_EQ(slack(), std::chrono::milliseconds(50));
    m_app->show();
    EXPECT_EQ(slack(), exact);
    m_app->hide();
    EXPECT_EQ(slack(), std::chrono::milliseconds(50));
    Preferences::shared().show();
    EXPECT_EQ(slack(), exact);
    Preferences::shared().hide();
    EXPECT_EQ(slack(), std::chrono::milliseconds(50));
}

// What the slack was whenever a window was about to be made.
class SlackOfNewWindows : public QObject
{
public:
    SlackOfNewWindows() { qGuiApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched->isWindowType() && event->type() == QEvent::PlatformSurface)
            seen << slack();
        return false;
    }
    QList<std::chrono::nanoseconds> seen;
};

// The players run before the first wall is seen, and their threads take their timers after the main
// thread's: what waits for a clip's pictures must not be late.
TEST_F(AgentTest, ItsTimersAreExactBeforeAWallIsToBeSeen)
{
    configure(Mode::saver);
    launch({u"--quiet"_s});
    ASSERT_EQ(slack(), std::chrono::milliseconds(50));
    const SlackOfNewWindows slacks;
    m_app->show();
    ASSERT_FALSE(slacks.seen.isEmpty());
    EXPECT_EQ(slacks.seen.first(), std::chrono::microseconds(50));
}

// As from the menu of its icon, where it does not run yet.
TEST_F(AgentTest, LaunchedForOneThingItShowsNothingElse)
{
    for (const Mode mode : {Mode::wall, Mode::saver}) {
        for (const QString &action : {u"start"_s, u"settings"_s, u"update-desktop"_s}) {
            SCOPED_TRACE(qPrintable(rawValue(mode) + u' ' + action));
            TearDown();
            SetUp();
            configure(mode);
            launch({u"--action"_s, action});
            EXPECT_EQ(m_app->isShowing(), action == u"start"_s);
            EXPECT_EQ(settingsOpen(), action == u"settings"_s);
        }
    }
}

class InstallTiming : public AgentTest
{
protected:
    static Updater::When when() { return Updater::shared().when(); }
};

TEST_F(InstallTiming, FollowsTheMode)
{
    configure(Mode::desktop);
    launch();
    EXPECT_EQ(when(), Updater::When::now);
    Settings::setMode(Mode::kiosk);
    EXPECT_EQ(when(), Updater::When::overnight);
    for (const Mode mode : {Mode::wall, Mode::saver}) {
        Settings::setMode(mode);
        EXPECT_EQ(when(), Updater::When::onQuit);
    }
}

TEST_F(InstallTiming, WaitsForTheEndWhileTheSettingsOrWallsAreUp)
{
    configure(Mode::desktop);
    launch();
    Preferences::shared().show();
    EXPECT_EQ(when(), Updater::When::onQuit);
    Preferences::shared().hide();
    EXPECT_EQ(when(), Updater::When::now);
    Settings::setMode(Mode::wall);
    m_app->show();
    Settings::setMode(Mode::desktop);
    EXPECT_EQ(when(), Updater::When::onQuit);
}

TEST_F(InstallTiming, IsAtOnceWhereTheUserWantsThat)
{
    launch();
    Settings::d().setBoolean(u"installUpdatesNow"_s, true);
    for (const Mode mode : kModeSegments) {
        Settings::setMode(mode);
        EXPECT_EQ(when(), Updater::When::now);
    }
}

TEST_F(InstallTiming, IsTheEndOnceTheAppIsGone)
{
    configure(Mode::kiosk);
    launch();
    m_app.reset();
    EXPECT_EQ(when(), Updater::When::onQuit);
}

} // namespace
} // namespace corvella

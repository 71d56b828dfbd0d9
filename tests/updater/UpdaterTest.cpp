#include "updater/Updater.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/QtPrinting.h"
#include "support/TemporaryHome.h"
#include "support/Waiting.h"

#include <gmock/gmock.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;
using When = Updater::When;

const QString kVersion = u"1.2.3"_s;

class UpdaterTest : public testing::Test
{
protected:
    UpdaterTest()
    {
        qputenv("TZ", "America/Denver"); // six hours behind UTC in October
        ::tzset();
        m_updater.when = [this] { return m_when; };
    }

    static QDateTime denver(int day, int hour, int minute, int second = 0)
    {
        return QDateTime(QDate(2026, 10, day), QTime(hour, minute, second),
                         QTimeZone("America/Denver"));
    }
    bool updateIsReady(const QString &version = kVersion)
    {
        return m_updater.willInstallUpdateOnQuit(version,
                                                 [this, version] { m_installed << version; });
    }

    test::TemporaryHome m_home;
    test::CapturedLog m_log;
    QDateTime m_now = denver(5, 14, 0);
    When m_when = When::onQuit;
    QStringList m_installed;
    Updater m_updater{{.now = [this] { return m_now; }}};
};

TEST_F(UpdaterTest, LeavesAnUpdateToTheEndOfTheProgramUnlessTold)
{
    Updater fresh({.now = [this] { return m_now; }});
    EXPECT_FALSE(fresh.willInstallUpdateOnQuit(kVersion, [this] { m_installed << kVersion; }));
    EXPECT_FALSE(updateIsReady());
    EXPECT_THAT(m_installed, IsEmpty());
    EXPECT_THAT(m_log.messages(),
                ElementsAre(u"update: 1.2.3 downloaded; installs on quit"_s,
                            u"update: 1.2.3 downloaded; installs on quit"_s));
}

TEST_F(UpdaterTest, InstallsAtOnce)
{
    m_when = When::now;
    EXPECT_TRUE(updateIsReady());
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
    EXPECT_THAT(m_log.messages(), ElementsAre(u"update: installing 1.2.3 now and relaunching"_s));
}

TEST_F(UpdaterTest, WaitsForTheNight)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    const QString scheduled =
        u"update: 1.2.3 downloaded; this kiosk installs it at 2026-10-06 09:00:00 +0000"_s;
    EXPECT_THAT(m_log.messages(), ElementsAre(scheduled));
    // However often the timer looks before: nothing is installed, nothing is said.
    for (const QDateTime &early : {denver(5, 14, 15), denver(6, 0, 0), denver(6, 2, 59, 59)}) {
        m_now = early;
        m_updater.nightlyFired();
    }
    EXPECT_THAT(m_installed, IsEmpty());
    EXPECT_EQ(m_log.messages().size(), 1);
    m_now = denver(6, 3, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(scheduled, u"update: installing 1.2.3 now and relaunching"_s));
    m_updater.nightlyFired(); // it is done once
    EXPECT_EQ(m_installed.size(), 1);
}

TEST_F(UpdaterTest, InstallsByItsOwnTimerWithinTheQuietHours)
{
    m_when = When::overnight;
    m_now = denver(6, 4, 59);
    EXPECT_TRUE(updateIsReady());
    EXPECT_THAT(m_installed, IsEmpty()); // by the timer, not from within the call
    EXPECT_TRUE(test::becomes([&] { return !m_installed.isEmpty(); }));
}

TEST_F(UpdaterTest, LooksAtTheClockWhenAMachineHasSlept)
{
    m_when = When::overnight;
    m_updater.lookAfterSleep(); // nothing waits
    EXPECT_TRUE(updateIsReady());
    m_now = denver(6, 2, 59, 59);
    m_updater.lookAfterSleep();
    EXPECT_THAT(m_installed, IsEmpty());
    m_now = denver(6, 4, 0);
    m_updater.lookAfterSleep();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
}

TEST_F(UpdaterTest, WaitsForTheNextNightWhereItMissedOne)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    m_now = denver(6, 5, 0); // the machine slept, or its clock was set
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, IsEmpty());
    EXPECT_EQ(m_log.messages().last(),
              u"update: 1.2.3 downloaded; this kiosk installs it at 2026-10-07 09:00:00 +0000"_s);
    EXPECT_EQ(m_log.messages().size(), 2);
    m_now = denver(7, 3, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
}

TEST_F(UpdaterTest, WaitsForNoNightOfAClockThatWasAhead)
{
    m_when = When::overnight;
    m_now = denver(5, 14, 0).addYears(1);
    EXPECT_TRUE(updateIsReady());
    m_now = denver(5, 15, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, IsEmpty());
    m_now = denver(6, 3, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
}

// A kiosk that was set up with a typo: its clocks show UTC, and so does its night.
TEST_F(UpdaterTest, TakesUtcWhereNobodyKnowsTheZone)
{
    qputenv("TZ", "Germany/Berlin");
    ::tzset();
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    const QString missed =
        u"update: the machine's time zone is not known; its night is that of UTC"_s;
    EXPECT_THAT(
        m_log.messages(),
        ElementsAre(
            missed,
            u"update: 1.2.3 downloaded; this kiosk installs it at 2026-10-06 03:00:00 +0000"_s));
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, IsEmpty());
    m_now = QDateTime(QDate(2026, 10, 6), QTime(3, 0), Qt::UTC);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
    EXPECT_EQ(m_log.messages().count(missed), 1);
}

TEST_F(UpdaterTest, AsksForTheRuleAgainAtNight)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    m_now = denver(6, 3, 0);
    m_when = When::onQuit; // no kiosk any more
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, IsEmpty());
    EXPECT_EQ(m_log.messages().size(), 1);
}

TEST_F(UpdaterTest, InstallsOutsideOfTheQuietHoursWhereTheRuleHasBecomeNow)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    m_now = denver(6, 12, 0);
    m_when = When::now;
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(kVersion));
}

TEST_F(UpdaterTest, ReplacesWhatWaitsByWhatIsNewer)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    EXPECT_TRUE(updateIsReady(u"1.2.4"_s));
    m_now = denver(6, 3, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, ElementsAre(u"1.2.4"_s));
    EXPECT_EQ(m_log.messages().last(), u"update: installing 1.2.4 now and relaunching"_s);
}

TEST_F(UpdaterTest, DropsWhatWaitsWhenTheProgramEnds)
{
    m_when = When::overnight;
    EXPECT_TRUE(updateIsReady());
    m_updater.applicationWillTerminate();
    m_now = denver(6, 3, 0);
    m_updater.nightlyFired();
    EXPECT_THAT(m_installed, IsEmpty());
}

} // namespace
} // namespace corvella

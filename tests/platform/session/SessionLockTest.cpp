// Locking by the session's own locker: stand-ins on real buses.
#include "platform/session/SessionLock.h"
#include "support/CapturedLog.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <QDBusVariant>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;
using test::kLogind;
using Call = test::StandInService::Call;
using Error = test::StandInService::Error;
using Silence = test::StandInService::Silence;

const QString kLock = u"Lock"_s;
const QString kGetActive = u"GetActive"_s;
const QString kGnome = u"org.gnome.ScreenSaver"_s;
const QString kGeneral = u"org.freedesktop.ScreenSaver"_s;
constexpr auto kPatience = 2s; // with a locker

class SessionLockTest : public testing::Test
{
protected:
    SessionLockTest()
    {
        QObject::connect(&m_lock, &SessionLock::finished, [this] { m_isFinished = true; });
    }

    [[nodiscard]] std::unique_ptr<test::StandInService> locker(const QString &name)
    {
        auto service = std::make_unique<test::StandInService>(m_buses.session, name);
        service->setAnswer(kLock, QVariantList{});
        service->setAnswer(kGetActive, QVariantList{true});
        return service;
    }
    [[nodiscard]] std::unique_ptr<test::StandInService> logind(bool isLocked)
    {
        auto service = std::make_unique<test::StandInService>(m_buses.system, kLogind);
        service->setAnswer(kLock, QVariantList{});
        service->setAnswer(u"Get"_s, QVariantList{QVariant::fromValue(QDBusVariant(isLocked))});
        return service;
    }
    [[nodiscard]] bool finishes()
    {
        return becomes([this] { return m_isFinished; });
    }

    test::TestBuses m_buses;
    test::CapturedLog m_log;
    SessionLock m_lock;
    bool m_isFinished = false;
};

TEST_F(SessionLockTest, LocksByGnomeWhichSwitchesTheDisplaysOffItself)
{
    const auto gnome = locker(kGnome);
    const auto general = locker(kGeneral);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    const Call lock{u"/org/gnome/ScreenSaver"_s, kGnome, kLock, {}};
    EXPECT_EQ(gnome->calls(kLock), QList{lock});
    EXPECT_TRUE(general->calls().isEmpty());
    EXPECT_TRUE(m_lock.switchesDisplaysOff());
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(SessionLockTest, LocksByTheGeneralNameAndLeavesTheDisplaysToOthers)
{
    const auto general = locker(kGeneral);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    const Call lock{u"/org/freedesktop/ScreenSaver"_s, kGeneral, kLock, {}};
    EXPECT_EQ(general->calls(kLock), QList{lock});
    EXPECT_FALSE(m_lock.switchesDisplaysOff());
}

TEST_F(SessionLockTest, GivesCinnamonTheTextThatItAsksFor)
{
    const auto cinnamon = locker(u"org.cinnamon.ScreenSaver"_s);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    EXPECT_EQ(cinnamon->calls(kLock).value(0).arguments, QVariantList{QString()});
}

TEST_F(SessionLockTest, WaitsUntilTheLockerSaysThatItHasLocked)
{
    const auto general = locker(kGeneral);
    general->setAnswer(kGetActive, QVariantList{false});
    m_lock.begin();
    ASSERT_TRUE(general->gets(kGetActive, 3));
    EXPECT_FALSE(m_isFinished);
    general->setAnswer(kGetActive, QVariantList{true});
    EXPECT_TRUE(finishes());
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(SessionLockTest, WaitsTwoSecondsForALockerThatHangs)
{
    const auto general = locker(kGeneral);
    general->setAnswer(kLock, Silence{});
    const test::Stopwatch stopwatch;
    m_lock.begin();
    EXPECT_LT(stopwatch.elapsed(), 500ms);
    EXPECT_TRUE(finishes());
    EXPECT_GE(stopwatch.elapsed(), kPatience - 200ms);
    EXPECT_LT(stopwatch.elapsed(), kPatience + 2s);
    const QStringList once{u"session lock: nobody says within 2 s that it is locked"_s};
    EXPECT_EQ(m_log.messages(), once);
    // It may come to itself, and be asked again.
    general->setAnswer(kLock, QVariantList{});
    m_isFinished = false;
    m_lock.begin();
    EXPECT_TRUE(finishes());
    EXPECT_EQ(m_log.messages(), once);
}

TEST_F(SessionLockTest, PassesAServiceByThatOnlyInhibits)
{
    const test::StandInService inhibits(m_buses.session, kGeneral); // knows no Lock
    const auto system = logind(true);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    const Call lock{
        u"/org/freedesktop/login1/session/auto"_s, u"org.freedesktop.login1.Session"_s, kLock, {}};
    EXPECT_EQ(system->calls(kLock), QList{lock});
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(SessionLockTest, SaysThatALockerFailsAndAsksTheNext)
{
    const auto mate = locker(u"org.mate.ScreenSaver"_s);
    mate->setAnswer(kLock, Error{u"org.x.Broken"_s, u"a grab is in the way"_s});
    const auto system = logind(true);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    EXPECT_EQ(system->calls(kLock).size(), 1);
    EXPECT_EQ(m_log.messages(),
              QStringList{u"session lock: org.mate.ScreenSaver: a grab is in the way"_s});
}

TEST_F(SessionLockTest, WaitsTwoSecondsForWhoeverListensToLogind)
{
    const auto system = logind(false);
    const test::Stopwatch stopwatch;
    m_lock.begin();
    EXPECT_TRUE(finishes());
    EXPECT_GE(stopwatch.elapsed(), kPatience - 200ms);
    const Call isLocked{u"/org/freedesktop/login1/session/auto"_s,
                        u"org.freedesktop.DBus.Properties"_s,
                        u"Get"_s,
                        {u"org.freedesktop.login1.Session"_s, u"LockedHint"_s}};
    EXPECT_EQ(system->calls(u"Get"_s).value(0), isLocked);
    EXPECT_EQ(m_log.messages(),
              QStringList{u"session lock: nobody says within 2 s that it is locked"_s});
}

TEST_F(SessionLockTest, StartsNoServiceAndSaysThatThereIsNone)
{
    m_buses.session.offerToStart(kGnome);
    m_buses.system.offerToStart(kLogind);
    m_lock.begin();
    EXPECT_TRUE(finishes());
    EXPECT_EQ(m_log.messages().filter(u"session lock: nothing here locks"_s).size(), 1);
    EXPECT_FALSE(m_buses.session.wasAskedToStartAny());
    EXPECT_FALSE(m_buses.system.wasAskedToStartAny());
}

} // namespace
} // namespace corvella

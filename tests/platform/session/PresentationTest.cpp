// What a locked session holds back, asked of stand-ins on real buses. Keys and clicks are the
// display server's matter; here is none.
#include "platform/session/Presentation.h"

#include "platform/session/PowerAssertion.h"
#include "support/CapturedLog.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::kLogind;
using Call = test::StandInService::Call;
using Error = test::StandInService::Error;
using Silence = test::StandInService::Silence;
using State = Presentation::State;

const QString kKioskReason = u"A kiosk shows the Sun"_s;
const QString kPresenter = u"space.tarrow.corvella"_s;
const QString kSessionManager = u"org.gnome.SessionManager"_s;
const QString kNotifications = u"org.freedesktop.Notifications"_s;
const QString kHoldBack = u"Inhibit"_s;
const QString kMachineIsFree = u"kiosk: power keys, shutdown and sleep are not held back"_s;

class PresentationTest : public testing::Test
{
protected:
    [[nodiscard]] std::unique_ptr<test::StandInService> onSessionBus(const QString &name,
                                                                     uint cookie)
    {
        auto service = std::make_unique<test::StandInService>(m_buses.session, name);
        service->setAnswer(kHoldBack, QVariantList{cookie});
        return service;
    }
    void lock() { m_presentation->setState(State::locked); }

    test::TestBuses m_buses;
    test::CapturedLog m_log;
    const std::unique_ptr<Presentation> m_presentation = Presentation::create();
};

TEST_F(PresentationTest, HoldsPowerKeysShutdownAndSleepBackWhileLocked)
{
    test::StandInService logind(m_buses.system, kLogind);
    test::LentDescriptor inhibitor;
    logind.setAnswer(kHoldBack, inhibitor.answer());
    lock();
    ASSERT_TRUE(logind.gets(kHoldBack));
    const Call inhibit{u"/org/freedesktop/login1"_s,
                       u"org.freedesktop.login1.Manager"_s,
                       kHoldBack,
                       {u"shutdown:sleep:idle:handle-power-key:handle-suspend-key:"
                        u"handle-hibernate-key:handle-lid-switch"_s,
                        u"Corvella"_s, kKioskReason, u"block"_s}};
    EXPECT_EQ(logind.calls(), QList{inhibit});
    logind.setAnswer(kHoldBack, Silence{}); // lets go of its own end
    EXPECT_TRUE(inhibitor.isHeld());
    m_presentation->setState(State::ordinary);
    EXPECT_TRUE(becomes([&] { return !inhibitor.isHeld(); }));
    EXPECT_FALSE(m_log.contains(kMachineIsFree));
}

// Debian 12's logind does not survive all of its kinds at once, whoever holds them: the names of
// all eight are one byte longer than the place that it has for them.
TEST_F(PresentationTest, NeverHoldsAllThatLogindKnows)
{
    test::StandInService logind(m_buses.system, kLogind);
    test::LentDescriptor inhibitor;
    logind.setAnswer(kHoldBack, inhibitor.answer());
    const std::unique_ptr<PowerAssertion> awake = PowerAssertion::create(u"a wall"_s);
    lock();
    ASSERT_TRUE(becomes([&] { return logind.calls().size() == 2; }));
    QStringList kinds;
    for (const Call &call : logind.calls())
        kinds += call.arguments.value(0).toString().split(u':');
    kinds.removeDuplicates();
    const QStringList all{u"shutdown"_s,
                          u"sleep"_s,
                          u"idle"_s,
                          u"handle-power-key"_s,
                          u"handle-suspend-key"_s,
                          u"handle-hibernate-key"_s,
                          u"handle-lid-switch"_s,
                          u"handle-reboot-key"_s};
    EXPECT_TRUE(kinds.contains(u"shutdown"_s));
    EXPECT_FALSE(std::all_of(all.begin(), all.end(),
                             [&](const QString &kind) { return kinds.contains(kind); }));
}

TEST_F(PresentationTest, KeepsTheSessionFromEndingWhileLocked)
{
    const auto service = onSessionBus(kSessionManager, 7);
    lock();
    ASSERT_TRUE(service->gets(kHoldBack));
    const Call inhibit{u"/org/gnome/SessionManager"_s,
                       kSessionManager,
                       kHoldBack,
                       {kPresenter, 0U, kKioskReason, 1U | 2U | 4U}};
    EXPECT_EQ(service->calls(), QList{inhibit});
    m_presentation->setState(State::ordinary);
    ASSERT_TRUE(service->gets(u"Uninhibit"_s));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{7U});
}

TEST_F(PresentationTest, KeepsNotificationsOffWhileLocked)
{
    const auto service = onSessionBus(kNotifications, 9);
    lock();
    ASSERT_TRUE(service->gets(kHoldBack));
    EXPECT_EQ(service->calls().first().path, u"/org/freedesktop/Notifications"_s);
    const QVariantList program{kPresenter, kKioskReason};
    EXPECT_EQ(service->calls().first().arguments.first(2), program);
    m_presentation->setState(State::ordinary);
    ASSERT_TRUE(service->gets(u"UnInhibit"_s));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{9U});
}

TEST_F(PresentationTest, SaysNothingOfNotificationsThatCannotBeKeptOff)
{
    test::StandInService service(m_buses.session, kNotifications); // knows no Inhibit
    lock();
    ASSERT_TRUE(service.gets(kHoldBack));
    ASSERT_TRUE(becomes([this] { return m_log.contains(kMachineIsFree); }));
    EXPECT_TRUE(m_log.messages().filter(u"otifications"_s).isEmpty());
}

TEST_F(PresentationTest, AsksAServiceAgainThatWasRestarted)
{
    auto service = onSessionBus(kSessionManager, 7);
    lock();
    ASSERT_TRUE(service->gets(kHoldBack));
    service.reset();
    service = onSessionBus(kSessionManager, 8);
    ASSERT_TRUE(service->gets(kHoldBack));
    m_presentation->setState(State::ordinary);
    ASSERT_TRUE(service->gets(u"Uninhibit"_s));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{8U});
}

TEST_F(PresentationTest, SaysOnceThatNobodyHoldsTheMachineBack)
{
    lock();
    EXPECT_TRUE(becomes([this] { return m_log.contains(kMachineIsFree); }));
    EXPECT_EQ(m_log.messages().count(kMachineIsFree), 1);
}

TEST_F(PresentationTest, SaysWhyTheMachineIsNotHeldBack)
{
    test::StandInService logind(m_buses.system, kLogind);
    logind.setAnswer(kHoldBack, Error{u"org.freedesktop.DBus.Error.AccessDenied"_s, u"remote"_s});
    lock();
    EXPECT_TRUE(becomes([this] { return m_log.contains(kMachineIsFree); }));
    EXPECT_TRUE(m_log.contains(u"org.freedesktop.login1 refuses to inhibit: remote"_s));
}

TEST_F(PresentationTest, SaysWhereInputCannotBeLocked)
{
    lock();
    EXPECT_TRUE(becomes([this] {
        return m_log.contains(
            u"kiosk: not locked: nothing here keeps keys and clicks from other programs"_s);
    }));
    EXPECT_FALSE(m_log.contains(u"kiosk: locked"_s));
}

TEST_F(PresentationTest, HoldsNothingBackForAWall)
{
    const auto service = onSessionBus(kSessionManager, 7);
    m_presentation->setState(State::immersive);
    m_presentation->setState(State::ordinary);
    lock();
    ASSERT_TRUE(service->gets(kHoldBack));
    m_presentation->setState(State::ordinary);
    ASSERT_TRUE(service->gets(u"Uninhibit"_s));
    EXPECT_EQ(service->calls().size(), 2); // those of the lock
}

} // namespace
} // namespace corvella

// What keeps the display awake, asked of stand-ins on real buses.
#include "platform/session/PowerAssertion.h"
#include "support/CapturedLog.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;
using Call = test::StandInService::Call;
using Error = test::StandInService::Error;
using Silence = test::StandInService::Silence;

const QString kReason = u"Corvella is displaying"_s;
const QString kProgram = u"space.tarrow.corvella"_s;
const QString kScreenSaver = u"org.freedesktop.ScreenSaver"_s;
const QString kScreenSaverPath = u"/org/freedesktop/ScreenSaver"_s;
const QString kInhibit = u"Inhibit"_s;
const QString kUnInhibit = u"UnInhibit"_s;

class PowerAssertionTest : public testing::Test
{
protected:
    [[nodiscard]] std::unique_ptr<test::StandInService> onSessionBus(const QString &name)
    {
        return std::make_unique<test::StandInService>(m_buses.session, name);
    }
    // Whose answers to Inhibit are this number.
    [[nodiscard]] std::unique_ptr<test::StandInService> screenSaver(uint cookie = 42)
    {
        auto service = onSessionBus(kScreenSaver);
        service->setAnswer(kInhibit, QVariantList{cookie});
        service->setAnswer(kUnInhibit, QVariantList{});
        return service;
    }
    void hold() { m_assertion = PowerAssertion::create(kReason); }

    // Turns the event loop until all that was sent before must have come.
    static void settle(const test::StandInService &service)
    {
        EXPECT_FALSE(becomes([&] { return service.calls().isEmpty(); }, 100ms));
    }

    test::TestBuses m_buses;
    test::CapturedLog m_log;
    std::unique_ptr<PowerAssertion> m_assertion;
};

TEST_F(PowerAssertionTest, InhibitsTheDesktopsSaverAndGivesItsNumberBack)
{
    const auto service = screenSaver(42);
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    const Call inhibit{kScreenSaverPath, kScreenSaver, kInhibit, {kProgram, kReason}};
    EXPECT_EQ(service->calls(), QList{inhibit});
    m_assertion.reset();
    ASSERT_TRUE(service->gets(kUnInhibit));
    const Call release{kScreenSaverPath, kScreenSaver, kUnInhibit, {42U}};
    EXPECT_EQ(service->calls().last(), release);
}

TEST_F(PowerAssertionTest, InhibitsIdlenessInGnomesSession)
{
    const QString name = u"org.gnome.SessionManager"_s;
    const QString path = u"/org/gnome/SessionManager"_s;
    const auto service = onSessionBus(name);
    service->setAnswer(kInhibit, QVariantList{7U});
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    const Call inhibit{path, name, kInhibit, {kProgram, 0U, kReason, 8U}};
    EXPECT_EQ(service->calls(), QList{inhibit});
    m_assertion.reset();
    ASSERT_TRUE(service->gets(u"Uninhibit"_s));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{7U});
}

TEST_F(PowerAssertionTest, InhibitsThePowerManager)
{
    const auto service = onSessionBus(u"org.freedesktop.PowerManagement"_s);
    service->setAnswer(kInhibit, QVariantList{9U});
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    const Call inhibit{u"/org/freedesktop/PowerManagement/Inhibit"_s,
                       u"org.freedesktop.PowerManagement.Inhibit"_s,
                       kInhibit,
                       {kProgram, kReason}};
    EXPECT_EQ(service->calls(), QList{inhibit});
    m_assertion.reset();
    ASSERT_TRUE(service->gets(kUnInhibit));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{9U});
}

TEST_F(PowerAssertionTest, HoldsLogindsInhibitorOpenUntilItGoes)
{
    test::StandInService logind(m_buses.system, test::kLogind);
    test::LentDescriptor inhibitor;
    logind.setAnswer(kInhibit, inhibitor.answer());
    hold();
    ASSERT_TRUE(logind.gets(kInhibit));
    const Call inhibit{u"/org/freedesktop/login1"_s,
                       u"org.freedesktop.login1.Manager"_s,
                       kInhibit,
                       {u"idle"_s, u"Corvella"_s, kReason, u"block"_s}};
    EXPECT_EQ(logind.calls(), QList{inhibit});
    logind.setAnswer(kInhibit, Silence{}); // lets go of its own end
    settle(logind);
    EXPECT_TRUE(inhibitor.isHeld());
    m_assertion.reset();
    EXPECT_TRUE(becomes([&] { return !inhibitor.isHeld(); }));
}

TEST_F(PowerAssertionTest, InhibitsAgainWhenTheServiceIsRestarted)
{
    auto service = screenSaver(42);
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    service.reset();
    service = screenSaver(43);
    ASSERT_TRUE(service->gets(kInhibit));
    m_assertion.reset();
    ASSERT_TRUE(service->gets(kUnInhibit));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{43U});
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(PowerAssertionTest, InhibitsWhatComesLater)
{
    hold();
    const auto service = screenSaver();
    EXPECT_TRUE(service->gets(kInhibit));
}

TEST_F(PowerAssertionTest, GivesBackAnAnswerThatComesWhenItIsGone)
{
    const auto service = screenSaver();
    service->setAnswer(kInhibit, Silence{});
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    m_assertion.reset();
    service->answerNow({42U});
    ASSERT_TRUE(service->gets(kUnInhibit));
    EXPECT_EQ(service->calls().last().arguments, QVariantList{42U});
}

TEST_F(PowerAssertionTest, SaysThatAServiceHangsAndTakesItsAnswerEvenThen)
{
    const auto service = screenSaver();
    service->setAnswer(kInhibit, Silence{});
    hold();
    EXPECT_TRUE(becomes([this] { return !m_log.messages().isEmpty(); }));
    EXPECT_EQ(m_log.messages(), QStringList{u"org.freedesktop.ScreenSaver does not answer"_s});
    service->answerNow({42U});
    settle(*service);
    m_assertion.reset();
    EXPECT_TRUE(service->gets(kUnInhibit));
}

TEST_F(PowerAssertionTest, SaysThatAServiceRefuses)
{
    const auto service = screenSaver();
    service->setAnswer(kInhibit, Error{u"org.x.Broken"_s, u"not today"_s});
    hold();
    EXPECT_TRUE(becomes([this] { return !m_log.messages().isEmpty(); }));
    m_assertion.reset();
    settle(*service);
    EXPECT_TRUE(service->calls(kUnInhibit).isEmpty());
    EXPECT_EQ(m_log.messages(),
              QStringList{u"org.freedesktop.ScreenSaver refuses to inhibit: not today"_s});
}

TEST_F(PowerAssertionTest, SurvivesAServiceThatDiesWithoutAnAnswer)
{
    auto service = screenSaver();
    service->setAnswer(kInhibit, Silence{});
    hold();
    ASSERT_TRUE(service->gets(kInhibit));
    service.reset();
    service = screenSaver();
    EXPECT_TRUE(service->gets(kInhibit));
}

TEST_F(PowerAssertionTest, StartsNoService)
{
    m_buses.session.offerToStart(kScreenSaver);
    const auto other = onSessionBus(u"org.gnome.SessionManager"_s);
    other->setAnswer(kInhibit, QVariantList{1U});
    hold();
    ASSERT_TRUE(other->gets(kInhibit));
    settle(*other);
    EXPECT_FALSE(m_buses.session.wasAskedToStartAny());
}

TEST_F(PowerAssertionTest, WaitsForNobodyEvenWhenTheBusHangs)
{
    hold(); // connects
    m_assertion.reset();
    m_buses.session.hang();
    m_buses.system.hang();
    const test::Stopwatch stopwatch;
    hold();
    m_assertion.reset();
    EXPECT_LT(stopwatch.elapsed(), 500ms);
    m_buses.session.goOn();
    m_buses.system.goOn();
}

} // namespace
} // namespace corvella

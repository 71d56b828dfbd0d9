// What logind tells of the machine's sleep, from a stand-in on a real bus.
#include "platform/session/MachineSleep.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <QDBusPendingCallWatcher>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::kLogind;

const QString kPath = u"/org/freedesktop/login1"_s;
const QString kManager = u"org.freedesktop.login1.Manager"_s;
const QString kPrepareForSleep = u"PrepareForSleep"_s;

class MachineSleepTest : public testing::Test
{
protected:
    void watch()
    {
        m_sleep = std::make_unique<MachineSleep>();
        QObject::connect(m_sleep.get(), &MachineSleep::ended, [this] { ++m_ends; });
    }
    void startLogind()
    {
        m_logind = std::make_unique<test::StandInService>(m_buses.system, kLogind);
    }
    void sleepAndWake()
    {
        m_logind->tell(kPath, kManager, kPrepareForSleep, {true});
        m_logind->tell(kPath, kManager, kPrepareForSleep, {false});
    }
    // How many ends were told of, when all that logind said has been heard: its answer comes last.
    [[nodiscard]] int ends()
    {
        bool isAnswered = false;
        const QDBusPendingCallWatcher question(
            QDBusConnection::systemBus().asyncCall(QDBusMessage::createMethodCall(
                kLogind, kPath, u"org.freedesktop.DBus.Peer"_s, u"Marker"_s)));
        QObject::connect(&question, &QDBusPendingCallWatcher::finished,
                         [&isAnswered] { isAnswered = true; });
        EXPECT_TRUE(becomes([&isAnswered] { return isAnswered; }));
        return m_ends;
    }

    // Starts it while somebody watches. Qt hears of a name's owner at once, but takes note of it
    // only a moment later, and drops what the owner says until then: the first question is answered
    // when it has heard, the second one is sent after it took note.
    void startLogindUnderWatch()
    {
        startLogind();
        const int before = ends();
        EXPECT_EQ(ends(), before);
    }

    test::TestBuses m_buses;
    std::unique_ptr<test::StandInService> m_logind;
    std::unique_ptr<MachineSleep> m_sleep;
    int m_ends = 0;
};

TEST_F(MachineSleepTest, TellsOfItsEndAndOfNothingElse)
{
    startLogind();
    watch();
    m_logind->tell(kPath, kManager, kPrepareForSleep, {true});
    m_logind->tell(kPath, kManager, u"PrepareForShutdown"_s, {false});
    EXPECT_EQ(ends(), 0);
    m_logind->tell(kPath, kManager, kPrepareForSleep, {false});
    EXPECT_EQ(ends(), 1);
    sleepAndWake();
    EXPECT_EQ(ends(), 2);
}

// Everybody may send signals on the system's bus.
TEST_F(MachineSleepTest, BelievesNobodyButLogind)
{
    startLogind();
    watch();
    const QString name = u"stranger"_s;
    QDBusConnection stranger = QDBusConnection::connectToBus(m_buses.system.address(), name);
    QDBusMessage lie = QDBusMessage::createSignal(kPath, kManager, kPrepareForSleep);
    lie.setArguments({false});
    EXPECT_TRUE(stranger.send(lie));
    // When the bus answers it has passed that on.
    EXPECT_EQ(stranger
                  .call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s,
                                                       u"/org/freedesktop/DBus"_s,
                                                       u"org.freedesktop.DBus"_s, u"GetId"_s))
                  .type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(ends(), 0);
    sleepAndWake();
    EXPECT_EQ(ends(), 1);
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(MachineSleepTest, FollowsALogindThatStartsLaterAndOneThatIsStartedAgain)
{
    m_buses.system.offerToStart(kLogind);
    watch();
    startLogindUnderWatch();
    sleepAndWake();
    EXPECT_EQ(ends(), 1);
    m_logind.reset();
    startLogindUnderWatch();
    sleepAndWake();
    EXPECT_EQ(ends(), 2);
    EXPECT_FALSE(m_buses.system.wasAskedToStartAny());
}

} // namespace
} // namespace corvella

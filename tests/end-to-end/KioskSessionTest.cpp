// The session of a machine that is a kiosk and nothing else, with the very configuration that is
// installed there.
#include "support/HeadlessSway.h"
#include "support/InputStorm.h"
#include "support/OrdinaryUserCommand.h"
#include "support/Processes.h"
#include "support/ProgramUnderTest.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"
#include "support/TestPattern.h"

#include <QDBusObjectPath>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

// Of a clip that is four wide by three high, on a display of 1280 x 720 pixels.
constexpr QRect kPicture(160, 0, 960, 720);
// On one that is plugged in later, of 1920 x 1080.
constexpr QRect kLaterPicture(240, 0, 1440, 1080);

// All that runs in that session, as the kernel cuts their names; the shell waits for the program's
// end, and the keyboard is the test's.
const QSet<QString> kPrograms{u"sway"_s,     u"swaybg"_s,          u"sh"_s,
                              u"corvella"_s, u"corvella-clips-"_s, u"wtype"_s};
const QString kSessionLocked = u"kiosk: locked"_s;

class KioskSession : public testing::Test
{
protected:
    KioskSession()
    {
        m_program.configureWall();
        m_program.configure({{u"mode"_s, u"kiosk"_s}});
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        // Where the session finds the program.
        const QString folder = QFileInfo(test::ProgramUnderTest::executable()).path();
        m_program.setVariable(u"PATH"_s, folder + u':' + m_program.environment().value(u"PATH"_s));
    }

    void start()
    {
        m_session.emplace(QStringLiteral(CORVELLA_KIOSK_FOLDER "/sway.conf"), 2,
                          m_program.environment());
        ASSERT_TRUE(becomes([this] { return isCovered(0) && isCovered(1); }))
            << m_session->compositor().errors().toStdString();
    }

    [[nodiscard]] bool isCovered(int output, const QRect &picture = kPicture)
    {
        return test::seenPattern(m_session->picture(output), picture).has_value();
    }
    // Whether the first display is covered and comes to show another picture.
    [[nodiscard]] bool playsOn()
    {
        const auto before = test::seenPattern(m_session->picture(0), kPicture);
        return before && becomes([&] {
                   const auto now = test::seenPattern(m_session->picture(0), kPicture);
                   return now && now->frame != before->frame;
               });
    }
    [[nodiscard]] bool logs(const QString &message)
    {
        return becomes([&] {
            return m_session->compositor().errorLines().contains(u"corvella: "_s + message);
        });
    }
    [[nodiscard]] bool ends()
    {
        return becomes([this] { return !m_session->compositor().isRunning(); });
    }
    // The process of the only window there is; none while there is none.
    [[nodiscard]] std::optional<pid_t> ownerOfTheWindow()
    {
        const QRegularExpression owner(u"\"pid\": (\\d+)"_s);
        const auto found =
            owner.match(QString::fromUtf8(m_session->tell({u"-r"_s, u"-t"_s, u"get_tree"_s})));
        return found.hasMatch() ? std::optional<pid_t>(found.captured(1).toInt()) : std::nullopt;
    }
    void pressChord() { m_session->typeKey(u"q"_s, {u"ctrl"_s, u"logo"_s, u"alt"_s}); }
    // The programs that run in the session.
    [[nodiscard]] QSet<QString> programs() const
    {
        const QByteArray mark = "XDG_RUNTIME_DIR=" + m_session->runtimeFolder().toUtf8();
        QSet<QString> names;
        for (const QString &id : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
            if (test::procFile(id.toLongLong(), u"environ"_s).split('\0').contains(mark))
                names << QString::fromUtf8(test::procFile(id.toLongLong(), u"comm"_s)).trimmed();
        }
        return names;
    }

    test::ProgramUnderTest m_program;
    std::optional<test::HeadlessSway> m_session;
};

TEST_F(KioskSession, ShowsALockedWallOnEveryDisplay)
{
    start();
    EXPECT_TRUE(logs(u"showing on 2 of 2 display(s), mode kiosk"_s));
    EXPECT_TRUE(logs(kSessionLocked));
    EXPECT_FALSE(ownerOfTheWindow()) << "there is a window besides the walls";
}

TEST_F(KioskSession, CoversADisplayThatIsPluggedIn)
{
    start();
    m_session->tell({u"create_output"_s});
    EXPECT_TRUE(logs(u"display layout changed (2 -> 3)"_s));
    EXPECT_TRUE(becomes([this] { return isCovered(2, kLaterPicture); }));
}

TEST_F(KioskSession, EndsWhenToldTo)
{
    start();
    m_session->compositor().signal(SIGTERM);
    EXPECT_TRUE(ends());
}

// So that both are started anew.
TEST_F(KioskSession, EndsWithTheProgram)
{
    start();
    pressChord();
    ASSERT_TRUE(becomes([this] { return ownerOfTheWindow().has_value(); })) << "no settings";
    ::kill(*ownerOfTheWindow(), SIGKILL);
    EXPECT_TRUE(ends());
}

// As with a keyboard that types by itself.
TEST_F(KioskSession, StandsAStormOfKeysAndClicks)
{
    constexpr int kStrokes = 2'000;
    constexpr int kAtATime = 80;
    constexpr QSize kBothDisplays(2560, 720);
    start();
    ASSERT_TRUE(logs(kSessionLocked));
    // There is a tick when this begins to listen, and another when it has heard all.
    test::ChildProcess events(
        m_session->commandForEvents({u"tick"_s, u"window"_s, u"binding"_s, u"mode"_s}));
    ASSERT_TRUE(becomes([&] { return events.output().contains("\"first\": true"); }));
    test::WaylandStorm storm(*m_session, kBothDisplays, 20'110'905);
    for (int i = 0; i < kStrokes; i += kAtATime) {
        storm.rage(kAtATime);
        // And it has read them: a compositor gives a program up that leaves too much unread.
        ASSERT_TRUE(playsOn()) << "after " << i + kAtATime;
    }
    EXPECT_TRUE(isCovered(1));
    m_session->tell({u"-t"_s, u"send_tick"_s});
    ASSERT_TRUE(becomes([&] { return events.output().contains("\"first\": false"); }));
    EXPECT_FALSE(events.output().contains("\"change\"")) << events.output().constData();
    EXPECT_EQ(programs() - kPrograms, QSet<QString>{u"swaymsg"_s}) << "it started something";
    pressChord();
    EXPECT_TRUE(becomes([this] { return ownerOfTheWindow().has_value(); }));
}

// The system's service for disks tells of one, and nobody asks it for more.
TEST_F(KioskSession, HeedsNoDiskThatIsPluggedIn)
{
    const QString disks = u"/org/freedesktop/UDisks2"_s;
    const test::PrivateBus system;
    test::StandInService service(system, u"org.freedesktop.UDisks2"_s);
    test::StandInService logind(system, test::kLogind);
    const test::PrivateBus bus;
    bus.offerToStart(u"org.gtk.vfs.UDisks2VolumeMonitor"_s);
    for (const test::PrivateBus *each : {&system, &bus})
        test::handOverToOrdinaryUser(each->folder());
    m_program.setSessionBus(bus);
    m_program.setVariable(u"DBUS_SYSTEM_BUS_ADDRESS"_s, system.address());
    start();
    ASSERT_TRUE(logind.gets(u"Inhibit"_s)) << "it is not on that bus";
    service.tell(
        disks, u"org.freedesktop.DBus.ObjectManager"_s, u"InterfacesAdded"_s,
        {QVariant::fromValue(QDBusObjectPath(disks + u"/block_devices/sdb1"_s)), QVariantMap{}});
    // What that has led to is done when this is.
    pressChord();
    ASSERT_TRUE(becomes([this] { return ownerOfTheWindow().has_value(); }));
    EXPECT_EQ(service.calls(), QList<test::StandInService::Call>());
    EXPECT_FALSE(bus.wasAskedToStartAny());
    EXPECT_EQ(programs() - kPrograms, QSet<QString>());
}

} // namespace
} // namespace corvella

// Displays that are plugged in and pulled out while the program runs.
#include "support/DummyXorg.h"
#include "support/ProgramUnderTest.h"
#include "support/Repetitions.h"
#include "support/TestPattern.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <random>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::becomes;

struct Monitor
{
    QString name;
    QRect frame;
};
const Monitor kFirst{u"DUMMY0"_s, {0, 0, 640, 480}};
const Monitor kSecond{u"DUMMY1"_s, {640, 0, 800, 600}};
const Monitor kThird{u"DUMMY2"_s, {1440, 0, 640, 480}};
const QColor kBackground(201, 3, 7); // no colour of a clip

// One to four displays beside each other, from left to right, and those that are not there.
struct Layout
{
    QList<Monitor> displays;
    QStringList unplugged{u"DUMMY0"_s, u"DUMMY1"_s, u"DUMMY2"_s, u"DUMMY3"_s};
};

Layout randomLayout(std::mt19937 &random)
{
    // A distribution of the library would differ from machine to machine.
    const auto oneOf = [&random](qsizetype count) {
        return static_cast<int>(random() % static_cast<unsigned>(count));
    };
    Layout layout;
    int x = 0;
    for (int count = 1 + oneOf(4); count > 0; --count) {
        const QString name = layout.unplugged.takeAt(oneOf(layout.unplugged.size()));
        const QSize size = oneOf(2) == 0 ? QSize(640, 480) : QSize(800, 600);
        // xrandr would move all of them up until one is at the top: the first is.
        const int y = x == 0 ? 0 : 20 * oneOf(6);
        layout.displays << Monitor{name, {QPoint(x, y), size}};
        x += size.width();
    }
    return layout;
}

std::unique_ptr<test::XServer> makeServer()
{
    if (std::unique_ptr<test::XServer> server = test::DummyXorg::create())
        return server;
    return std::make_unique<test::VirtualDisplay>(QSize(3200, 700));
}

enum class Manager { running, none };

// A wall on two displays.
class DisplaysComeAndGo : public testing::Test
{
protected:
    explicit DisplaysComeAndGo(Manager manager = Manager::running)
    {
        plugIn(kFirst);
        plugIn(kSecond);
        if (manager == Manager::running)
            m_server->startWindowManager();
        m_program.showOn(*m_server);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        m_program.addClip(u"304"_s, 3);
    }

    void plugIn(const Monitor &display) { m_server->plugIn(display.name, display.frame); }
    void pullOut(const Monitor &display) { m_server->pullOut(display.name); }

    void startOn(const QList<Monitor> &displays)
    {
        m_program.start();
        ASSERT_TRUE(becomes([&] { return areCovered(displays); }));
    }

    // Waits for one rebuild more than there were, from and to so many displays, and for these to be
    // covered.
    void expectRebuild(const QString &counts, const QList<Monitor> &covered)
    {
        m_rebuilds << u"display layout changed (%1)"_s.arg(counts);
        EXPECT_TRUE(becomes([this] { return layoutChanges().size() >= m_rebuilds.size(); }));
        EXPECT_TRUE(becomes([&] { return areCovered(covered); }));
        EXPECT_EQ(layoutChanges(), m_rebuilds);
    }

    // Until the manager has moved its wall, and the display is back.
    void takeAwayUnnoticed(const Monitor &display)
    {
        m_program.process().signal(SIGSTOP);
        pullOut(display);
        EXPECT_TRUE(becomes([this] { return !hasOneWallOnEach({kFirst, kSecond}); }));
        plugIn(display);
        m_program.process().signal(SIGCONT);
    }

    // Whether there is one wall on each of these displays, with its picture whole in it, and no
    // other.
    [[nodiscard]] bool areCovered(const QList<Monitor> &displays)
    {
        const QImage picture = m_server->client().picture();
        const auto showsPattern = [&picture](const Monitor &display) {
            const auto seen = test::seenPattern(picture, test::fittedPattern(display.frame));
            return seen && seen->isWhole;
        };
        return hasOneWallOnEach(displays)
            && std::all_of(displays.begin(), displays.end(), showsPattern);
    }

    [[nodiscard]] bool hasOneWallOnEach(const QList<Monitor> &displays)
    {
        return windowFrames() == framesOf(displays);
    }

    // Whether nothing is to be seen there of the background.
    [[nodiscard]] bool hidesBackground(const Monitor &display)
    {
        const QImage picture = m_server->client().picture();
        if (!picture.rect().contains(display.frame))
            return false;
        const QImage seen = picture.copy(display.frame);
        for (int y = 0; y < seen.height(); ++y) {
            for (int x = 0; x < seen.width(); ++x) {
                if (seen.pixelColor(x, y) == kBackground)
                    return false;
            }
        }
        return true;
    }

    // Whether one of the walls gets the keys.
    [[nodiscard]] bool hasFocus()
    {
        const QList<test::XWindow> windows = m_server->client().windows();
        const auto hasIt = [focus = m_server->client().focus()](const test::XWindow &window) {
            return window.id == focus;
        };
        return std::any_of(windows.begin(), windows.end(), hasIt);
    }

    [[nodiscard]] QStringList layoutChanges()
    {
        return m_program.messages().filter(u"display layout changed"_s);
    }

    std::unique_ptr<test::XServer> m_server = makeServer();
    test::ProgramUnderTest m_program;
    QStringList m_rebuilds;

private:
    // From left to right.
    [[nodiscard]] QList<QRect> windowFrames()
    {
        QList<QRect> frames;
        for (const test::XWindow &window : m_server->client().windows())
            frames << window.frame;
        std::sort(frames.begin(), frames.end(),
                  [](const QRect &a, const QRect &b) { return a.x() < b.x(); });
        return frames;
    }
    [[nodiscard]] static QList<QRect> framesOf(const QList<Monitor> &displays)
    {
        QList<QRect> frames;
        for (const Monitor &display : displays)
            frames << display.frame;
        return frames;
    }
};

TEST_F(DisplaysComeAndGo, WallFollowsThem)
{
    startOn({kFirst, kSecond});
    plugIn(kThird);
    expectRebuild(u"2 -> 3"_s, {kFirst, kSecond, kThird});
    pullOut(kSecond);
    expectRebuild(u"3 -> 2"_s, {kFirst, kThird});
    plugIn(kSecond);
    expectRebuild(u"2 -> 3"_s, {kFirst, kSecond, kThird});
}

TEST_F(DisplaysComeAndGo, WallFollowsADisplayThatMoves)
{
    startOn({kFirst, kSecond});
    const Monitor moved{kSecond.name, kSecond.frame.translated(0, 100)};
    plugIn(moved);
    expectRebuild(u"2 -> 2"_s, {kFirst, moved});
}

// As when a computer is taken from its dock.
TEST_F(DisplaysComeAndGo, WallFollowsTheDisplayThatTakesTheMainOnesPlace)
{
    startOn({kFirst, kSecond});
    const Monitor moved{kSecond.name, {QPoint(0, 0), kSecond.frame.size()}};
    pullOut(kFirst);
    plugIn(moved);
    expectRebuild(u"2 -> 1"_s, {moved});
}

TEST_F(DisplaysComeAndGo, BurstOfChangesIsOneRebuild)
{
    startOn({kFirst, kSecond});
    plugIn(kThird);
    pullOut(kSecond);
    expectRebuild(u"2 -> 2"_s, {kFirst, kThird});
}

TEST_F(DisplaysComeAndGo, ChangeThatIsTakenBackChangesNothing)
{
    startOn({kFirst, kSecond});
    plugIn(kThird);
    pullOut(kThird);
    EXPECT_FALSE(becomes([this] { return !layoutChanges().isEmpty(); }, 1s));
    EXPECT_TRUE(areCovered({kFirst, kSecond}));
}

// Meanwhile its wall was the window manager's to put elsewhere.
TEST_F(DisplaysComeAndGo, DisplayThatIsBackAtOnceIsCovered)
{
    startOn({kFirst, kSecond});
    pullOut(kSecond);
    plugIn(kSecond);
    expectRebuild(u"2 -> 2"_s, {kFirst, kSecond});
}

// The manager has seen it go, and taken the wall away from it; the program sees a display that
// never was away.
TEST_F(DisplaysComeAndGo, DisplayThatWasAwayUnnoticedIsCovered)
{
    m_program.addClip(u"171"_s, 1, 30); // which ends after two seconds
    startOn({kFirst, kSecond});
    ASSERT_TRUE(m_program.logs(u"clip ended (loops done 1 of 1)"_s)); // it is settled
    takeAwayUnnoticed(kSecond);
    EXPECT_TRUE(becomes([this] { return areCovered({kFirst, kSecond}); }));
}

// As some displays do when a machine starts.
TEST_F(DisplaysComeAndGo, DisplayThatWasAwayUnnoticedAsItsWallCameUpIsCovered)
{
    m_program.start();
    ASSERT_TRUE(becomes([this] { return hasOneWallOnEach({kFirst, kSecond}); }));
    takeAwayUnnoticed(kSecond);
    EXPECT_TRUE(becomes([this] { return areCovered({kFirst, kSecond}); }));
}

// A projector beside a laptop's own display.
TEST_F(DisplaysComeAndGo, DisplaysThatMirrorOneAnotherAreOneScreen)
{
    const Monitor mirror{kSecond.name, kFirst.frame};
    m_program.configure({{u"products"_s, QJsonArray{u"all"_s, u"off"_s}}});
    pullOut(kSecond);
    plugIn(mirror);
    startOn({kFirst});
    EXPECT_TRUE(m_program.logs(u"showing on 1 of 1 display(s), mode wall"_s));
    pullOut(mirror);
    plugIn(kSecond);
    m_program.configure({{u"products"_s, QJsonArray{u"all"_s, u"all"_s}}});
    EXPECT_TRUE(becomes([this] { return areCovered({kFirst, kSecond}); }));
}

// Counted from before the command that switches the display on, which is a little too long, until
// nothing shows any more of what lies beneath. What else the machine does only ever adds to it: the
// quickest of a few counts.
TEST_F(DisplaysComeAndGo, NewDisplayIsCoveredWithinASecond)
{
    constexpr auto kAllowed = 1s;
    m_server->client().paintRoot(kBackground);
    startOn({kFirst, kSecond});
    std::chrono::nanoseconds quickest = std::chrono::nanoseconds::max();
    for (int tries = 5; tries > 0 && quickest > kAllowed; --tries) {
        const test::Stopwatch sinceBefore;
        plugIn(kThird);
        ASSERT_TRUE(becomes([this] { return hidesBackground(kThird); }));
        quickest = std::min(quickest, sinceBefore.elapsed());
        ASSERT_TRUE(becomes([this] { return areCovered({kFirst, kSecond, kThird}); }));
        pullOut(kThird);
        ASSERT_TRUE(becomes([this] { return areCovered({kFirst, kSecond}); }));
    }
    EXPECT_LE(quickest, kAllowed);
    RecordProperty("milliseconds", std::to_string(quickest / 1ms));
}

// After each of them there is one wall on each display and no other.
TEST_F(DisplaysComeAndGo, WallsFollowOneLayoutAfterTheOther)
{
    m_program.addClip(u"211"_s, 4);
    startOn({kFirst, kSecond});
    std::mt19937 random(20261121);
    const int layouts = test::repetitions("CORVELLA_LAYOUTS", 6);
    for (int i = 0; i < layouts; ++i) {
        const Layout layout = randomLayout(random);
        for (const Monitor &display : layout.displays)
            plugIn(display);
        for (const QString &name : layout.unplugged)
            m_server->pullOut(name);
        ASSERT_TRUE(becomes([&] { return areCovered(layout.displays); })) << "layout " << i;
    }
    EXPECT_TRUE(m_program.process().isRunning());
}

// The pointer that is hidden over them, too.
TEST_F(DisplaysComeAndGo, LeaveNothingInTheServer)
{
    const auto held = [this] { return m_server->client().heldBy(m_program.process().id()); };
    const auto comeAndGo = [this] {
        pullOut(kSecond);
        ASSERT_TRUE(becomes([this] { return areCovered({kFirst}); }));
        plugIn(kSecond);
        ASSERT_TRUE(becomes([this] { return areCovered({kFirst, kSecond}); }));
    };
    startOn({kFirst, kSecond});
    EXPECT_TRUE(becomes([&] { return held()[u"XFixesCursorHideCount"_s] == 1; }));
    comeAndGo(); // what there is once, however often, is there now
    // The windows of before have gone once two looks agree.
    QMap<QString, double> before;
    EXPECT_TRUE(
        becomes([&] { return std::exchange(before, held()) == before; }, test::kGenerous, 300ms));
    comeAndGo();
    comeAndGo();
    EXPECT_TRUE(becomes([&] { return held() == before; }))
        << testing::PrintToString(held().toStdMap()) << " instead of "
        << testing::PrintToString(before.toStdMap());
}

TEST_F(DisplaysComeAndGo, NobodyMindsWhileNoWallIsUp)
{
    m_program.configure({{u"mode"_s, u"saver"_s}});
    m_program.start();
    ASSERT_TRUE(becomes([this] { return !m_server->client().windows().isEmpty(); }));
    plugIn(kThird);
    EXPECT_FALSE(becomes([this] { return !layoutChanges().isEmpty(); }, 1s));
    EXPECT_TRUE(m_program.process().isRunning());
}

// As in a kiosk that runs nothing but the wall: nobody else puts the windows in their places.
class DisplaysOfABareServer : public DisplaysComeAndGo
{
protected:
    DisplaysOfABareServer()
        : DisplaysComeAndGo(Manager::none)
    {
    }
};

TEST_F(DisplaysOfABareServer, WallFollowsThem)
{
    startOn({kFirst, kSecond});
    plugIn(kThird);
    expectRebuild(u"2 -> 3"_s, {kFirst, kSecond, kThird});
    pullOut(kSecond);
    expectRebuild(u"3 -> 2"_s, {kFirst, kThird});
}

TEST_F(DisplaysOfABareServer, KeysReachTheWallsThatWereBuiltAnew)
{
    startOn({kFirst, kSecond});
    plugIn(kThird);
    expectRebuild(u"2 -> 3"_s, {kFirst, kSecond, kThird});
    pullOut(kSecond);
    expectRebuild(u"3 -> 2"_s, {kFirst, kThird});
    EXPECT_TRUE(becomes([this] { return hasFocus(); })) << "keys go where the pointer is";
    m_server->input({u"key"_s, u"ctrl+q"_s});
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST_F(DisplaysOfABareServer, WallFollowsTheDisplayThatTakesTheMainOnesPlace)
{
    startOn({kFirst, kSecond});
    const Monitor moved{kSecond.name, {QPoint(0, 0), kSecond.frame.size()}};
    pullOut(kFirst);
    plugIn(moved);
    expectRebuild(u"2 -> 1"_s, {moved});
}

} // namespace
} // namespace corvella

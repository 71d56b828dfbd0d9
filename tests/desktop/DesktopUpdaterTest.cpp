// What the desktop pictures become and what is kept of the user's own, on a desktop that only
// writes down what it is told. The cache and the settings are real.
#include "desktop/DesktopUpdater.h"

#include "desktop/Desktop.h"
#include "desktop/DesktopFolder.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/FileSizeLimit.h"
#include "support/StockedHome.h"
#include "support/Waiting.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSemaphore>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// Shared by a test and the worker that shows pictures; each waits for the other.
struct NotedDesktop
{
    QMap<QString, QString> pictures; // by screen: the file, or the text that was put back
    QStringList had;                 // what present() tells, screen by screen
    Failure unreadable;
    QMap<QString, QString> failures; // of screens that take none
    int shown = 0;
    QSemaphore began;              // to show, so often
    QSemaphore *heldUp = nullptr;  // showing waits for it
    QSemaphore *hurried = nullptr; // told
};

class NotingPictures final : public DesktopPictures
{
public:
    explicit NotingPictures(NotedDesktop &desktop)
        : m_desktop(desktop)
    {
    }

    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        Present present{{}, m_desktop.unreadable};
        for (qsizetype i = 0; i < screens.size() && !present.failure; ++i) {
            const QString text = m_desktop.had.value(i);
            present.texts << (known.contains(text) ? QString() : text);
        }
        return present;
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        m_desktop.began.release();
        if (m_desktop.heldUp)
            m_desktop.heldUp->acquire();
        ++m_desktop.shown;
        QList<Failure> failures(screens.size());
        for (qsizetype i = 0; i < screens.size(); ++i) {
            const QString name = screens[i].name;
            if (m_desktop.failures.contains(name))
                failures[i] = m_desktop.failures[name];
            else if (files[i])
                m_desktop.pictures[name] = *files[i];
        }
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i) {
            if (!texts[i].isEmpty())
                m_desktop.pictures[screens[i].name] = texts[i];
        }
    }

    void hurry() override
    {
        if (m_desktop.hurried)
            m_desktop.hurried->release();
    }

private:
    NotedDesktop &m_desktop;
};

class DesktopUpdaterTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_home.clear();
        QDir(m_home.data(u"Corvella"_s)).removeRecursively();
        Settings::setMode(Mode::desktop);
        Settings::setProducts({u"all"_s});
        m_log.emplace();
        Desktop::setUpdater(&m_updater);
    }
    void TearDown() override { Desktop::setUpdater(nullptr); }

    void setScreens(int count)
    {
        m_screens.clear();
        for (int i = 0; i < count; ++i)
            m_screens << PictureScreen{u"Screen%1"_s.arg(i), QRect(i * 100, 0, 100, 100), 1};
    }

    // The cache holds a still of each of these, made at this time.
    void cache(const QStringList &ids, const QString &stamp = u"2025-03-01T12:00:00Z"_s)
    {
        QJsonArray manifest;
        for (const QString &id : ids) {
            m_home.write(m_home.cache(u"Corvella/%1.png"_s.arg(id)), (id + stamp).toUtf8());
            m_home.write(m_home.cache(u"Corvella/%1.mp4"_s.arg(id)), "clip");
            manifest << QJsonObject{{u"id"_s, id},
                                    {u"video"_s, QString(id + u".mp4"_s)},
                                    {u"updated"_s, u"2025-03-02T00:00:00Z"_s},
                                    {u"still"_s, QString(id + u".png"_s)},
                                    {u"stillUpdated"_s, stamp}};
        }
        m_home.write(m_home.cache(u"Corvella/manifest.json"_s), QJsonDocument(manifest).toJson());
    }

    void apply()
    {
        Desktop::apply();
        ASSERT_TRUE(m_updater.finish(10s));
    }
    void followScreens()
    {
        Desktop::followScreens();
        ASSERT_TRUE(m_updater.finish(10s));
    }
    void restore()
    {
        Desktop::restore();
        ASSERT_TRUE(m_updater.finish(10s));
    }

    // The product that a screen shows, from the name of its file.
    QString shown(int screen)
    {
        return m_desktop.pictures.value(u"Screen%1"_s.arg(screen))
            .section(u'/', -1)
            .section(u'-', 0, 0);
    }
    QStringList files() { return QDir(Desktop::dir()).entryList(QDir::Files, QDir::Name); }
    QStringList messages() { return m_log->messages(); }

    const test::StockedHome &m_home = test::StockedHome::shared();
    std::optional<test::CapturedLog> m_log;
    QList<PictureScreen> m_screens{{u"Screen0"_s, QRect(0, 0, 100, 100), 1}};
    NotedDesktop m_desktop;
    DesktopUpdater m_updater{[this] { return m_screens; },
                             std::make_unique<NotingPictures>(m_desktop)};
};

TEST_F(DesktopUpdaterTest, FolderIsMadeEachTimeItIsAskedFor)
{
    const QString folder = m_home.data(u"Corvella/desktop"_s);
    EXPECT_EQ(Desktop::dir(), folder);
    EXPECT_TRUE(QDir(folder).exists());
    QDir(folder).removeRecursively();
    EXPECT_EQ(Desktop::dir(), folder);
    EXPECT_TRUE(QDir(folder).exists());
}

TEST_F(DesktopUpdaterTest, TouchesNothingWhereNoPicturesAreWanted)
{
    cache({u"171"_s});
    Settings::setMode(Mode::wall);
    apply();
    EXPECT_TRUE(m_desktop.pictures.isEmpty());
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_EQ(Settings::desktopCounter(), 0);
    EXPECT_EQ(messages(), QStringList());
}

TEST_F(DesktopUpdaterTest, SetsThemInOtherModesToo)
{
    cache({u"171"_s});
    Settings::setMode(Mode::wall);
    Settings::setDesktop(true);
    apply();
    EXPECT_EQ(shown(0), u"171"_s);
}

TEST_F(DesktopUpdaterTest, WithoutStillsSaysSoAndRemembersNothing)
{
    m_home.write(m_home.cache(u"Corvella/171.mp4"_s), "clip");
    m_home.write(m_home.cache(u"Corvella/manifest.json"_s),
                 R"([{"id": "171", "video": "171.mp4"}])");
    apply();
    EXPECT_EQ(messages(), QStringList{u"desktop: no stills cached yet"_s});
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_EQ(Settings::desktopCounter(), 0);
}

TEST_F(DesktopUpdaterTest, ShowsACopyAndSaysWhich)
{
    cache({u"171"_s});
    apply();
    const QString copy = Desktop::dir() + u"/171-2025-03-01T12-00-00Z.png"_s;
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), copy);
    EXPECT_EQ(test::TemporaryHome::read(copy), "1712025-03-01T12:00:00Z");
    EXPECT_EQ(messages(),
              (QStringList{u"desktop: remembered the previous picture on 1 screen(s)"_s,
                           u"desktop: Screen0 -> 171 (2025-03-02T00:00:00Z)"_s}));
}

TEST_F(DesktopUpdaterTest, ACopyThatIsThereIsNotMadeAgain)
{
    cache({u"171"_s});
    const QString copy = Desktop::dir() + u"/171-2025-03-01T12-00-00Z.png"_s;
    m_home.write(copy, "is there");
    apply();
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), copy);
    EXPECT_EQ(test::TemporaryHome::read(copy), "is there");
}

TEST_F(DesktopUpdaterTest, EveryOtherFileGoes)
{
    cache({u"171"_s});
    const QDir folder(Desktop::dir());
    m_home.write(folder.filePath(u"anything"_s), "");
    m_home.write(folder.filePath(u".hidden"_s), "");
    ASSERT_TRUE(QFile::link(u"nowhere"_s, folder.filePath(u"link"_s)));
    apply();
    EXPECT_EQ(folder.entryList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
              QStringList{u"171-2025-03-01T12-00-00Z.png"_s});
}

TEST_F(DesktopUpdaterTest, SaysWhereAnEntryHasNoTime)
{
    m_home.write(m_home.cache(u"Corvella/171.mp4"_s), "clip");
    m_home.write(m_home.cache(u"Corvella/171.png"_s), "still");
    m_home.write(m_home.cache(u"Corvella/manifest.json"_s),
                 R"([{"id": "171", "video": "171.mp4", "still": "171.png"}])");
    apply();
    EXPECT_EQ(messages().last(), u"desktop: Screen0 -> 171 (?)"_s);
    EXPECT_EQ(files(), QStringList{u"171-.png"_s});
}

TEST_F(DesktopUpdaterTest, StepsOnAtEachUpdateAndNeighboursFollow)
{
    setScreens(2);
    Settings::setProducts({u"171,193,304"_s});
    cache({u"304"_s, u"171"_s, u"193"_s});
    QStringList first;
    QStringList second;
    for (int i = 0; i < 4; ++i) {
        apply();
        first << shown(0);
        second << shown(1);
    }
    EXPECT_EQ(first, (QStringList{u"171"_s, u"193"_s, u"304"_s, u"171"_s}));
    EXPECT_EQ(second, (QStringList{u"193"_s, u"304"_s, u"171"_s, u"193"_s}));
    EXPECT_EQ(Settings::desktopCounter(), 4);
}

TEST_F(DesktopUpdaterTest, AScreenThatIsOffKeepsItsOwn)
{
    setScreens(2);
    Settings::setProducts({u"off"_s, u"171"_s});
    cache({u"171"_s});
    apply();
    EXPECT_EQ(m_desktop.pictures.keys(), QStringList{u"Screen1"_s});
}

TEST_F(DesktopUpdaterTest, ANewStillGetsANewFileAndTheOldOneGoes)
{
    cache({u"171"_s});
    apply();
    cache({u"171"_s}, u"2025-03-01T13:00:00Z"_s);
    apply();
    EXPECT_EQ(files(), QStringList{u"171-2025-03-01T13-00-00Z.png"_s});
    EXPECT_TRUE(m_desktop.pictures.value(u"Screen0"_s).endsWith(files().first()));
}

TEST_F(DesktopUpdaterTest, AFailureIsNamedAndTheOthersAreStillDone)
{
    setScreens(3);
    cache({u"171"_s, u"193"_s, u"304"_s});
    m_desktop.failures[u"Screen1"_s] = u"no such luck"_s;
    apply();
    EXPECT_TRUE(m_log->contains(u"desktop: Screen1 failed: no such luck"_s));
    EXPECT_EQ(shown(0), u"171"_s);
    EXPECT_EQ(shown(2), u"304"_s);
    EXPECT_EQ(Settings::desktopCounter(), 1);
    EXPECT_EQ(files().size(), 3) << "what could not be shown was copied";
}

TEST_F(DesktopUpdaterTest, WhatCannotBeRememberedIsNotReplaced)
{
    cache({u"171"_s});
    m_desktop.unreadable = u"the service hangs"_s;
    apply();
    EXPECT_TRUE(m_desktop.pictures.isEmpty());
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_EQ(messages(), QStringList{u"desktop: Screen0 failed: the service hangs"_s});
    m_desktop.unreadable.reset();
    apply();
    EXPECT_EQ(shown(0), u"171"_s);
}

TEST_F(DesktopUpdaterTest, WhatIsShownStaysWhereItIsNotReplaced)
{
    cache({u"171"_s});
    apply();
    const QString picture = m_desktop.pictures.value(u"Screen0"_s);
    m_desktop.unreadable = u"the service hangs"_s;
    cache({u"171"_s}, u"2025-03-01T13:00:00Z"_s);
    apply();
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), picture);
    EXPECT_TRUE(QFile::exists(picture));
}

TEST_F(DesktopUpdaterTest, WhatCannotBeStoredIsNotReplaced)
{
    cache({u"171"_s});
    constexpr int kRoom = 4096; // bytes, as on a disk that is nearly full
    m_desktop.had = {QString(kRoom, u'x')};
    {
        const test::FileSizeLimit limit(kRoom);
        apply();
    }
    EXPECT_TRUE(m_desktop.pictures.isEmpty());
    EXPECT_TRUE(
        m_log->contains(u"desktop: Screen0 failed: the previous picture cannot be stored"_s));
    apply();
    EXPECT_EQ(Settings::previousDesktop(), m_desktop.had);
    EXPECT_EQ(shown(0), u"171"_s);
}

TEST_F(DesktopUpdaterTest, RemembersOnceHoweverManyUpdatesFollow)
{
    setScreens(2);
    cache({u"171"_s});
    m_desktop.had = {u"file:///own0"_s, QString()};
    apply();
    m_desktop.had = {u"file:///own0"_s, QString()};
    apply();
    EXPECT_EQ(Settings::previousDesktop(), (QStringList{u"file:///own0"_s, QString()}));
    EXPECT_EQ(messages().filter(u"remembered"_s),
              QStringList{u"desktop: remembered the previous picture on 2 screen(s)"_s});
}

TEST_F(DesktopUpdaterTest, RemembersOfANewScreenToo)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s, u"own1"_s};
    apply();
    setScreens(2);
    apply();
    EXPECT_EQ(Settings::previousDesktop(), (QStringList{u"own0"_s, u"own1"_s}));
}

TEST_F(DesktopUpdaterTest, RemembersNoScreensAsAnEmptyList)
{
    setScreens(0);
    Desktop::remember();
    ASSERT_TRUE(m_updater.finish(10s));
    EXPECT_EQ(Settings::previousDesktop(), QStringList());
    EXPECT_EQ(messages(),
              QStringList{u"desktop: remembered the previous picture on 0 screen(s)"_s});
}

TEST_F(DesktopUpdaterTest, PutsBackWhatWasRememberedAndForgetsIt)
{
    setScreens(2);
    Settings::setPreviousDesktop(QStringList{QString(), u"file:///own1"_s});
    restore();
    EXPECT_EQ(m_desktop.pictures, (QMap<QString, QString>{{u"Screen1"_s, u"file:///own1"_s}}));
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_EQ(messages(), QStringList{u"desktop: restored"_s});
}

TEST_F(DesktopUpdaterTest, LeavesScreensAloneThatCameLater)
{
    setScreens(3);
    Settings::setPreviousDesktop(QStringList{u"file:///own0"_s});
    restore();
    EXPECT_EQ(m_desktop.pictures.keys(), QStringList{u"Screen0"_s});
}

TEST_F(DesktopUpdaterTest, RestoresNothingWhereNothingIsRemembered)
{
    restore();
    EXPECT_TRUE(m_desktop.pictures.isEmpty());
    EXPECT_EQ(messages(), QStringList());
}

TEST_F(DesktopUpdaterTest, DoesOneThingAfterTheOtherWhileTheCallerGoesOn)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s};
    QSemaphore go;
    m_desktop.heldUp = &go;
    const test::Stopwatch stopwatch;
    Desktop::apply();
    Desktop::restore();
    EXPECT_FALSE(m_updater.finish(50ms));
    EXPECT_LT(stopwatch.elapsed(), 2s);
    EXPECT_FALSE(m_log->contains(u"desktop: restored"_s));
    go.release();
    ASSERT_TRUE(m_updater.finish(10s));
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), u"own0"_s);
    EXPECT_EQ(messages().last(), u"desktop: restored"_s);
}

TEST_F(DesktopUpdaterTest, ShowsTheSameAnewWhereTheScreensHaveChanged)
{
    Settings::setProducts({u"171,193,304"_s});
    cache({u"171"_s, u"193"_s, u"304"_s});
    apply();
    setScreens(2);
    followScreens();
    EXPECT_EQ(m_desktop.shown, 2);
    EXPECT_EQ(shown(0), u"171"_s);
    EXPECT_EQ(shown(1), u"193"_s);
    EXPECT_EQ(Settings::desktopCounter(), 1);
    m_screens[1].place.translate(0, 50);
    followScreens();
    EXPECT_EQ(m_desktop.shown, 3);
}

TEST_F(DesktopUpdaterTest, LeavesThemAloneWhereTheScreensAreAsTheyWere)
{
    cache({u"171"_s});
    apply();
    setScreens(1);
    followScreens();
    setScreens(0); // as where the displays sleep
    followScreens();
    setScreens(1);
    followScreens();
    EXPECT_EQ(m_desktop.shown, 1);
}

TEST_F(DesktopUpdaterTest, FollowsNoScreensWhereItShowsNothing)
{
    cache({u"171"_s});
    followScreens();
    apply();
    Settings::setMode(Mode::wall);
    setScreens(2);
    followScreens(); // turned off, as by a shell
    restore();
    Settings::setMode(Mode::desktop);
    setScreens(3);
    followScreens();
    EXPECT_EQ(m_desktop.shown, 1);
}

TEST_F(DesktopUpdaterTest, AtTheEndPutsBackWhatItHasPromisedAndSetsNoMore)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s};
    QSemaphore go;
    m_desktop.heldUp = &go;
    m_desktop.hurried = &go;
    {
        DesktopUpdater updater([this] { return m_screens; },
                               std::make_unique<NotingPictures>(m_desktop));
        updater.apply();
        m_desktop.began.acquire();
        updater.apply();
        updater.restore();
    }
    EXPECT_EQ(m_desktop.shown, 1);
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), u"own0"_s);
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_EQ(messages().last(), u"desktop: restored"_s);
}

TEST_F(DesktopUpdaterTest, HurriesAtOnceAtTheEnd)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s};
    QSemaphore go;
    m_desktop.heldUp = &go;
    m_desktop.hurried = &go;
    Desktop::apply();
    m_desktop.began.acquire();
    Desktop::restore();
    Desktop::finish(10s);
    EXPECT_EQ(messages().last(), u"desktop: restored"_s);
}

TEST_F(DesktopUpdaterTest, SaysThatTheEndTakesLonger)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s};
    QSemaphore go;
    m_desktop.heldUp = &go;
    Desktop::apply();
    m_desktop.began.acquire();
    Desktop::restore();
    Desktop::finish(0ms);
    EXPECT_EQ(messages().last(), u"desktop: not through yet; the program's end waits"_s);
    go.release();
    ASSERT_TRUE(m_updater.finish(10s));
    EXPECT_EQ(messages().last(), u"desktop: restored"_s);
}

TEST_F(DesktopUpdaterTest, AnUpdateThatComesAfterTurningOffDoesNothing)
{
    cache({u"171"_s});
    m_desktop.had = {u"own0"_s};
    apply();
    Settings::setMode(Mode::wall);
    Desktop::restore();
    Desktop::apply();
    ASSERT_TRUE(m_updater.finish(10s));
    EXPECT_EQ(m_desktop.pictures.value(u"Screen0"_s), u"own0"_s);
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
}

TEST_F(DesktopUpdaterTest, AFolderThatTakesNothingIsNoEndOfIt)
{
    cache({u"171"_s});
    m_home.write(m_home.data(u"Corvella/desktop"_s), "a file in the folder's place");
    apply();
    EXPECT_EQ(m_desktop.shown, 1) << "it is tried, and the desktop says why not";
    EXPECT_EQ(Settings::desktopCounter(), 1);
}

TEST(Desktop, DoesNothingWithoutAnUpdater)
{
    const test::StockedHome &home = test::StockedHome::shared();
    home.clear();
    Desktop::remember();
    Desktop::apply();
    Desktop::restore();
    Desktop::finish(1s);
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
}

} // namespace
} // namespace corvella

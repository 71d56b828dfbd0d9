// A real compositor: by sway's own commands, and by what lies on its lowest layer.
#include "platform/pictures/PicturesFixture.h"
#include "platform/pictures/RunningSwaybg.h"
#include "platform/pictures/SwayConnection.h"
#include "support/HeadlessSway.h"

#include <QUrl>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::kBlue;
using test::kRed;

const QColor kSwayOwn(5, 150, 60);
const QColor kBare(63, 63, 63);

class Sway : public test::PicturesFixture
{
protected:
    Sway()
    {
        m_screens = {{u"HEADLESS-1"_s, QRect(0, 0, 400, 200), 1},
                     {u"HEADLESS-2"_s, QRect(400, 0, 100, 200), 1}};
        QFile::setPermissions(m_home.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                  | QFile::ReadOther | QFile::ExeOther);
    }

    void start(const QString &configuration = {})
    {
        m_sway.emplace(QList<QRect>{m_screens[0].place, m_screens[1].place}, configuration);
        const QDir sockets(m_sway->folder());
        const QString control =
            sockets.filePath(sockets.entryList({u"sway-ipc.*"_s}, QDir::System).value(0));
        qputenv("SWAYSOCK", control.toLocal8Bit());
        qputenv("WAYLAND_DISPLAY", m_sway->socket().toLocal8Bit());
        qputenv("XDG_RUNTIME_DIR", m_sway->runtimeFolder().toLocal8Bit());
    }
    [[nodiscard]] bool shows(int output, int x, int y, const QColor &colour)
    {
        QColor seen;
        const bool shows = becomes([&] {
            seen = m_sway->picture(output).pixelColor(x, y);
            return seen == colour;
        });
        EXPECT_TRUE(shows) << "it shows " << qPrintable(seen.name());
        return shows;
    }
    [[nodiscard]] bool showsBoth()
    {
        return shows(0, 200, 100, kRed) && shows(0, 50, 100, Qt::black) && shows(1, 50, 100, kBlue)
            && shows(1, 50, 10, Qt::black);
    }

    std::optional<test::HeadlessSway> m_sway;
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesSway();
};

TEST_F(Sway, ShowsAPictureOnEachOutputFittedAndBlackBeside)
{
    start();
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_TRUE(showsBoth());
    EXPECT_FALSE(QFile::exists(m_sway->folder() + u"/harm"_s));
}

TEST_F(Sway, OwnPicturesComeBackHoweverOften)
{
    const QString own = m_home.path(u"own.png"_s);
    ASSERT_TRUE(QFile::rename(picture(u"own"_s, kSwayOwn), own));
    start(u"output * bg %1 fill #102030\noutput HEADLESS-2 bg #102030 solid_color\n"_s.arg(own));
    ASSERT_TRUE(shows(0, 50, 100, kSwayOwn));
    ASSERT_TRUE(shows(1, 50, 100, QColor(16, 32, 48)));
    const QStringList texts = present(*m_pictures);
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        ASSERT_TRUE(showsBoth());
        EXPECT_EQ(present(*m_pictures, texts), (QStringList{QString(), QString()}));
        putBack(*m_pictures, texts);
        EXPECT_TRUE(shows(0, 50, 100, kSwayOwn));
        EXPECT_TRUE(shows(1, 50, 100, QColor(16, 32, 48)));
    }
}

TEST_F(Sway, NoPictureComesBackToo)
{
    start();
    ASSERT_TRUE(shows(0, 200, 100, kBare));
    const QStringList texts = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    ASSERT_TRUE(shows(0, 200, 100, kRed));
    EXPECT_TRUE(shows(1, 50, 100, kBare)) << "it was left alone";
    putBack(*m_pictures, texts);
    EXPECT_TRUE(shows(0, 200, 100, kBare));
}

TEST_F(Sway, WhatTheUserShowsHimselfIsNoneOfSways)
{
    const QString own = m_home.path(u"own.png"_s);
    ASSERT_TRUE(QFile::rename(picture(u"own"_s, kSwayOwn), own));
    start(u"exec swaybg -i %1 -m fill\n"_s.arg(own));
    ASSERT_TRUE(shows(0, 200, 100, kSwayOwn));
    EXPECT_EQ(backgroundsOf(SwayConnection::address()), (QMap<QString, SwayBackground>()));
}

TEST_F(Sway, TakesAPlainFile)
{
    start();
    const QString file = picture(u"b"_s, kBlue);
    putBack(*m_pictures, {QString(), QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(shows(1, 50, 100, kBlue));
}

TEST_F(Sway, SaysWhatItCannotTakeAndDoesTheOthers)
{
    start();
    EXPECT_EQ(show(*m_pictures, {u"/home/u/a\nb.png"_s, picture(u"b"_s, kBlue)}),
              (QList<Failure>{u"sway takes no file of such a name"_s, Failure()}));
    EXPECT_TRUE(shows(1, 50, 100, kBlue));
}

TEST_F(Sway, SaysWhatSwaySays)
{
    start();
    m_screens[0].name = u"no such thing"_s;
    EXPECT_TRUE(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt})
                    .first()
                    .value_or(QString())
                    .startsWith(u"Invalid output subcommand"_s));
}

TEST_F(Sway, SaysThatSwayHangs)
{
    start();
    m_sway->compositor().signal(SIGSTOP);
    const test::Stopwatch stopwatch;
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}),
              QList<Failure>(2, u"sway does not answer"_s));
    EXPECT_LT(stopwatch.elapsed(), std::chrono::milliseconds(3500)) << "it is asked once";
    m_sway->compositor().signal(SIGCONT);
}

TEST_F(Sway, SaysThatSwayIsGone)
{
    start();
    m_sway->stop();
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"sway does not answer"_s);
}

TEST_F(Sway, LowestLayerShowsPicturesAndShowsWhatWasThereWhenTheyGo)
{
    start();
    m_pictures = createDesktopPicturesLayers();
    EXPECT_EQ(present(*m_pictures), (QStringList{QString(), QString()}));
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_TRUE(shows(0, 200, 100, kBlue));
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_TRUE(showsBoth());
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), std::nullopt}), m_noFailures);
    EXPECT_TRUE(shows(0, 200, 100, kBlue));
    EXPECT_TRUE(shows(1, 50, 100, kBlue)) << "it keeps what it has";
    putBack(*m_pictures, {QString(), QString()});
    EXPECT_TRUE(shows(0, 200, 100, kBare));
    EXPECT_TRUE(shows(1, 50, 100, kBare));
}

TEST(SwayWord, IsReadBackAsItWas)
{
    EXPECT_EQ(swayWord(u"/home/u/a-b_c.png"_s), u"/home/u/a-b_c.png"_s);
    EXPECT_EQ(swayWord(u"a b'c\"d$(e)`f`;g,h\\i%j#k~"_s),
              u"a\\ b\\'c\\\"d\\$\\(e\\)\\`f\\`\\;g\\,h\\\\i\\%j\\#k\\~"_s);
    EXPECT_EQ(swayWord(u"ünï日本"_s), u"ünï日本"_s);
    EXPECT_EQ(swayWord(u"a\nb"_s), std::nullopt);
}

TEST(RunningSwaybg, IsKnownByItsArguments)
{
    using Backgrounds = QMap<QString, SwayBackground>;
    EXPECT_EQ(
        backgroundsIn({u"swaybg"_s, u"-o"_s, u"*"_s, u"-i"_s, u"/a b.png"_s, u"-m"_s, u"fill"_s,
                       u"-o"_s, u"DP-1"_s, u"-c"_s, u"#102030"_s, u"-o"_s, u"DP-2"_s, u"-i"_s,
                       u"/c.png"_s, u"-m"_s, u"fit"_s, u"-c"_s, u"#000000"_s}),
        (Backgrounds{{u"*"_s, {u"/a b.png"_s, u"fill"_s}},
                     {u"DP-1"_s, {u"#102030"_s, u"solid_color"_s}},
                     {u"DP-2"_s, {u"/c.png"_s, u"fit"_s, u"#000000"_s}}}));
    EXPECT_EQ(backgroundsIn({u"swaybg"_s}), Backgrounds());
}

} // namespace
} // namespace corvella

// Pictures in a session as it is, or becomes while the program runs.
#include "platform/pictures/PicturesFixture.h"
#include "platform/pictures/RememberedState.h"
#include "support/StandInService.h"

#include <QTimer>
#include <QUrl>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test::kBlue;
using test::kRed;

// Neither a display nor a desktop; a test adds some.
class SessionPictures : public test::PicturesFixture
{
protected:
    SessionPictures() { qunsetenv("XDG_CURRENT_DESKTOP"); }

    // Takes backdrops as Xfce does.
    std::unique_ptr<test::StandInService> startXfce()
    {
        auto daemon = std::make_unique<test::StandInService>(m_buses.session, u"org.xfce.Xfconf"_s);
        daemon->setAnswer(u"GetAllProperties"_s, QVariantList{QVariantMap()});
        daemon->setAnswer(u"SetProperty"_s, QVariantList());
        daemon->setAnswer(u"ResetProperty"_s, QVariantList());
        return daemon;
    }

    test::CapturedLog m_log;
    std::unique_ptr<DesktopPictures> m_pictures = DesktopPictures::create(folder());
};

TEST_F(SessionPictures, KeepsTheLastWhereNobodyShowsThem)
{
    EXPECT_EQ(present(*m_pictures), (QStringList{QString(), QString()}));
    const QString file = picture(u"a"_s, kRed);
    EXPECT_EQ(show(*m_pictures, {file, std::nullopt}), m_noFailures);
    const QString url = QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    EXPECT_EQ(present(*m_pictures), (QStringList{url, QString()}));
    EXPECT_EQ(m_pictures->reach(), DesktopPictures::Reach::nothing);
    EXPECT_EQ(
        m_log.messages(),
        QStringList{u"desktop: nothing here shows pictures; the last of each screen is kept"_s})
        << "once";
}

TEST_F(SessionPictures, OursIsNotTakenForTheUsersWhereNobodyShowsThem)
{
    const QStringList own{u"file:///home/u/own.png"_s, QString()};
    putBack(*m_pictures, own);
    EXPECT_EQ(present(*m_pictures), own);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_EQ(present(*m_pictures, own), (QStringList{QString(), QString()}));
    putBack(*m_pictures, {stateText(u"plasma"_s, {}), QString()});
    EXPECT_EQ(present(*m_pictures), (QStringList{QString(), QString()}));
}

TEST_F(SessionPictures, AFileThatIsNotThereIsNotShown)
{
    EXPECT_EQ(show(*m_pictures, {m_home.path(u"absent.png"_s), picture(u"b"_s, kBlue)}),
              (QList<Failure>{u"there is no file "_s + m_home.path(u"absent.png"_s), Failure()}));
    EXPECT_EQ(present(*m_pictures).first(), QString());
}

TEST_F(SessionPictures, AFileThatIsOnlyPartOfAPictureIsNotShown)
{
    const QString broken = picture(u"a"_s, kRed);
    const QByteArray whole = test::TemporaryHome::read(broken);
    m_home.write(broken, whole.left(whole.size() / 2));
    const QList<Failure> failures = show(*m_pictures, {broken, picture(u"b"_s, kBlue)});
    EXPECT_NE(failures.first(), std::nullopt);
    EXPECT_EQ(failures.last(), std::nullopt);
    EXPECT_EQ(present(*m_pictures).first(), QString());
}

TEST_F(SessionPictures, AFileThatIsNoStillIsNotShown)
{
    const QString other = picture(u"a"_s, kRed);
    ASSERT_TRUE(QImage(other).save(other, "BMP"));
    EXPECT_EQ(show(*m_pictures, {other, picture(u"b"_s, kBlue)}),
              (QList<Failure>{u"neither a PNG nor an ordinary JPEG"_s, Failure()}));
    EXPECT_EQ(present(*m_pictures).first(), QString());
}

TEST_F(SessionPictures, FollowsADesktopThatStartsLater)
{
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    const auto daemon = startXfce();
    const test::StandInService desktop(m_buses.session, u"org.xfce.xfdesktop"_s);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_FALSE(daemon->calls(u"SetProperty"_s).isEmpty());
    EXPECT_EQ(m_log.messages().last(),
              u"desktop: pictures are shown by Xfce, one on each screen"_s);
}

TEST_F(SessionPictures, WaitsForTheDesktopThatTheSessionIsCalled)
{
    qputenv("XDG_CURRENT_DESKTOP", "XFCE");
    const auto daemon = startXfce();
    std::unique_ptr<test::StandInService> desktop;
    const test::Stopwatch stopwatch;
    QTimer::singleShot(700ms, [&] {
        EXPECT_TRUE(daemon->calls().isEmpty()) << "nothing is touched before";
        desktop = std::make_unique<test::StandInService>(m_buses.session, u"org.xfce.xfdesktop"_s);
    });
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_FALSE(daemon->calls(u"SetProperty"_s).isEmpty());
    EXPECT_GT(stopwatch.elapsed(), 700ms);
}

TEST_F(SessionPictures, WaitsOnceForADesktopThatNeverComes)
{
    qputenv("XDG_CURRENT_DESKTOP", "KDE");
    m_pictures = DesktopPictures::create(folder(), 100ms);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_EQ(
        m_log.messages(),
        QStringList{u"desktop: nothing here shows pictures; the last of each screen is kept"_s});
    const test::Stopwatch stopwatch;
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_LT(stopwatch.elapsed(), 400ms);
}

TEST_F(SessionPictures, WaitsNoMoreWhenTheProgramEnds)
{
    qputenv("XDG_CURRENT_DESKTOP", "KDE");
    const test::Stopwatch stopwatch;
    QTimer::singleShot(100ms, [this] { m_pictures->hurry(); });
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"org.kde.plasmashell is not running"_s);
    EXPECT_LT(stopwatch.elapsed(), 10s);
}

TEST_F(SessionPictures, PutsBackWhereItWasRemembered)
{
    const auto daemon = startXfce();
    const QJsonObject own{{u"s"_s, u"/home/u/own.jpg"_s}};
    putBack(*m_pictures, {stateText(u"xfce"_s, {{u"/backdrop/x"_s, own}})});
    EXPECT_EQ(daemon->calls(u"SetProperty"_s).value(0).arguments.value(1), u"/backdrop/x"_s);
}

TEST_F(SessionPictures, ABusThatHangsIsSoonGivenUp)
{
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    m_buses.session.hang();
    const test::Stopwatch stopwatch;
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_LT(stopwatch.elapsed(), 8s);
    m_buses.session.goOn();
}

TEST(RememberedState, IsReadBackAndToldFromAllElse)
{
    const QJsonObject state{{u"a"_s, u"it's \"ü\""_s}, {u"b"_s, QJsonValue::Null}};
    const QString text = stateText(u"gnome"_s, state);
    EXPECT_EQ(stateOf(u"gnome"_s, text), state);
    EXPECT_EQ(stateOf(u"mate"_s, text), std::nullopt);
    for (const QString &other : {u""_s, u"file:///a"_s, u"[]"_s, u"{\"desktop\""_s, u"null"_s})
        EXPECT_EQ(stateOf(u"gnome"_s, other), std::nullopt);
    EXPECT_EQ(firstStateOf(u"gnome"_s, {QString(), stateText(u"mate"_s, {}), text}), state);
    EXPECT_EQ(statesOf(u"gnome"_s, {QString(), text, text}), (QStringList{text, text}));
    EXPECT_EQ(fileOfUrl(u"file:///a%20b/%C3%BC.png"_s), u"/a b/ü.png"_s);
    for (const QString &other :
         {QString(), u"/a/b"_s, u"https://a/b"_s, u"file:///a\0b.png"_s, text})
        EXPECT_EQ(fileOfUrl(other), std::nullopt);
}

} // namespace
} // namespace corvella

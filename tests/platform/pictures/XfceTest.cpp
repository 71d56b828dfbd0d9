// Xfce's backdrops in its real settings daemon, and what happens when that is not at its best.
#include "platform/pictures/PicturesFixture.h"
#include "support/Repetitions.h"
#include "support/StandInService.h"
#include "support/VirtualDisplay.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QUrl>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::kBlue;
using test::kRed;

QString property(const QString &screen, int workspace, const QString &key)
{
    return u"/backdrop/screen0/monitor%1/workspace%2/%3"_s.arg(screen).arg(workspace).arg(key);
}

class Xfce : public test::PicturesFixture
{
protected:
    void startDaemon()
    {
        m_daemon = std::make_unique<test::ChildProcess>(
            test::Command{programOf(u"org.xfce.Xfconf"_s), {}, environment(), {}});
        ASSERT_TRUE(becomes([] {
            return QDBusConnection::sessionBus()
                .interface()
                ->isServiceRegistered(u"org.xfce.Xfconf"_s)
                .value();
        }));
    }
    QByteArray query(const QStringList &arguments) const
    {
        return output(u"xfconf-query"_s, arguments);
    }
    QByteArray store() const { return query({u"-c"_s, u"xfce4-desktop"_s, u"-l"_s, u"-v"_s}); }
    QString value(const QString &property) const
    {
        return QString::fromUtf8(query({u"-c"_s, u"xfce4-desktop"_s, u"-p"_s, property})).trimmed();
    }
    void set(const QString &property, const QString &type, const QStringList &values) const
    {
        QStringList arguments{u"-c"_s, u"xfce4-desktop"_s, u"-p"_s, property, u"-n"_s};
        for (const QString &value : values)
            arguments << u"-t"_s << type << u"-s"_s << value;
        query(arguments);
    }

    std::unique_ptr<test::ChildProcess> m_daemon;
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesXfce();
};

TEST_F(Xfce, ShowsAPictureOnEachScreenFittedAndBlackBeside)
{
    startDaemon();
    const QString a = picture(u"a"_s, kRed);
    const QString b = picture(u"b"_s, kBlue);
    EXPECT_EQ(show(*m_pictures, {a, b}), m_noFailures);
    EXPECT_EQ(value(property(u"Left"_s, 0, u"last-image"_s)), a);
    EXPECT_EQ(value(property(u"Right"_s, 0, u"last-image"_s)), b);
    EXPECT_EQ(value(property(u"Left"_s, 0, u"image-style"_s)), u"4"_s);
    EXPECT_EQ(value(property(u"Left"_s, 0, u"color-style"_s)), u"0"_s);
    const QString rgba = value(property(u"Left"_s, 0, u"rgba1"_s));
    EXPECT_EQ(rgba.section(u"\n\n"_s, 1), u"0.000000\n0.000000\n0.000000\n1.000000"_s);
}

// A desktop that is busy with one picture can crash at the next change: it loads one where the
// picture or its style changes, unless the style is none.
TEST_F(Xfce, HasEachPictureLoadedOnce)
{
    startDaemon();
    set(property(u"Left"_s, 0, u"last-image"_s), u"string"_s, {u"/home/u/own.jpg"_s});
    const QStringList own = present(*m_pictures);
    test::ChildProcess monitor(test::Command{
        u"xfconf-query"_s, {u"-c"_s, u"xfce4-desktop"_s, u"-m"_s}, environment(), {}});
    int marks = 0;
    const auto mark = [&] {
        const QString name = u"/mark%1"_s.arg(++marks);
        set(name, u"int"_s, {u"1"_s});
        return QByteArray(name.toUtf8() + '\n');
    };
    ASSERT_TRUE(becomes([&] {
        mark();
        return monitor.output().contains("/mark");
    }));
    qsizetype seen = monitor.output().size();
    const auto changesSince = [&] {
        const QByteArray end = mark();
        EXPECT_TRUE(becomes([&] { return monitor.output().indexOf(end, seen) >= 0; }));
        QStringList changes;
        for (const QByteArray &line : monitor.output().mid(seen).split('\n')) {
            if (line.contains("/monitorLeft/"))
                changes << QString::fromUtf8(line.mid(line.lastIndexOf('/') + 1));
        }
        seen = monitor.output().size();
        return changes;
    };
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    const QStringList first = changesSince();
    EXPECT_EQ(first.count(u"image-style"_s), 2);
    EXPECT_EQ(first.front(), u"image-style"_s);
    EXPECT_EQ(first.back(), u"image-style"_s);
    EXPECT_EQ(first.count(u"last-image"_s), 1);
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), std::nullopt}), m_noFailures);
    EXPECT_EQ(changesSince(), QStringList{u"last-image"_s});
    putBack(*m_pictures, own);
    const QStringList last = changesSince();
    EXPECT_EQ(last.front(), u"image-style"_s);
    EXPECT_EQ(last.back(), u"image-style"_s);
    EXPECT_EQ(last.count(u"last-image"_s), 1);
}

TEST_F(Xfce, ShowsItOnEachWorkspace)
{
    startDaemon();
    const test::VirtualDisplay display{QSize(500, 200)};
    qputenv("DISPLAY", display.display().toLocal8Bit());
    output(u"xprop"_s,
           {u"-root"_s, u"-f"_s, u"_NET_NUMBER_OF_DESKTOPS"_s, u"32c"_s, u"-set"_s,
            u"_NET_NUMBER_OF_DESKTOPS"_s, u"3"_s});
    const QString a = picture(u"a"_s, kRed);
    EXPECT_EQ(show(*m_pictures, {a, std::nullopt}), m_noFailures);
    for (const int workspace : {0, 1, 2})
        EXPECT_EQ(value(property(u"Left"_s, workspace, u"last-image"_s)), a);
    EXPECT_FALSE(store().contains("workspace3"));
}

TEST_F(Xfce, AScreenWithoutOneKeepsItsOwn)
{
    startDaemon();
    EXPECT_EQ(show(*m_pictures, {std::nullopt, picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_FALSE(store().contains("monitorLeft"));
}

TEST_F(Xfce, OwnBackdropsComeBackHoweverOftenAndAbsentOnesStayAbsent)
{
    startDaemon();
    set(property(u"Left"_s, 0, u"last-image"_s), u"string"_s, {u"/home/u/it's \"mine\".jpg"_s});
    set(property(u"Left"_s, 0, u"image-style"_s), u"int"_s, {u"5"_s});
    set(property(u"Left"_s, 0, u"rgba1"_s), u"double"_s,
        {u"0.1"_s, u"0.25"_s, u"0.333333333333333"_s, u"1"_s});
    set(property(u"Left"_s, 0, u"backdrop-cycle-enable"_s), u"bool"_s, {u"true"_s});
    set(property(u"Left"_s, 3, u"last-image"_s), u"string"_s, {u"/home/u/fourth.jpg"_s});
    set(u"/desktop-icons/style"_s, u"int"_s, {u"1"_s});
    const QByteArray before = store();
    const QStringList own = present(*m_pictures);
    for (int i = 0; i < test::repetitions("CORVELLA_ON_AND_OFF", 20); ++i) {
        ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        ASSERT_NE(store(), before);
        EXPECT_TRUE(value(property(u"Left"_s, 3, u"last-image"_s)).endsWith(u"a.png"_s))
            << "on each workspace";
        EXPECT_EQ(value(property(u"Left"_s, 0, u"backdrop-cycle-enable"_s)), u"false"_s);
        putBack(*m_pictures, own);
        ASSERT_EQ(store(), before);
    }
}

TEST_F(Xfce, OwnBackdropsAreByteForByteAsBeforeInTheFile)
{
    const QString file = m_home.config(u"xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml"_s);
    startDaemon();
    set(property(u"Left"_s, 0, u"last-image"_s), u"string"_s, {u"/home/u/ü.jpg"_s});
    set(property(u"Left"_s, 0, u"rgba1"_s), u"double"_s,
        {u"0.1"_s, u"0.25"_s, u"0.333333333333333"_s, u"1"_s});
    m_daemon.reset(); // it writes its files when it ends
    const QByteArray before = test::TemporaryHome::read(file);
    ASSERT_TRUE(before.contains("monitorLeft"));
    startDaemon();
    const QStringList own = present(*m_pictures);
    m_screens.removeLast(); // a property that comes and goes again leaves its empty folder behind
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed)}).size(), 1);
    putBack(*m_pictures, own);
    EXPECT_EQ(value(property(u"Left"_s, 0, u"last-image"_s)), u"/home/u/ü.jpg"_s);
    m_daemon.reset();
    EXPECT_EQ(test::TemporaryHome::read(file), before);
}

TEST_F(Xfce, KnowsWhichBackdropsAreNew)
{
    startDaemon();
    const QStringList own = present(*m_pictures);
    EXPECT_EQ(present(*m_pictures, own), (QStringList{QString(), QString()}));
    set(property(u"Left"_s, 1, u"last-image"_s), u"string"_s, {u"/home/u/second.jpg"_s});
    const QStringList later = present(*m_pictures, own);
    EXPECT_TRUE(later.first().contains(u"second.jpg"_s));
    EXPECT_FALSE(later.first().contains(u"workspace0"_s));
    EXPECT_EQ(later.last(), QString());
}

TEST_F(Xfce, TakesAPlainFile)
{
    startDaemon();
    const QString file = picture(u"b"_s, kBlue);
    putBack(*m_pictures, {QString(), QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_EQ(value(property(u"Right"_s, 0, u"last-image"_s)), file);
    EXPECT_FALSE(store().contains("monitorLeft"));
}

TEST_F(Xfce, SaysThatTheDaemonIsNotThereAndStartsNone)
{
    m_buses.session.offerToStart(u"org.xfce.Xfconf"_s);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"org.xfce.Xfconf is not running"_s);
    EXPECT_FALSE(m_buses.session.wasAskedToStartAny());
}

TEST_F(Xfce, SaysThatTheDaemonHangs)
{
    startDaemon();
    m_daemon->signal(SIGSTOP);
    const test::Stopwatch stopwatch;
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}).last(),
              u"org.xfce.Xfconf does not answer"_s);
    EXPECT_LT(stopwatch.elapsed(), std::chrono::seconds(4)) << "it is asked once";
}

TEST_F(Xfce, SaysWhatTheDaemonSaysAndDoesTheOthers)
{
    test::StandInService daemon(m_buses.session, u"org.xfce.Xfconf"_s);
    daemon.setAnswer(u"GetAllProperties"_s, QVariantList{QVariantMap()});
    daemon.setAnswer(u"SetProperty"_s,
                     test::StandInService::Error{u"org.xfce.Xfconf.Error"_s, u"it is locked"_s});
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}),
              (QList<Failure>{u"it is locked"_s, u"it is locked"_s}));
    QStringList asked;
    for (const auto &call : daemon.calls(u"SetProperty"_s))
        asked << call.arguments.value(1).toString();
    EXPECT_EQ(asked.count(property(u"Left"_s, 0, u"last-image"_s)), 1);
    EXPECT_EQ(asked.count(property(u"Right"_s, 0, u"last-image"_s)), 1);
}

} // namespace
} // namespace corvella

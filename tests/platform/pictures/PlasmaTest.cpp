// Plasma's desktops by its scripts, which a real JavaScript engine carries out on a stand-in for
// the shell.
#include "platform/pictures/PicturesFixture.h"
#include "support/StandInService.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

const QString kGroup = u"Wallpaper/org.kde.image/General"_s;

class Plasma : public test::PicturesFixture
{
protected:
    Plasma()
    {
        m_service.setAnswer(u"evaluateScript"_s,
                            test::StandInService::Reply([this](const QVariantList &arguments) {
                                return QVariantList{evaluate(arguments.first().toString())};
                            }));
        // Screens have other numbers than ours, and there is a desktop without one.
        m_shell = QJsonObject{
            {u"screens"_s, QJsonArray{screen(400, 100), screen(0, 400)}},
            {u"desktops"_s,
             QJsonArray{desktop(31, -1, u"org.kde.image"_s, {}),
                        desktop(32, 1, u"org.kde.slideshow"_s, {{u"FillMode"_s, u"6"_s}}),
                        desktop(33, 0, u"org.kde.image"_s,
                                {{u"Image"_s, u"file:///home/u/it's \"mine\"\u2028ü.png"_s},
                                 {u"Color"_s, u"1,2,3"_s}})}}};
    }

    static QJsonObject screen(int x, int width)
    {
        return {{u"x"_s, x}, {u"y"_s, 0}, {u"width"_s, width}, {u"height"_s, 200}};
    }
    static QJsonObject desktop(int id, int screen, const QString &plugin, const QJsonObject &values)
    {
        return {{u"id"_s, id},
                {u"screen"_s, screen},
                {u"plugin"_s, plugin},
                {u"groups"_s, QJsonObject{{kGroup, values}}},
                {u"reloads"_s, 0}};
    }

    QString evaluate(const QString &script)
    {
        const QString file = m_home.path(u"script.js"_s);
        // Old JavaScript ends a line where JSON does not.
        QByteArray shell = QJsonDocument(m_shell).toJson().replace("\u2028", "\\u2028");
        m_home.write(file,
                     "var shell = " + shell + ";\n"
                         + test::TemporaryHome::read(QStringLiteral(CORVELLA_PLASMA_SHELL))
                         + script.toUtf8()
                         + "\nshell.output = output; console.log(JSON.stringify(shell));");
        m_shell = QJsonDocument::fromJson(output(u"duk"_s, {file})).object();
        EXPECT_FALSE(m_shell.isEmpty()) << "the script has an error: " << qPrintable(script);
        return m_shell.take(u"output").toString();
    }
    QJsonObject desktop(int index) const { return m_shell[u"desktops"][index].toObject(); }
    QJsonObject values(int index) const { return desktop(index)[u"groups"][kGroup].toObject(); }
    static QString url(const QString &file)
    {
        return QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    }

    test::StandInService m_service{m_buses.session, u"org.kde.plasmashell"_s};
    QJsonObject m_shell;
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesPlasma();
};

TEST_F(Plasma, ShowsAPictureOnEachScreenFittedAndBlackBeside)
{
    const QString a = picture(u"a"_s, kRed);
    const QString b = picture(u"b"_s, kBlue);
    EXPECT_EQ(show(*m_pictures, {a, b}), m_noFailures);
    EXPECT_EQ(
        values(1),
        (QJsonObject{{u"Image"_s, url(a)}, {u"FillMode"_s, u"1"_s}, {u"Color"_s, u"0,0,0"_s}}));
    EXPECT_EQ(
        values(2),
        (QJsonObject{{u"Image"_s, url(b)}, {u"FillMode"_s, u"1"_s}, {u"Color"_s, u"0,0,0"_s}}));
    EXPECT_EQ(desktop(1)[u"plugin"], u"org.kde.image"_s);
    EXPECT_EQ(desktop(1)[u"reloads"], 1);
    EXPECT_EQ(values(0), QJsonObject()) << "on no screen";
    const test::StandInService::Call call = m_service.calls().value(0);
    EXPECT_EQ(call.path, u"/PlasmaShell"_s);
    EXPECT_EQ(call.interface, u"org.kde.PlasmaShell"_s);
}

TEST_F(Plasma, AScreenWithoutOneKeepsItsOwn)
{
    const QJsonObject before = desktop(1);
    EXPECT_EQ(show(*m_pictures, {std::nullopt, picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_EQ(desktop(1), before);
    EXPECT_EQ(desktop(2)[u"reloads"], 1);
}

TEST_F(Plasma, OwnPicturesComeBackHoweverOften)
{
    const QStringList own = present(*m_pictures);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        putBack(*m_pictures, own);
        EXPECT_EQ(desktop(1)[u"plugin"], u"org.kde.slideshow"_s);
        EXPECT_EQ(values(1)[u"FillMode"], u"6"_s);
        EXPECT_EQ(values(1)[u"Image"], QString()) << "which is what an absent one stands for";
        EXPECT_EQ(desktop(2)[u"plugin"], u"org.kde.image"_s);
        EXPECT_EQ(values(2)[u"Image"], u"file:///home/u/it's \"mine\"\u2028ü.png"_s);
        EXPECT_EQ(values(2)[u"Color"], u"1,2,3"_s);
    }
}

TEST_F(Plasma, OwnPicturesComeBackThoughScreensHaveGone)
{
    const QStringList own = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    m_screens.clear();
    putBack(*m_pictures, own);
    EXPECT_EQ(values(2)[u"Color"], u"1,2,3"_s);
}

TEST_F(Plasma, OwnPicturesComeBackInAnActivityThatWasLeftToo)
{
    const QStringList own = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    m_shell[u"activity"] = u"another"_s;
    putBack(*m_pictures, own);
    EXPECT_EQ(desktop(1)[u"plugin"], u"org.kde.slideshow"_s);
    EXPECT_EQ(values(2)[u"Color"], u"1,2,3"_s);
}

TEST_F(Plasma, DesktopsThatAreGoneAreLeftOut)
{
    const QStringList own = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    m_shell[u"desktops"] = QJsonArray{desktop(2)};
    putBack(*m_pictures, own);
    EXPECT_EQ(values(0)[u"Color"], u"1,2,3"_s);
}

TEST_F(Plasma, KnowsWhichDesktopIsNew)
{
    const QStringList own = present(*m_pictures);
    EXPECT_EQ(present(*m_pictures, own), (QStringList{QString(), QString()}));
    EXPECT_EQ(present(*m_pictures, {own.last()}), (QStringList{own.first(), QString()}));
}

TEST_F(Plasma, TakesAPlainFile)
{
    const QString file = picture(u"b"_s, kBlue);
    const QJsonObject before = desktop(1);
    putBack(*m_pictures, {QString(), url(file)});
    EXPECT_EQ(values(2)[u"Image"], url(file));
    EXPECT_EQ(desktop(1), before);
}

TEST_F(Plasma, SaysWhereItHasNoDesktop)
{
    m_screens[0].place.translate(0, 50);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}),
              (QList<Failure>{u"Plasma has no desktop there"_s, Failure()}));
    EXPECT_EQ(desktop(2)[u"reloads"], 1);
}

TEST_F(Plasma, IsNotAskedToForgetAnythingWhileItStarts)
{
    m_shell[u"desktops"] = QJsonArray();
    EXPECT_EQ(awaited([this] { return m_pictures->present(m_screens, {}); }).failure,
              u"Plasma has no desktops yet"_s);
}

TEST_F(Plasma, SaysWhatTheShellSays)
{
    m_service.setAnswer(u"evaluateScript"_s,
                        test::StandInService::Error{u"org.kde.X"_s, u"Widgets are locked"_s});
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"Widgets are locked"_s);
}

TEST_F(Plasma, SaysThatTheShellHangs)
{
    m_service.setAnswer(u"evaluateScript"_s, test::StandInService::Silence{});
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"org.kde.plasmashell does not answer"_s);
}

} // namespace
} // namespace corvella

// The desktops that keep their pictures in GSettings: their real schemas, in dconf's real store.
#include "platform/pictures/PicturesFixture.h"
#include "support/Repetitions.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QUrl>

#include <gtest/gtest.h>

#include <csignal>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

const QString kSchemas = u"/usr/share/glib-2.0/schemas"_s;

struct Settings
{
    const char *name;
    GSettingsDesktop (*desktop)();
    QString folder;              // of the store
    QStringList pictureKeys;     // that hold the picture's name
    bool isPath;                 // rather than a URL
    QMap<QString, QString> held; // what else the picture needs to be seen
    QByteArray own;              // settings of a user who chose a lot
};

std::ostream &operator<<(std::ostream &stream, const Settings &settings)
{
    return stream << settings.name;
}

class GSettings : public test::PicturesFixture, public testing::WithParamInterface<Settings>
{
protected:
    QByteArray store() const { return output(u"dconf"_s, {u"dump"_s, u"/"_s}); }
    void load(const QByteArray &settings) const
    {
        const QString file = m_home.path(u"own.ini"_s);
        m_home.write(file, settings);
        output(u"sh"_s, {u"-c"_s, u"dconf load / < \"$0\""_s, file});
    }
    QString value(const QString &key) const
    {
        return QString::fromUtf8(output(u"dconf"_s, {u"read"_s, GetParam().folder + u'/' + key}))
            .trimmed();
    }
    // The picture that the desktop is told to show.
    QImage told() const
    {
        QString name = value(GetParam().pictureKeys.first()).mid(1).chopped(1);
        name.remove(u'\\'); // in front of quotes
        return QImage(GetParam().isPath ? name : QUrl(name).toLocalFile());
    }

    void SetUp() override
    {
        ASSERT_TRUE(test::becomes([] {
            return QDBusConnection::sessionBus()
                .interface()
                ->isServiceRegistered(u"ca.desrt.dconf"_s)
                .value();
        }));
    }

    std::unique_ptr<test::ChildProcess> m_dconf = std::make_unique<test::ChildProcess>(
        test::Command{u"/usr/libexec/dconf-service"_s, {}, environment(), {}});
    std::unique_ptr<DesktopPictures> m_pictures =
        createDesktopPicturesGSettings(GetParam().desktop(), folder());
};

TEST_P(GSettings, ShowsEachPictureWholeOnItsScreenAndBlackBeside)
{
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    const QImage composed = told();
    ASSERT_EQ(composed.size(), QSize(500, 200));
    EXPECT_EQ(composed.pixelColor(100, 0), kRed);
    EXPECT_EQ(composed.pixelColor(299, 199), kRed);
    EXPECT_EQ(composed.pixelColor(99, 100), QColor(Qt::black));
    EXPECT_EQ(composed.pixelColor(300, 100), QColor(Qt::black));
    EXPECT_EQ(composed.pixelColor(400, 50), kBlue);
    EXPECT_EQ(composed.pixelColor(499, 149), kBlue);
    EXPECT_EQ(composed.pixelColor(450, 49), QColor(Qt::black));
    EXPECT_EQ(composed.pixelColor(450, 150), QColor(Qt::black));
    for (const QString &key : GetParam().pictureKeys)
        EXPECT_EQ(value(key), value(GetParam().pictureKeys.first()));
    EXPECT_EQ(value(u"picture-options"_s), u"'spanned'"_s);
    EXPECT_EQ(value(u"primary-color"_s), u"'#000000'"_s);
    EXPECT_EQ(value(u"color-shading-type"_s), u"'solid'"_s);
    for (const QString &key : GetParam().held.keys())
        EXPECT_EQ(value(key), GetParam().held[key]) << qPrintable(key);
}

TEST_P(GSettings, EachPictureHasANewNameAndTheOldOneGoes)
{
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    const QString first = value(GetParam().pictureKeys.first());
    ASSERT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), picture(u"a"_s, kRed)}), m_noFailures);
    EXPECT_NE(value(GetParam().pictureKeys.first()), first);
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files).size(), 1);
    EXPECT_EQ(told().pixelColor(200, 100), kBlue);
}

TEST_P(GSettings, AScreenWithoutOneKeepsWhatItHas)
{
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    ASSERT_EQ(show(*m_pictures, {std::nullopt, picture(u"a"_s, kRed)}), m_noFailures);
    EXPECT_EQ(told().pixelColor(200, 100), kRed);
    EXPECT_EQ(told().pixelColor(450, 100), kRed);
}

// A distribution has a schema of its own, which sets another picture.
TEST_P(GSettings, AScreenWithoutOneKeepsThePictureThatCameWithTheDesktop)
{
    const QString schema = GetParam().desktop().keys.first().schema;
    const QString key = GetParam().pictureKeys.first();
    const QString file = picture(u"b"_s, kBlue);
    const QString schemas = m_home.path(u"schemas"_s);
    QString value =
        GetParam().isPath ? file : QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    value.replace(u'\'', u"\\'"_s);
    m_home.write(schemas + u"/of-a-distribution.gschema.override"_s,
                 u"[%1]\n%2='%3'\npicture-options='zoom'\n"_s.arg(schema, key, value).toUtf8());
    for (const QString &xml : QDir(kSchemas).entryList({schema.section(u'.', 0, 2) + u"*.xml"_s}))
        QFile::copy(kSchemas + u'/' + xml, schemas + u'/' + xml);
    output(u"glib-compile-schemas"_s, {schemas});
    qputenv("GSETTINGS_SCHEMA_DIR", schemas.toLocal8Bit());
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    qunsetenv("GSETTINGS_SCHEMA_DIR");
    EXPECT_EQ(told().pixelColor(200, 100), kRed);
    EXPECT_EQ(told().pixelColor(450, 100), kBlue);
}

TEST_P(GSettings, WhatTheUserNeverSetIsNotSetAgain)
{
    const QStringList own = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), {}}), m_noFailures);
    ASSERT_NE(store(), "");
    putBack(*m_pictures, own);
    EXPECT_EQ(store(), "");
}

TEST_P(GSettings, OwnPictureModeAndColoursComeBackHoweverOften)
{
    load(GetParam().own);
    const QByteArray before = store();
    ASSERT_NE(before, "");
    const QStringList own = present(*m_pictures);
    for (int i = 0; i < test::repetitions("CORVELLA_ON_AND_OFF", 3); ++i) {
        ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        ASSERT_NE(store(), before);
        putBack(*m_pictures, own);
        ASSERT_EQ(store(), before);
    }
}

TEST_P(GSettings, AsksNoMoreForWhatIsKnown)
{
    const QStringList own = present(*m_pictures);
    EXPECT_EQ(present(*m_pictures, own), (QStringList{QString(), QString()}));
}

TEST_P(GSettings, TakesAPlainFile)
{
    const QString file = picture(u"a"_s, kRed);
    putBack(*m_pictures, {QString(), QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_EQ(told().pixelColor(50, 50), kRed);
    EXPECT_EQ(value(u"picture-options"_s), u"'zoom'"_s);
}

TEST_P(GSettings, SaysWhichSchemaIsMissing)
{
    const QByteArray folders = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", m_home.path(u"nothing"_s).toLocal8Bit());
    const DesktopPictures::Present present = m_pictures->present(m_screens, {});
    EXPECT_EQ(present.failure, u"there is no schema "_s + GetParam().desktop().keys.first().schema);
    const QList<Failure> failures = show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt});
    EXPECT_EQ(failures.first(), present.failure);
}

TEST_P(GSettings, SaysThatTheServiceHangs)
{
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    m_dconf->signal(SIGSTOP);
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), std::nullopt}).first(),
              u"corvella-gsettings does not answer"_s);
    m_dconf->signal(SIGCONT);
}

TEST_P(GSettings, SaysThatTheServiceIsGone)
{
    m_dconf.reset();
    const Failure failure = show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first();
    EXPECT_TRUE(failure.value_or(QString()).endsWith(u" does not stay as it is set"_s))
        << qPrintable(failure.value_or(QString()));
}

TEST_P(GSettings, SaysThatAFullDiskTakesNone)
{
    m_home.write(folder(), "a file in the folder's place");
    const QList<Failure> failures = show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt});
    EXPECT_NE(failures.first(), std::nullopt);
    EXPECT_EQ(store(), "");
}

INSTANTIATE_TEST_SUITE_P(Of, GSettings,
                         testing::Values(Settings{"Gnome",
                                                  &gnomeSettings,
                                                  u"/org/gnome/desktop/background"_s,
                                                  {u"picture-uri"_s, u"picture-uri-dark"_s},
                                                  false,
                                                  {},
                                                  R"([org/gnome/desktop/background]
color-shading-type='vertical'
picture-options='centered'
picture-uri="file:///home/u/it's%20mine.jpg"
picture-uri-dark='file:///home/u/dark.jpg'
primary-color='#102030'
secondary-color='#ffeedd'
)"},
                                         Settings{"Cinnamon",
                                                  &cinnamonSettings,
                                                  u"/org/cinnamon/desktop/background"_s,
                                                  {u"picture-uri"_s},
                                                  false,
                                                  {{u"slideshow/slideshow-enabled"_s, u"false"_s}},
                                                  R"([org/cinnamon/desktop/background]
picture-uri='file:///home/u/mine.jpg'
primary-color='#102030'

[org/cinnamon/desktop/background/slideshow]
delay=5
slideshow-enabled=true
)"},
                                         Settings{"Mate",
                                                  &mateSettings,
                                                  u"/org/mate/desktop/background"_s,
                                                  {u"picture-filename"_s},
                                                  true,
                                                  {{u"draw-background"_s, u"true"_s}},
                                                  R"([org/mate/desktop/background]
draw-background=false
picture-filename="/home/u/it's mine/ä.jpg"
picture-options='wallpaper'
)"}),
                         [](const auto &test) { return std::string(test.param.name); });

} // namespace
} // namespace corvella

// LXQt's desktop: its real file manager, on a real display.
#include "platform/pictures/PicturesFixture.h"
#include "platform/pictures/RootPixmap.h"
#include "support/VirtualDisplay.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QUrl>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::kBlue;
using test::kRed;

const QColor kOwn(5, 150, 60);

class Lxqt : public test::PicturesFixture
{
protected:
    Lxqt() { qputenv("DISPLAY", m_display.display().toLocal8Bit()); }

    void start()
    {
        m_fileManager = std::make_unique<test::ChildProcess>(test::Command{
            u"pcmanfm-qt"_s, {u"--profile=lxqt"_s, u"--desktop"_s}, environment(), {}});
        ASSERT_TRUE(becomes([] {
            return QDBusConnection::sessionBus()
                .interface()
                ->isServiceRegistered(u"org.pcmanfm.PCManFM"_s)
                .value();
        }));
        ASSERT_TRUE(becomes([this] { return !m_display.client().windows().isEmpty(); }));
    }
    QString setting(const QString &key) const
    {
        const QString file = m_home.config(u"pcmanfm-qt/lxqt/settings.conf"_s);
        const QString text = QString::fromUtf8(test::TemporaryHome::read(file));
        for (const QString &line : text.split(u'\n')) {
            if (line.startsWith(key + u'='))
                return line.mid(key.size() + 1);
        }
        return {};
    }
    [[nodiscard]] bool shows(int x, int y, const QColor &colour)
    {
        return becomes([&] { return m_display.client().picture().pixelColor(x, y) == colour; });
    }

    test::VirtualDisplay m_display{QSize(500, 200)};
    std::unique_ptr<test::ChildProcess> m_fileManager;
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesLxqt(folder());
};

TEST_F(Lxqt, ShowsEachPictureWholeOnItsScreenAndBlackBeside)
{
    start();
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_TRUE(shows(250, 100, kRed));
    EXPECT_TRUE(shows(350, 100, Qt::black));
    EXPECT_TRUE(shows(450, 100, kBlue));
    EXPECT_TRUE(shows(450, 20, Qt::black));
}

TEST_F(Lxqt, OwnPictureAndModeComeBackHoweverOften)
{
    // Zoomed, its upper part is beyond the screen; stretched, it is not.
    QImage image(100, 100, QImage::Format_RGB32);
    image.fill(kOwn);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 100; ++x)
            image.setPixelColor(x, y, kRed);
    }
    const QString own = m_home.path(u"own.png"_s);
    ASSERT_TRUE(image.save(own));
    m_home.write(m_home.config(u"pcmanfm-qt/lxqt/settings.conf"_s),
                 u"[Desktop]\nWallpaper=%1\nWallpaperMode=zoom\n"_s.arg(own).toUtf8());
    start();
    ASSERT_TRUE(shows(250, 5, kOwn));
    const QStringList texts = present(*m_pictures);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        ASSERT_TRUE(shows(250, 100, kRed));
        putBack(*m_pictures, texts);
        EXPECT_TRUE(shows(250, 5, kOwn));
        EXPECT_EQ(setting(u"Wallpaper"_s), own);
        EXPECT_EQ(setting(u"WallpaperMode"_s), u"zoom"_s);
    }
}

TEST_F(Lxqt, NoPictureComesBackToo)
{
    const QColor before(u"#336699"_s);
    m_home.write(m_home.config(u"pcmanfm-qt/lxqt/settings.conf"_s),
                 "[Desktop]\nWallpaperMode=none\nBgColor=#336699\n");
    start();
    ASSERT_TRUE(shows(450, 190, before));
    const QStringList texts = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    ASSERT_TRUE(shows(450, 100, kBlue));
    putBack(*m_pictures, texts);
    EXPECT_TRUE(shows(450, 190, before));
}

TEST_F(Lxqt, TakesAPlainFile)
{
    start();
    const QString file = picture(u"b"_s, kBlue);
    putBack(*m_pictures, {QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(shows(250, 100, kBlue));
}

TEST_F(Lxqt, LiesOverTheRootWindow)
{
    m_display.startWindowManager();
    EXPECT_TRUE(x11::isRootVisible());
    start();
    EXPECT_TRUE(becomes([] { return !x11::isRootVisible(); }));
}

TEST_F(Lxqt, SaysThatTheFileManagerIsNotThere)
{
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"org.pcmanfm.PCManFM is not running"_s);
}

} // namespace
} // namespace corvella

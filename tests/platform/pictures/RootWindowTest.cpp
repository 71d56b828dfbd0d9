// The root window of a real X server, read back pixel by pixel by another client.
#include "platform/pictures/PicturesFixture.h"
#include "platform/pictures/RootPixmap.h"
#include "platform/pictures/WindowProperty.h"
#include "support/VirtualDisplay.h"

#include <QPainter>
#include <QUrl>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

class RootWindow : public test::PicturesFixture
{
protected:
    RootWindow() { qputenv("DISPLAY", m_display.display().toLocal8Bit()); }

    [[nodiscard]] QImage seen() { return m_display.client().picture(); }

    static QImage filled(const QColor &colour)
    {
        QImage image(kSize, QImage::Format_RGB32);
        image.fill(colour);
        return image;
    }
    static QImage withSquares(QImage image, const QColor &left, const QColor &right)
    {
        QPainter painter(&image);
        painter.fillRect(QRect(0, 0, 400, 200), Qt::black);
        painter.fillRect(QRect(100, 0, 200, 200), left);
        if (right.isValid()) {
            painter.fillRect(QRect(400, 0, 100, 200), Qt::black);
            painter.fillRect(QRect(400, 50, 100, 100), right);
        }
        return image;
    }
    void paintBackground(const QString &colour) const
    {
        output(u"xsetroot"_s, {u"-solid"_s, colour});
    }
    // As tools do that set pictures: each pixel another colour.
    static QImage ownPicture()
    {
        QImage image(kSize, QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, qRgb(x % 256, y % 256, (x + y) % 256));
        }
        return image;
    }

    static constexpr QSize kSize{500, 300}; // a strip that is on no screen
    test::VirtualDisplay m_display{kSize};
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesX11(folder());
};

TEST_F(RootWindow, ShowsEachPictureWholeOnItsScreenAndBlackBeside)
{
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_EQ(seen(), withSquares(filled(Qt::black), kRed, kBlue));
}

TEST_F(RootWindow, AScreenWithoutOneKeepsItsOwn)
{
    paintBackground(u"#336699"_s);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    EXPECT_EQ(seen(), withSquares(filled(QColor(u"#336699"_s)), kRed, {}));
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), std::nullopt}), m_noFailures);
    EXPECT_EQ(seen(), withSquares(filled(QColor(u"#336699"_s)), kBlue, {}));
}

TEST_F(RootWindow, OwnColourComesBack)
{
    paintBackground(u"#336699"_s);
    const QStringList own = present(*m_pictures);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
        putBack(*m_pictures, own);
        EXPECT_EQ(seen(), filled(QColor(u"#336699"_s)));
        EXPECT_EQ(output(u"xprop"_s, {u"-root"_s, u"_XROOTPMAP_ID"_s}).trimmed(),
                  "_XROOTPMAP_ID:  not found.");
    }
}

TEST_F(RootWindow, OwnPictureComesBackPixelForPixelAlsoInAnotherProcess)
{
    const QString file = m_home.path(u"own.png"_s);
    ASSERT_TRUE(ownPicture().save(file));
    m_screens = {{u"All"_s, QRect(QPoint(0, 0), kSize), 1}};
    ASSERT_EQ(show(*m_pictures, {file}).first(), std::nullopt);
    ASSERT_EQ(seen(), ownPicture());

    const QStringList own = present(*m_pictures);
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed)}).first(), std::nullopt);
    ASSERT_NE(seen(), ownPicture());
    // Later updates must not take ours for the user's.
    EXPECT_EQ(present(*m_pictures, own), QStringList{QString()});
    m_pictures = createDesktopPicturesX11(folder());
    putBack(*m_pictures, own);
    EXPECT_EQ(seen(), ownPicture());
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files), QStringList()) << "nothing is left behind";
    // The program may have been ended before it could forget.
    putBack(*m_pictures, own);
    EXPECT_EQ(seen(), ownPicture());
}

TEST_F(RootWindow, TwoHundredTimesOnAndOffLeaveItAsItWas)
{
    m_screens = {{u"All"_s, QRect(QPoint(0, 0), kSize), 1}};
    const QString file = m_home.path(u"own.png"_s);
    ASSERT_TRUE(ownPicture().save(file));
    ASSERT_EQ(show(*m_pictures, {file}).first(), std::nullopt);
    const QString sun = picture(u"a"_s, kRed);
    for (int i = 0; i < 200; ++i) {
        const QStringList own = m_pictures->present(m_screens, {}).texts;
        ASSERT_EQ(m_pictures->show(m_screens, {sun}).first(), std::nullopt);
        m_pictures->putBack(m_screens, own);
    }
    EXPECT_EQ(seen(), ownPicture());
}

TEST_F(RootWindow, NamesItsPictureAsOthersDo)
{
    ASSERT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}), m_noFailures);
    const auto id = [this](const QString &name) {
        return output(u"xprop"_s, {u"-root"_s, name}).trimmed().split(' ').last();
    };
    EXPECT_TRUE(id(u"_XROOTPMAP_ID"_s).startsWith("0x"));
    EXPECT_EQ(id(u"_XROOTPMAP_ID"_s), id(u"ESETROOT_PMAP_ID"_s));
}

TEST_F(RootWindow, FreesThePictureBefore)
{
    const auto set = [this](const QColor &colour) {
        EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, colour), std::nullopt}), m_noFailures);
        const QByteArray id =
            output(u"xprop"_s, {u"-root"_s, u"_XROOTPMAP_ID"_s}).trimmed().split(' ').last();
        return id.toUInt(nullptr, 0);
    };
    const x11::Connection server = x11::connectToServer();
    const auto isThere = [&server](xcb_pixmap_t pixmap) {
        const x11::ReplyOf<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), pixmap), nullptr));
        return bool(geometry);
    };
    const xcb_pixmap_t first = set(kRed);
    EXPECT_TRUE(isThere(first));
    const xcb_pixmap_t second = set(kBlue);
    EXPECT_TRUE(isThere(second));
    EXPECT_FALSE(isThere(first));
}

TEST_F(RootWindow, IsHiddenByADesktopAndNotByASmallThingOnIt)
{
    // As window managers and desktops say it.
    const x11::Connection server = x11::connectToServer();
    const auto say = [&server](xcb_window_t window, const char *property, xcb_atom_t type,
                               uint32_t value) {
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window,
                            x11::atom(server.get(), property), type, 32, 1, &value);
        xcb_flush(server.get());
    };
    const xcb_window_t root = x11::rootWindow(server.get());
    const xcb_window_t window = m_display.client().openWindow(QRect(10, 10, 60, 30));
    say(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM,
        x11::atom(server.get(), "_NET_WM_WINDOW_TYPE_DESKTOP"));
    say(root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, window);
    EXPECT_TRUE(x11::isRootVisible());
    m_display.client().resizeWindow(window, kSize);
    EXPECT_TRUE(test::becomes([] { return !x11::isRootVisible(); }));
}

TEST_F(RootWindow, AFileThatIsNoPictureLeavesItsScreenAlone)
{
    paintBackground(u"#336699"_s);
    const QString broken = m_home.path(u"broken.png"_s);
    m_home.write(broken, "no picture");
    const QList<Failure> failures = show(*m_pictures, {broken, picture(u"b"_s, kBlue)});
    EXPECT_NE(failures.first(), std::nullopt);
    EXPECT_EQ(failures.last(), std::nullopt);
    EXPECT_EQ(seen().pixelColor(200, 100), QColor(u"#336699"_s));
    EXPECT_EQ(seen().pixelColor(450, 100), kBlue);
}

TEST_F(RootWindow, TakesAPlainFile)
{
    paintBackground(u"#336699"_s);
    const QString file = picture(u"b"_s, kBlue);
    putBack(*m_pictures, {QString(), QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)});
    EXPECT_EQ(seen().pixelColor(200, 100), QColor(u"#336699"_s));
    EXPECT_EQ(seen().pixelColor(450, 100), kBlue);
}

TEST_F(RootWindow, SaysThatNoServerAnswers)
{
    qputenv("DISPLAY", ":9999");
    EXPECT_NE(m_pictures->present(m_screens, {}).failure, std::nullopt);
    EXPECT_NE(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(), std::nullopt);
}

TEST_F(RootWindow, SaysThatTheOwnPictureCannotBeKept)
{
    const QString file = m_home.path(u"own.png"_s);
    ASSERT_TRUE(ownPicture().save(file));
    ASSERT_EQ(show(*m_pictures, {file, std::nullopt}), m_noFailures);
    m_home.write(folder(), "a file in the folder's place");
    EXPECT_NE(m_pictures->present(m_screens, {}).failure, std::nullopt);
}

} // namespace
} // namespace corvella

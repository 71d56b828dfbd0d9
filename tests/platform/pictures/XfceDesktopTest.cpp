// Xfce's whole desktop: what is to be seen of its backdrops.
#include "platform/pictures/WholeDesktopFixture.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

class XfceDesktop : public test::WholeDesktopFixture
{
protected:
    XfceDesktop()
        : WholeDesktopFixture({400, 200})
    {
        m_screens = {{u"screen"_s, QRect(0, 0, 400, 200), 1}}; // as this server calls it
        m_display.startWindowManager();                        // it waits for one
        m_daemon = start(programOf(u"org.xfce.Xfconf"_s), u"org.xfce.Xfconf"_s);
        m_desktop = start(u"xfdesktop"_s, u"org.xfce.xfdesktop"_s);
    }

    std::unique_ptr<test::ChildProcess> m_daemon;
    std::unique_ptr<test::ChildProcess> m_desktop;
    std::unique_ptr<DesktopPictures> m_pictures = DesktopPictures::create(folder());
};

TEST_F(XfceDesktop, ShowsThePictureFittedAndThenTheUsersAgain)
{
    const QString own = m_home.path(u"own.png"_s);
    ASSERT_TRUE(QFile::rename(picture(u"own"_s, QColor(5, 150, 60)), own));
    output(u"xfconf-query"_s,
           {u"-c"_s, u"xfce4-desktop"_s, u"-p"_s,
            u"/backdrop/screen0/monitorscreen/workspace0/last-image"_s, u"-n"_s, u"-t"_s,
            u"string"_s, u"-s"_s, own});
    ASSERT_TRUE(shows({300, 150}, QColor(5, 150, 60)));
    const QStringList texts = present(*m_pictures);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed)}).first(), std::nullopt);
    EXPECT_TRUE(shows({290, 150}, kRed));
    EXPECT_TRUE(shows({310, 150}, Qt::black));
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue)}).first(), std::nullopt);
    EXPECT_TRUE(shows({290, 150}, kBlue));
    putBack(*m_pictures, texts);
    EXPECT_TRUE(shows({310, 150}, QColor(5, 150, 60)));
}

} // namespace
} // namespace corvella

// MATE's real daemon, which draws the background where no file manager does.
#include "platform/pictures/WholeDesktopFixture.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

const QColor kOwn(5, 150, 60);

class MateDesktop : public test::WholeDesktopFixture
{
protected:
    MateDesktop()
        : WholeDesktopFixture({500, 200})
    {
        m_store = start(programOf(u"ca.desrt.dconf"_s), u"ca.desrt.dconf"_s);
    }

    std::unique_ptr<test::ChildProcess> m_store;
    std::unique_ptr<test::ChildProcess> m_daemon;
    std::unique_ptr<DesktopPictures> m_pictures = DesktopPictures::create(folder());
};

TEST_F(MateDesktop, ShowsEachPictureOnItsScreenAndThenTheUsersAgain)
{
    const QString own = m_home.path(u"own.png"_s);
    ASSERT_TRUE(QFile::rename(picture(u"own"_s, kOwn), own));
    const QString settings = m_home.path(u"own.ini"_s);
    m_home.write(settings,
                 u"[org/mate/desktop/background]\npicture-filename='%1'\n"
                 "picture-options='stretched'\nshow-desktop-icons=false\n"_s.arg(own)
                     .toUtf8());
    output(u"sh"_s, {u"-c"_s, u"dconf load / < \"$0\""_s, settings});
    m_daemon = start(programOf(u"org.mate.SettingsDaemon"_s), u"org.mate.SettingsDaemon"_s);
    ASSERT_TRUE(shows({10, 100}, kOwn));
    const QStringList texts = present(*m_pictures);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}), m_noFailures);
    EXPECT_TRUE(shows({200, 100}, kRed));
    EXPECT_TRUE(shows({50, 100}, Qt::black));
    EXPECT_TRUE(shows({450, 100}, kBlue));
    EXPECT_EQ(show(*m_pictures, {picture(u"b"_s, kBlue), picture(u"a"_s, kRed)}), m_noFailures);
    EXPECT_TRUE(shows({200, 100}, kBlue));
    putBack(*m_pictures, texts);
    EXPECT_TRUE(shows({10, 100}, kOwn));
}

} // namespace
} // namespace corvella

// The desktop portal, as a stand-in on a real bus plays it.
#include "platform/pictures/DesktopPicturesPortal.h"
#include "platform/pictures/PicturesFixture.h"
#include "support/StandInService.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QUrl>

#include <gtest/gtest.h>

#include <unistd.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::kBlue;
using test::kRed;

class Portal : public test::PicturesFixture
{
protected:
    // It takes a picture and then says how that ended: 0 for well.
    void answerWith(std::optional<uint> code)
    {
        m_portal.setAnswer(
            u"SetWallpaperFile"_s,
            test::StandInService::Reply([this, code](const QVariantList &arguments) {
                QFile file;
                const int copy =
                    ::dup(arguments[1].value<QDBusUnixFileDescriptor>().fileDescriptor());
                EXPECT_TRUE(file.open(copy, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
                m_taken = QImage::fromData(file.readAll());
                m_options = qdbus_cast<QVariantMap>(arguments[2]);
                const QString path = requestPath(m_options[u"handle_token"_s].toString());
                if (code)
                    m_portal.tell(path, u"org.freedesktop.portal.Request"_s, u"Response"_s,
                                  {*code, QVariantMap()});
                return QVariantList{QVariant::fromValue(QDBusObjectPath(path))};
            }));
    }
    static QString requestPath(const QString &token)
    {
        const QString caller = QDBusConnection::sessionBus().baseService();
        return u"/org/freedesktop/portal/desktop/request/"_s + caller.mid(1).replace(u'.', u'_')
            + u'/' + token;
    }

    test::StandInService m_portal{m_buses.session, u"org.freedesktop.portal.Desktop"_s};
    std::unique_ptr<DesktopPictures> m_pictures = createDesktopPicturesPortal(folder());
    QImage m_taken;
    QVariantMap m_options;
};

TEST_F(Portal, TakesTheFirstPictureAtItsScreensSize)
{
    answerWith(0);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), picture(u"b"_s, kBlue)}),
              (QList<Failure>{Failure(), u"the desktop portal shows one picture for all"_s}));
    EXPECT_EQ(m_taken.size(), QSize(400, 200));
    EXPECT_EQ(m_taken.pixelColor(200, 100), kRed);
    EXPECT_EQ(m_taken.pixelColor(50, 100), QColor(Qt::black));
    EXPECT_EQ(m_options[u"show-preview"_s], false);
    EXPECT_EQ(m_options[u"set-on"_s], u"background"_s);
}

TEST_F(Portal, HasNothingToPutBack)
{
    EXPECT_EQ(present(*m_pictures), (QStringList{QString(), QString()}));
    answerWith(0);
    putBack(*m_pictures, {QString(), QString()});
    EXPECT_EQ(m_portal.calls().size(), 0);
}

TEST_F(Portal, TakesAPlainFile)
{
    answerWith(0);
    putBack(*m_pictures,
            {QUrl::fromLocalFile(picture(u"b"_s, kBlue)).toString(QUrl::FullyEncoded)});
    EXPECT_EQ(m_taken.pixelColor(50, 50), kBlue);
}

TEST_F(Portal, MayRefuse)
{
    answerWith(1);
    EXPECT_EQ(show(*m_pictures, {std::nullopt, picture(u"b"_s, kBlue)}).last(),
              u"the desktop portal refuses"_s);
}

TEST_F(Portal, IsNotWaitedForWithoutEnd)
{
    answerWith(std::nullopt);
    EXPECT_EQ(show(*m_pictures, {picture(u"a"_s, kRed), std::nullopt}).first(),
              u"nobody has allowed it"_s);
}

TEST_F(Portal, IsThereWhenItSetsPictures)
{
    EXPECT_FALSE(awaited([] { return portalSetsPictures(); }));
    m_portal.setAnswer(u"Get"_s, QVariantList{1U});
    EXPECT_TRUE(awaited([] { return portalSetsPictures(); }));
}

} // namespace
} // namespace corvella

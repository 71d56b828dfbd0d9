// What the desktop's portal says of dark windows, from a stand-in on a real bus.
#include "platform/session/DarkPreference.h"
#include "support/StandInService.h"
#include "support/TestBuses.h"

#include <QDBusVariant>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

const QString kGroup = u"org.freedesktop.appearance"_s;
const QString kKey = u"color-scheme"_s;

// As the portal wraps it: 0 for no preference, 1 for dark, 2 for light.
QVariant scheme(uint number)
{
    return QVariant::fromValue(QDBusVariant(QVariant::fromValue(number)));
}

class DarkPreferenceTest : public testing::Test
{
protected:
    void startPortal(uint number)
    {
        m_portal = std::make_unique<test::StandInService>(m_buses.session,
                                                          u"org.freedesktop.portal.Desktop"_s);
        m_portal->setAnswer(u"Read"_s,
                            QVariantList{QVariant::fromValue(QDBusVariant(scheme(number)))});
    }
    void tell(const QString &group, const QString &key, uint number)
    {
        m_portal->tell(u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.Settings"_s,
                       u"SettingChanged"_s, {group, key, scheme(number)});
    }
    void ask()
    {
        m_preference = std::make_unique<DarkPreference>();
        QObject::connect(m_preference.get(), &DarkPreference::changed,
                         [this] { m_told << m_preference->isDark(); });
    }
    [[nodiscard]] bool hasTold(const QList<bool> &expected)
    {
        return becomes([&] { return m_told == expected; });
    }

    test::TestBuses m_buses;
    std::unique_ptr<test::StandInService> m_portal;
    std::unique_ptr<DarkPreference> m_preference;
    QList<bool> m_told;
};

TEST_F(DarkPreferenceTest, IsWhatThePortalAnswers)
{
    startPortal(1);
    ask();
    EXPECT_FALSE(m_preference->isDark()) << "nobody waits for the answer";
    EXPECT_TRUE(hasTold({true}));
    const test::StandInService::Call expected{u"/org/freedesktop/portal/desktop"_s,
                                              u"org.freedesktop.portal.Settings"_s,
                                              u"Read"_s,
                                              {kGroup, kKey}};
    EXPECT_EQ(m_portal->calls().value(0), expected);
}

TEST_F(DarkPreferenceTest, FollowsWhatTheUserChoosesThere)
{
    startPortal(2);
    ask();
    EXPECT_TRUE(m_portal->gets(u"Read"_s));
    tell(kGroup, u"accent-color"_s, 1);
    tell(u"org.gnome.desktop.interface"_s, kKey, 1);
    tell(kGroup, kKey, 0);
    tell(kGroup, kKey, 1);
    EXPECT_TRUE(hasTold({true})) << "only the last was about dark";
    tell(kGroup, kKey, 2);
    EXPECT_TRUE(hasTold({true, false}));
}

TEST_F(DarkPreferenceTest, AsksAPortalThatStartsLater)
{
    ask();
    startPortal(1);
    EXPECT_TRUE(hasTold({true}));
}

TEST_F(DarkPreferenceTest, APortalWithoutSuchASettingSaysNothing)
{
    startPortal(1);
    m_portal->setAnswer(
        u"Read"_s,
        test::StandInService::Error{u"org.freedesktop.portal.Error.NotFound"_s, u"not found"_s});
    ask();
    EXPECT_TRUE(m_portal->gets(u"Read"_s));
    tell(kGroup, kKey, 1); // comes after the answer
    EXPECT_TRUE(hasTold({true}));
}

TEST_F(DarkPreferenceTest, NeverStartsAPortal)
{
    m_buses.session.offerToStart(u"org.freedesktop.portal.Desktop"_s);
    ask();
    startPortal(1);
    EXPECT_TRUE(hasTold({true}));
    EXPECT_FALSE(m_buses.session.wasAskedToStartAny());
}

} // namespace
} // namespace corvella

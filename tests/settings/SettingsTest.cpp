#include "settings/Settings.h"
#include "settings/Hosts.h"
#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QFile>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace corvella {
namespace {

class SettingsTest : public testing::Test
{
protected:
    void store(const QByteArray &json) const
    {
        m_home.write(m_home.config(QStringLiteral("space.tarrow.corvella.json")), json);
    }
    void storeValue(const char *key, const QByteArray &json) const
    {
        store("{\"" + QByteArray(key) + "\": " + json + "}");
    }
    // What the file holds under a key, as it stands there.
    static QJsonValue stored(QStringView key)
    {
        return parseDefaults(test::TemporaryHome::read(Settings::d().filePath()))
            .value_or(QJsonObject())
            .value(key);
    }

    test::TemporaryHome m_home;
};

QDateTime instant()
{
    return QDateTime(QDate(2025, 3, 1), QTime(9, 5), Qt::UTC);
}

TEST_F(SettingsTest, AreOneStoreUnderTheProgramsName)
{
    EXPECT_EQ(&Settings::d(), &Settings::d());
    EXPECT_EQ(Settings::d().filePath(),
              m_home.config(QStringLiteral("space.tarrow.corvella.json")));
}

TEST_F(SettingsTest, HaveTheirDefaultsWhenNothingIsStored)
{
    EXPECT_EQ(Settings::mode(), Mode::desktop);
    EXPECT_EQ(
        Settings::products(),
        (QStringList{QStringLiteral("rainbow"), QStringLiteral("171"), QStringLiteral("304")}));
    EXPECT_EQ(Settings::idleMinutes(), 5.0);
    EXPECT_TRUE(Settings::lockOnDismiss());
    EXPECT_FALSE(Settings::offline());
    EXPECT_EQ(Settings::refreshMinutes(), 1440.0);
    EXPECT_EQ(Settings::lastCheck(), Settings::distantPast());
    EXPECT_EQ(Settings::lastManual(), Settings::distantPast());
    EXPECT_EQ(Settings::storeHost(), Hosts::defaultStore());
    EXPECT_EQ(Settings::imageryHost(), Hosts::defaultImagery());
    EXPECT_FALSE(Settings::attribution());
    EXPECT_FALSE(Settings::shuffle());
    EXPECT_EQ(Settings::loops(), 1);
    EXPECT_EQ(Settings::transition(), Transition::black);
    EXPECT_FALSE(Settings::desktop());
    EXPECT_TRUE(Settings::desktopActive());
    EXPECT_EQ(Settings::desktopCounter(), 0);
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_FALSE(Settings::configured());
    EXPECT_FALSE(Settings::openAtLogin());
}

TEST_F(SettingsTest, HaveTheirDefaultsWhenEveryStoredValueIsOfTheWrongType)
{
    for (const char *wrong : {"null", "{}", "[1]", "[[]]"}) {
        QByteArray json;
        for (const char *key :
             {"mode", "products", "idleMinutes", "lockOnDismiss", "offline", "refreshMinutes",
              "lastCheck", "lastManual", "storeHost", "imageryHost", "attribution", "shuffle",
              "loops", "transition", "desktop", "desktopCounter", "previousDesktop", "configured"})
            json += (json.isEmpty() ? "{\"" : ", \"") + QByteArray(key) + "\": " + wrong;
        store(json + "}");

        EXPECT_EQ(Settings::mode(), Mode::desktop) << wrong;
        EXPECT_EQ(Settings::products().size(), 3) << wrong;
        EXPECT_EQ(Settings::idleMinutes(), 5.0) << wrong;
        EXPECT_TRUE(Settings::lockOnDismiss()) << wrong;
        EXPECT_FALSE(Settings::offline()) << wrong;
        EXPECT_EQ(Settings::refreshMinutes(), 1440.0) << wrong;
        EXPECT_EQ(Settings::lastCheck(), Settings::distantPast()) << wrong;
        EXPECT_EQ(Settings::lastManual(), Settings::distantPast()) << wrong;
        EXPECT_EQ(Settings::storeHost(), Hosts::defaultStore()) << wrong;
        EXPECT_EQ(Settings::imageryHost(), Hosts::defaultImagery()) << wrong;
        EXPECT_FALSE(Settings::attribution()) << wrong;
        EXPECT_FALSE(Settings::shuffle()) << wrong;
        EXPECT_EQ(Settings::loops(), 1) << wrong;
        EXPECT_EQ(Settings::transition(), Transition::black) << wrong;
        EXPECT_FALSE(Settings::desktop()) << wrong;
        EXPECT_EQ(Settings::desktopCounter(), 0) << wrong;
        EXPECT_EQ(Settings::previousDesktop(), std::nullopt) << wrong;
        EXPECT_FALSE(Settings::configured()) << wrong;
    }
}

TEST_F(SettingsTest, ReadBackWhatWasSet)
{
    const QStringList lists{QStringLiteral("off"), QStringLiteral("171,193"), QString()};
    Settings::setMode(Mode::kiosk);
    Settings::setProducts(lists);
    Settings::setIdleMinutes(7.5);
    Settings::setLockOnDismiss(false);
    Settings::setOffline(true);
    Settings::setRefreshMinutes(720);
    Settings::setLastCheck(instant());
    Settings::setLastManual(instant().addMSecs(1500));
    Settings::setStoreHost(QStringLiteral("store.test"));
    Settings::setImageryHost(QStringLiteral("imagery.test:8443"));
    Settings::setAttribution(false);
    Settings::setShuffle(true);
    Settings::setLoops(3);
    Settings::setTransition(Transition::wipe);
    Settings::setDesktop(true);
    Settings::setDesktopCounter(41);
    Settings::setPreviousDesktop(lists);
    Settings::setConfigured(true);

    EXPECT_EQ(Settings::mode(), Mode::kiosk);
    EXPECT_EQ(Settings::products(), lists);
    EXPECT_EQ(Settings::idleMinutes(), 7.5);
    EXPECT_FALSE(Settings::lockOnDismiss());
    EXPECT_TRUE(Settings::offline());
    EXPECT_EQ(Settings::refreshMinutes(), 720.0);
    EXPECT_EQ(Settings::lastCheck(), instant());
    EXPECT_EQ(Settings::lastManual(), instant().addMSecs(1500));
    EXPECT_EQ(Settings::storeHost(), QStringLiteral("store.test"));
    EXPECT_EQ(Settings::imageryHost(), QStringLiteral("imagery.test:8443"));
    EXPECT_FALSE(Settings::attribution());
    EXPECT_TRUE(Settings::shuffle());
    EXPECT_EQ(Settings::loops(), 3);
    EXPECT_EQ(Settings::transition(), Transition::wipe);
    EXPECT_TRUE(Settings::desktop());
    EXPECT_EQ(Settings::desktopCounter(), 41);
    EXPECT_EQ(Settings::previousDesktop(), lists);
    EXPECT_TRUE(Settings::configured());
}

TEST_F(SettingsTest, AreStoredUnderTheirKeysInTheirTypes)
{
    Settings::setMode(Mode::saver);
    Settings::setProducts({QStringLiteral("171")});
    Settings::setIdleMinutes(7.5);
    Settings::setLockOnDismiss(true);
    Settings::setOffline(false);
    Settings::setRefreshMinutes(1440);
    Settings::setLastCheck(instant());
    Settings::setLastManual(instant());
    Settings::setStoreHost(QStringLiteral("https://store.test/"));
    Settings::setImageryHost(QStringLiteral("imagery.test"));
    Settings::setAttribution(true);
    Settings::setShuffle(false);
    Settings::setLoops(2);
    Settings::setTransition(Transition::circle);
    Settings::setDesktop(false);
    Settings::setDesktopCounter(1);
    Settings::setPreviousDesktop(QStringList{QString()});
    Settings::setConfigured(true);

    EXPECT_EQ(parseDefaults(m_home.read(Settings::d().filePath())), parseDefaults(R"({
        "mode": "saver", "products": ["171"], "idleMinutes": 7.5, "lockOnDismiss": true, "offline": false,
        "refreshMinutes": 1440, "lastCheck": "2025-03-01T09:05:00Z", "lastManual": "2025-03-01T09:05:00Z",
        "storeHost": "https://store.test/", "imageryHost": "imagery.test", "attribution": true,
        "shuffle": false, "loops": 2, "transition": "circle", "desktop": false, "desktopCounter": 1,
        "previousDesktop": [""], "configured": true})"));
}

TEST_F(SettingsTest, ModeIsDesktopForUnknownText)
{
    for (const char *json : {R"("")", R"("Wall")", R"("screensaver")", "2"}) {
        storeValue("mode", json);
        EXPECT_EQ(Settings::mode(), Mode::desktop) << json;
    }
}

TEST_F(SettingsTest, TransitionIsBlackForUnknownText)
{
    for (const char *json : {R"("fade")", R"("Blink")", R"("")", "0"}) {
        storeValue("transition", json);
        EXPECT_EQ(Settings::transition(), Transition::black) << json;
    }
}

TEST_F(SettingsTest, IdleMinutesAreAboveNothingAndFitAnInt)
{
    const struct
    {
        const char *json;
        double minutes;
    } rows[] = {
        {"1e999", 5}, // no JSON: unknown, as long as nothing was read before
        {"0", 5},     {"-1", 5},       {"-0.5", 5},
        {"0.5", 0.5}, {"7.9", 7.9},    {"\"9\"", 5},
        {"true", 5},  {"100000", 1e5}, {"1e300", 2147483647.0},
    };
    for (const auto &row : rows) {
        storeValue("idleMinutes", row.json);
        EXPECT_EQ(Settings::idleMinutes(), row.minutes) << row.json;
    }
}

TEST_F(SettingsTest, IdleMinutesAreStoredUnchanged)
{
    for (const double minutes : {0.0, -3.0, 0.25, 1e300}) {
        Settings::setIdleMinutes(minutes);
        EXPECT_EQ(stored(u"idleMinutes").toDouble(99), minutes);
    }
    Settings::setIdleMinutes(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(Settings::idleMinutes(), 5.0);
}

TEST_F(SettingsTest, LockOnDismissIsTheStoredBooleanAndElseOn)
{
    const struct
    {
        const char *json;
        bool lock;
    } rows[] = {{"true", true}, {"false", false}, {"1", true}, {"0", false}, {"\"no\"", true}};
    for (const auto &row : rows) {
        storeValue("lockOnDismiss", row.json);
        EXPECT_EQ(Settings::lockOnDismiss(), row.lock) << row.json;
    }
}

TEST_F(SettingsTest, RefreshMinutesAreEitherOfTwo)
{
    const struct
    {
        const char *json;
        double minutes;
    } rows[] = {
        {"720", 720},    {"720.0", 720},    {"7.2e2", 720}, {"1440", 1440}, {"60", 1440},
        {"720.5", 1440}, {"\"720\"", 1440}, {"true", 1440}, {"-720", 1440}, {"0", 1440},
    };
    for (const auto &row : rows) {
        storeValue("refreshMinutes", row.json);
        EXPECT_EQ(Settings::refreshMinutes(), row.minutes) << row.json;
    }
}

TEST_F(SettingsTest, RefreshMinutesAreSnappedWhenSet)
{
    Settings::setRefreshMinutes(30);
    EXPECT_EQ(stored(u"refreshMinutes").toDouble(), 1440.0);
    Settings::setRefreshMinutes(720);
    EXPECT_EQ(stored(u"refreshMinutes").toDouble(), 720.0);
    Settings::setRefreshMinutes(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(stored(u"refreshMinutes").toDouble(), 1440.0);
}

TEST_F(SettingsTest, RefreshIntervalIs720OnlyForExactlyThat)
{
    EXPECT_EQ(Settings::refreshInterval(720.0), 720.0);
    EXPECT_EQ(Settings::refreshInterval(60.0), 1440.0);
    EXPECT_EQ(Settings::refreshInterval(1440.0), 1440.0);
    EXPECT_EQ(Settings::refreshInterval(720.0001), 1440.0);
    EXPECT_EQ(Settings::refreshInterval(std::nullopt), 1440.0);
}

TEST_F(SettingsTest, DatesAreTheDistantPastUnlessTheyAreDates)
{
    for (const char *json : {R"("yesterday")", R"("")", "1740819900", R"("2025-03-01")"}) {
        storeValue("lastCheck", json);
        EXPECT_EQ(Settings::lastCheck(), QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC)) << json;
        storeValue("lastManual", json);
        EXPECT_EQ(Settings::lastManual(), QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC)) << json;
    }
}

TEST_F(SettingsTest, DatesAreUtcWhateverTheirZoneWas)
{
    storeValue("lastCheck", R"("2025-03-01T10:05:00.5+01:00")");
    EXPECT_EQ(Settings::lastCheck(), instant().addMSecs(500));
    EXPECT_EQ(Settings::lastCheck().timeSpec(), Qt::UTC);
}

TEST_F(SettingsTest, HostsAreBare)
{
    const struct
    {
        const char *typed;
        QString host;
    } rows[] = {
        {"example.test", QStringLiteral("example.test")},
        {"https://example.test/", QStringLiteral("example.test")},
        {"http://https://x/ ", QStringLiteral("x")},
        {" /  /x:8443/path/ / ", QStringLiteral("x:8443/path")},
        {"httphttps://://x", QStringLiteral("x")},
        {"HTTPS://x", QStringLiteral("HTTPS://x")},
        {"\tx", QStringLiteral("\tx")},
        {"", QString()},
        {" / ", QString()},
        {"https://", QString()},
        {"a b", QStringLiteral("a b")},
    };
    for (const auto &row : rows) {
        Settings::setStoreHost(QString::fromLatin1(row.typed));
        EXPECT_EQ(Settings::storeHost(), row.host) << row.typed;
        EXPECT_EQ(stored(u"storeHost").toString(), QString::fromLatin1(row.typed));
        Settings::setImageryHost(QString::fromLatin1(row.typed));
        EXPECT_EQ(Settings::imageryHost(), row.host) << row.typed;
    }
}

TEST_F(SettingsTest, AttributionIsOnByDefaultInAKioskOnly)
{
    const struct
    {
        const char *json;
        bool shown;
    } rows[] = {
        {R"({"mode": "kiosk"})", true},
        {R"({"mode": "Kiosk"})", false},
        {R"({"mode": "wall"})", false},
        {R"({})", false},
        {R"({"mode": "kiosk", "attribution": false})", false},
        {R"({"mode": "kiosk", "attribution": "no"})", true},
        {R"({"mode": "wall", "attribution": true})", true},
        {R"({"attribution": 1})", true},
    };
    for (const auto &row : rows) {
        store(row.json);
        EXPECT_EQ(Settings::attribution(), row.shown) << row.json;
    }
}

TEST_F(SettingsTest, LoopsAreAtLeastOneAndFitAnInt)
{
    const struct
    {
        const char *json;
        int loops;
    } rows[] = {
        {"0", 1},   {"-3", 1},  {"1", 1},     {"2", 2},
        {"2.0", 2}, {"2.9", 2}, {"\"3\"", 1}, {"1e300", 2147483647},
    };
    for (const auto &row : rows) {
        storeValue("loops", row.json);
        EXPECT_EQ(Settings::loops(), row.loops) << row.json;
    }
}

TEST_F(SettingsTest, LoopsAreStoredAsAtLeastOne)
{
    for (const int loops : {-3, 0}) {
        Settings::setLoops(loops);
        EXPECT_EQ(stored(u"loops").toInt(), 1);
    }
    Settings::setLoops(4);
    EXPECT_EQ(stored(u"loops").toInt(), 4);
}

TEST_F(SettingsTest, DesktopIsActiveInDesktopModeOrByChoice)
{
    const struct
    {
        const char *json;
        bool active;
    } rows[] = {
        {R"({})", true},
        {R"({"mode": "desktop"})", true},
        {R"({"mode": "nonsense", "desktop": false})", true},
        {R"({"mode": "wall"})", false},
        {R"({"mode": "wall", "desktop": true})", true},
        {R"({"mode": "kiosk", "desktop": false})", false},
    };
    for (const auto &row : rows) {
        store(row.json);
        EXPECT_EQ(Settings::desktopActive(), row.active) << row.json;
    }
}

TEST_F(SettingsTest, DesktopCounterIsNeverNegativeAndLeavesRoomToCount)
{
    const struct
    {
        const char *json;
        qint64 counter;
    } rows[] = {{"7", 7}, {"-1", 0}, {"1e300", 9007199254740992}, {"\"7\"", 0}};
    for (const auto &row : rows) {
        storeValue("desktopCounter", row.json);
        EXPECT_EQ(Settings::desktopCounter(), row.counter) << row.json;
    }
}

TEST_F(SettingsTest, PreviousDesktopMayBeEmptyWithoutBeingAbsent)
{
    Settings::setPreviousDesktop(QStringList());
    EXPECT_EQ(Settings::previousDesktop(), QStringList());
    Settings::setPreviousDesktop(std::nullopt);
    EXPECT_EQ(Settings::previousDesktop(), std::nullopt);
    EXPECT_FALSE(Settings::d().contains(QStringLiteral("previousDesktop")));
}

TEST_F(SettingsTest, ShowAChangeByAnotherProcessAtOnce)
{
    EXPECT_EQ(Settings::mode(), Mode::desktop);
    store(R"({"mode": "wall"})");
    EXPECT_EQ(Settings::mode(), Mode::wall);
}

TEST_F(SettingsTest, TakeTheMachinesDefaults)
{
    m_home.write(m_home.path(QStringLiteral("etc/xdg/space.tarrow.corvella.json")),
                 R"({"mode": "kiosk", "offline": true})");
    EXPECT_EQ(Settings::mode(), Mode::kiosk);
    Settings::setMode(Mode::wall);
    EXPECT_EQ(Settings::mode(), Mode::wall);
    EXPECT_TRUE(Settings::offline());
}

TEST_F(SettingsTest, ProductsWrapRoundTheScreens)
{
    EXPECT_EQ(Settings::productList(0), QStringList{QStringLiteral("rainbow")});
    EXPECT_EQ(Settings::productList(1), QStringList{QStringLiteral("171")});
    EXPECT_EQ(Settings::productList(2), QStringList{QStringLiteral("304")});
    EXPECT_EQ(Settings::productList(3), QStringList{QStringLiteral("rainbow")});
}

TEST_F(SettingsTest, ProductsMayBeAnEmptyListWhichEnablesEveryScreenWithEveryProduct)
{
    Settings::setProducts({});
    EXPECT_TRUE(Settings::products().isEmpty());
    EXPECT_TRUE(Settings::productList(0).isEmpty());
    EXPECT_TRUE(Settings::isEnabled(0));
    EXPECT_EQ(Settings::productsInUse(), std::nullopt);
}

TEST_F(SettingsTest, IdsAreThePiecesOfAnEntry)
{
    const struct
    {
        const char *entry;
        QStringList ids;
    } rows[] = {
        {"171,193", {QStringLiteral("171"), QStringLiteral("193")}},
        {"171,,304", {QStringLiteral("171"), QStringLiteral("304")}},
        {"all,171", {QStringLiteral("171")}},
        {"171,off", {QStringLiteral("171")}},
        {" 171", {QStringLiteral(" 171")}},
        {"171,171", {QStringLiteral("171"), QStringLiteral("171")}},
        {"All,OFF", {QStringLiteral("All"), QStringLiteral("OFF")}},
        {" off", {QStringLiteral(" off")}},
        {"all", {}},
        {"off", {}},
        {"", {}},
        {",,,", {}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(Settings::ids(QString::fromLatin1(row.entry)), row.ids) << row.entry;
}

TEST_F(SettingsTest, AScreenIsOffOnlyForExactlyThatWord)
{
    Settings::setProducts({QStringLiteral("off"), QStringLiteral("171")});
    EXPECT_FALSE(Settings::isEnabled(0));
    EXPECT_TRUE(Settings::isEnabled(1));
    EXPECT_FALSE(Settings::isEnabled(4));
    EXPECT_TRUE(Settings::productList(4).isEmpty());
    for (const char *entry : {"Off", "off,171", "", "all", " off"}) {
        Settings::setProducts({QString::fromLatin1(entry)});
        EXPECT_TRUE(Settings::isEnabled(0)) << entry;
    }
}

TEST_F(SettingsTest, InUseIsWhatTheEnabledScreensNeed)
{
    const QString off = QStringLiteral("off");
    const QSet<QString> both{QStringLiteral("171"), QStringLiteral("193")};
    EXPECT_EQ(Settings::inUse({off, QStringLiteral("171,193")}), both);
    EXPECT_EQ(Settings::inUse({QStringLiteral("171"), QStringLiteral("193,171")}), both);
    EXPECT_EQ(Settings::inUse({off, QStringLiteral("all")}), std::nullopt);
    EXPECT_EQ(Settings::inUse({QStringLiteral("171"), QString()}), std::nullopt);
    EXPECT_EQ(Settings::inUse({off}), std::nullopt);
    EXPECT_EQ(Settings::inUse({}), std::nullopt);
}

TEST_F(SettingsTest, ProductsInUseAreThoseOfTheStoredLists)
{
    Settings::setProducts({QStringLiteral("off"), QStringLiteral("171,193")});
    EXPECT_EQ(Settings::productsInUse(),
              (QSet<QString>{QStringLiteral("171"), QStringLiteral("193")}));
}

TEST_F(SettingsTest, OpenAtLoginRegistersAndUnregisters)
{
    const QString entry = m_home.config(QStringLiteral("autostart/space.tarrow.corvella.desktop"));
    Settings::setOpenAtLogin(true);
    EXPECT_TRUE(Settings::openAtLogin());
    EXPECT_TRUE(QFile::exists(entry));
    Settings::setOpenAtLogin(false);
    EXPECT_FALSE(Settings::openAtLogin());
    EXPECT_FALSE(QFile::exists(entry));
}

TEST_F(SettingsTest, OpenAtLoginLogsAFailureAndStaysAsItWas)
{
    const QString folder = m_home.config(QStringLiteral("autostart"));
    m_home.write(folder, "in the way");
    test::CapturedLog log;
    Settings::setOpenAtLogin(true);
    EXPECT_THAT(log.messages(),
                testing::ElementsAre(
                    QStringLiteral("login item: %1/space.tarrow.corvella.desktop: Not a directory")
                        .arg(folder)));
    EXPECT_FALSE(Settings::openAtLogin());
}

} // namespace
} // namespace corvella

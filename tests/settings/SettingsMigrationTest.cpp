#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella {
namespace {

class SettingsMigrationTest : public testing::Test
{
protected:
    void storeOld(const QByteArray &json) const { m_home.write(m_oldPath, json); }
    QJsonObject settings() const { return Settings::d().values(); }
    static QJsonObject object(const QByteArray &json) { return parseDefaults(json).value(); }

    test::TemporaryHome m_home;
    QString m_path = m_home.config(QStringLiteral("space.tarrow.corvella.json"));
    QString m_oldPath = m_home.config(QStringLiteral("space.tarrow.corvella-wall.json"));
};

TEST_F(SettingsMigrationTest, TakesOverEverythingOfTheOlderProgram)
{
    storeOld(
        R"({"products": ["171", "off"], "offline": true, "refreshMinutes": 720, "idleSeconds": 600,
                 "unknown": 1})");
    Settings::migrate();
    EXPECT_EQ(settings(),
              object(R"({"products": ["171", "off"], "offline": true, "refreshMinutes": 720,
                                     "mode": "saver", "idleMinutes": 10, "migrated": true})"));
}

TEST_F(SettingsMigrationTest, OnlyMarksItselfDoneWhereThereIsNoOlderProgram)
{
    Settings::migrate();
    EXPECT_EQ(settings(), object(R"({"migrated": true})"));
}

TEST_F(SettingsMigrationTest, RunsOnce)
{
    Settings::migrate();
    storeOld(R"({"offline": true})");
    Settings::migrate();
    EXPECT_FALSE(Settings::offline());
}

TEST_F(SettingsMigrationTest, IsNotDoneAgainWhereTheNewDomainIsDamaged)
{
    storeOld(R"({"offline": false, "products": ["193"]})");
    m_home.write(m_path, R"({"offline": true, "migrated": true,, })");
    Settings::migrate();
    EXPECT_TRUE(Settings::offline());
    EXPECT_FALSE(Settings::d().contains(QStringLiteral("products")));
}

TEST_F(SettingsMigrationTest, TriesAgainWhenTheOldDomainCannotBeRead)
{
    ASSERT_TRUE(QDir().mkpath(m_oldPath));
    Settings::migrate();
    EXPECT_TRUE(settings().isEmpty());

    ASSERT_TRUE(QDir().rmdir(m_oldPath));
    storeOld(R"({"offline": true})");
    Settings::migrate();
    EXPECT_TRUE(Settings::offline());
    EXPECT_TRUE(settings().value(u"migrated").toBool());
}

TEST_F(SettingsMigrationTest, KeepsWhatTheUserSetUnlessTheOldProgramHadIt)
{
    Settings::setMode(Mode::wall);
    Settings::setOffline(true);
    storeOld(R"({"offline": false})");
    Settings::migrate();
    EXPECT_EQ(settings(), object(R"({"mode": "wall", "offline": false, "migrated": true})"));
}

TEST_F(SettingsMigrationTest, RoundsIdleSecondsToWholeMinutesOfAtLeastOne)
{
    const struct
    {
        const char *seconds;
        double minutes;
    } rows[] = {
        {"90", 2},    {"20", 1},  {"0.001", 1}, {"30", 1},     {"89.9", 1},
        {"149.9", 2}, {"150", 3}, {"300", 5},   {"7200", 120},
    };
    for (const auto &row : rows) {
        QFile::remove(m_path);
        storeOld("{\"idleSeconds\": " + QByteArray(row.seconds) + "}");
        Settings::migrate();
        EXPECT_EQ(Settings::mode(), Mode::saver) << row.seconds;
        EXPECT_EQ(Settings::idleMinutes(), row.minutes) << row.seconds;
    }
}

TEST_F(SettingsMigrationTest, LeavesTheModeAloneWithoutAnIdleTime)
{
    for (const char *seconds : {"0", "-90", "\"90\"", "true", "null"}) {
        QFile::remove(m_path);
        storeOld("{\"idleSeconds\": " + QByteArray(seconds) + "}");
        Settings::migrate();
        EXPECT_EQ(settings(), object(R"({"migrated": true})")) << seconds;
    }
}

TEST_F(SettingsMigrationTest, NormalisesWhatItCopies)
{
    const struct
    {
        const char *old;
        const char *now;
    } rows[] = {
        {R"({"products": "171"})", R"({"migrated": true})"},
        {R"({"products": ["171", 193]})", R"({"migrated": true})"},
        {R"({"products": []})", R"({"products": [], "migrated": true})"},
        {R"({"offline": 1})", R"({"offline": true, "migrated": true})"},
        {R"({"offline": "nonsense"})", R"({"offline": false, "migrated": true})"},
        {R"({"refreshMinutes": 60})", R"({"refreshMinutes": 1440, "migrated": true})"},
        {R"({"refreshMinutes": "720"})", R"({"refreshMinutes": 1440, "migrated": true})"},
    };
    for (const auto &row : rows) {
        QFile::remove(m_path);
        storeOld(row.old);
        Settings::migrate();
        EXPECT_EQ(settings(), object(row.now)) << row.old;
    }
}

TEST_F(SettingsMigrationTest, ChangesNothingOfTheOldDomain)
{
    const QByteArray old = R"({"offline": true})";
    storeOld(old);
    Settings::migrate();
    EXPECT_EQ(m_home.read(m_oldPath), old);
}

TEST_F(SettingsMigrationTest, TriesAgainWhenTheOldDomainIsDamagedAndLeavesItAsItIs)
{
    const QByteArray damaged = "{\"offline\": tr";
    storeOld(damaged);
    Settings::migrate();
    EXPECT_EQ(settings(), QJsonObject());
    EXPECT_EQ(
        test::TemporaryHome::read(m_home.config(QStringLiteral("space.tarrow.corvella-wall.json"))),
        damaged);
    storeOld(R"({"offline": true})");
    Settings::migrate();
    EXPECT_EQ(settings(), object(R"({"migrated": true, "offline": true})"));
}

} // namespace
} // namespace corvella

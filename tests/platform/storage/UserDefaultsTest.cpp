#include "platform/storage/UserDefaults.h"
#include "support/CapturedLog.h"
#include "support/FileSizeLimit.h"
#include "support/Replacements.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace corvella {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

QString key()
{
    return QStringLiteral("key");
}

class UserDefaultsTest : public testing::Test
{
protected:
    void store(const QByteArray &json) const { m_home.write(m_path, json); }
    void storeValue(const QByteArray &json) const { store("{\"key\": " + json + "}"); }

    // The files that were set aside, oldest first.
    QStringList setAside() const
    {
        return QDir(QFileInfo(m_path).path())
            .entryList({QStringLiteral("domain.json.unreadable-*")}, QDir::Files, QDir::Name);
    }

    // An hour on, when nobody has written for long what a test has just stored.
    static qint64 laterNs() { return DefaultsReader::systemClock() + 3'600'000'000'000; }

    test::TemporaryHome m_home;
    QString m_path = m_home.config(QStringLiteral("domain.json"));
    QString m_machinePath = m_home.path(QStringLiteral("etc/xdg/domain.json"));
    UserDefaults m_defaults{QStringLiteral("domain"), {}, [] {}, laterNs};
};

TEST_F(UserDefaultsTest, LiesInTheConfigFolderOfTheEnvironment)
{
    EXPECT_EQ(m_defaults.filePath(), m_path);
    EXPECT_EQ(UserDefaults(QStringLiteral("space.tarrow.corvella")).filePath(),
              m_home.config(QStringLiteral("space.tarrow.corvella.json")));
}

TEST_F(UserDefaultsTest, HasNoValuesWithoutAFile)
{
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_TRUE(m_defaults.value(key()).isUndefined());
    EXPECT_TRUE(m_defaults.values().isEmpty());
    EXPECT_TRUE(m_defaults.isReadable());
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(m_path).path())) << "looking makes nothing";
}

// What each typed getter makes of each kind of stored value.
TEST_F(UserDefaultsTest, GivesValuesOfTheAskedTypeOnly)
{
    const QDateTime instant(QDate(2025, 3, 1), QTime(9, 5), Qt::UTC);
    const QStringList list{QStringLiteral("a"), QString()};
    const auto none = std::nullopt;
    const struct
    {
        const char *json;
        std::optional<QString> string;
        std::optional<bool> boolean;
        std::optional<double> number;
        std::optional<qint64> integer;
        std::optional<QDateTime> date;
        std::optional<QStringList> stringList;
    } rows[] = {
        {R"("text")", QStringLiteral("text"), none, none, none, none, none},
        {R"("")", QString(), none, none, none, none, none},
        {R"("true")", QStringLiteral("true"), none, none, none, none, none},
        {R"("720")", QStringLiteral("720"), none, none, none, none, none},
        {R"("2025-03-01T09:05:00Z")", QStringLiteral("2025-03-01T09:05:00Z"), none, none, none,
         instant, none},
        {"true", none, true, none, none, none, none},
        {"false", none, false, none, none, none, none},
        {"1", none, true, 1.0, 1, none, none},
        {"0", none, false, 0.0, 0, none, none},
        {"1.0", none, true, 1.0, 1, none, none},
        {"2", none, none, 2.0, 2, none, none},
        {"2.9", none, none, 2.9, 2, none, none},
        {"-2.9", none, none, -2.9, -2, none, none},
        {"1e300", none, none, 1e300, INT64_MAX, none, none},
        {"-1e300", none, none, -1e300, INT64_MIN, none, none},
        {"9007199254740993", none, none, 9007199254740992.0, 9007199254740993, none, none},
        {R"(["a", ""])", none, none, none, none, none, list},
        {"[]", none, none, none, none, none, QStringList()},
        {R"(["a", 1])", none, none, none, none, none, none},
        {R"([["a"]])", none, none, none, none, none, none},
        {"{}", none, none, none, none, none, none},
        {"null", none, none, none, none, none, none},
    };
    for (const auto &row : rows) {
        storeValue(row.json);
        EXPECT_EQ(m_defaults.string(key()), row.string) << row.json;
        EXPECT_EQ(m_defaults.boolean(key()), row.boolean) << row.json;
        EXPECT_EQ(m_defaults.number(key()), row.number) << row.json;
        EXPECT_EQ(m_defaults.integer(key()), row.integer) << row.json;
        EXPECT_EQ(m_defaults.date(key()), row.date) << row.json;
        EXPECT_EQ(m_defaults.stringList(key()), row.stringList) << row.json;
    }
}

TEST_F(UserDefaultsTest, CountsEveryValueButNullAsPresent)
{
    for (const char *json : {R"("")", "false", "0", "[]", "{}"}) {
        storeValue(json);
        EXPECT_TRUE(m_defaults.contains(key())) << json;
    }
    storeValue("null");
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_TRUE(m_defaults.values().isEmpty());
}

TEST_F(UserDefaultsTest, StoresEachTypeAsDocumented)
{
    const QDateTime instant(QDate(2025, 3, 1), QTime(10, 5), Qt::OffsetFromUTC, 3600);
    EXPECT_TRUE(m_defaults.setString(QStringLiteral("string"), QStringLiteral("\u00C5")));
    EXPECT_TRUE(m_defaults.setBoolean(QStringLiteral("boolean"), true));
    EXPECT_TRUE(m_defaults.setNumber(QStringLiteral("number"), 7.5));
    EXPECT_TRUE(m_defaults.setInteger(QStringLiteral("integer"), 9007199254740993));
    EXPECT_TRUE(m_defaults.setDate(QStringLiteral("date"), instant));
    EXPECT_TRUE(m_defaults.setStringList(QStringLiteral("list"), {QStringLiteral("a"), QString()}));

    EXPECT_EQ(m_home.read(m_path),
              QByteArray("{\n"
                         "    \"boolean\": true,\n"
                         "    \"date\": \"2025-03-01T09:05:00Z\",\n"
                         "    \"integer\": 9007199254740993,\n"
                         "    \"list\": [\n"
                         "        \"a\",\n"
                         "        \"\"\n"
                         "    ],\n"
                         "    \"number\": 7.5,\n"
                         "    \"string\": \"\u00C5\"\n"
                         "}\n"));
}

TEST_F(UserDefaultsTest, CannotStoreWhatIsNoNumber)
{
    m_defaults.setNumber(key(), 5);
    m_defaults.setNumber(key(), std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(m_defaults.contains(key()));
    m_defaults.setNumber(key(), std::numeric_limits<double>::infinity());
    EXPECT_FALSE(m_defaults.contains(key()));
}

TEST_F(UserDefaultsTest, ChangesOneKeyAndKeepsWhatItDoesNotKnow)
{
    store(R"({"ours": 1, "theirs": {"deep": [1, 2.5, null, "x"]}, "unset": null})");
    EXPECT_TRUE(m_defaults.setInteger(QStringLiteral("ours"), 2));
    EXPECT_EQ(
        parseDefaults(m_home.read(m_path)),
        parseDefaults(R"({"ours": 2, "theirs": {"deep": [1, 2.5, null, "x"]}, "unset": null})"));
}

TEST_F(UserDefaultsTest, LeavesTheFileAloneWhenNothingChanges)
{
    store(R"({"key":   5})");
    EXPECT_TRUE(m_defaults.setInteger(key(), 5));
    EXPECT_TRUE(m_defaults.remove(QStringLiteral("absent")));
    EXPECT_EQ(m_home.read(m_path), QByteArray(R"({"key":   5})"));
}

TEST_F(UserDefaultsTest, RemovesAKey)
{
    store(R"({"key": 5, "other": 6})");
    EXPECT_TRUE(m_defaults.remove(key()));
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_EQ(m_defaults.integer(QStringLiteral("other")), 6);
}

TEST_F(UserDefaultsTest, SavesTogetherWhatIsChangedTogether)
{
    store(R"({"gone": 1, "other": 2})");
    test::Replacements replacements(m_path);
    EXPECT_TRUE(m_defaults.saveTogether([this] {
        EXPECT_TRUE(m_defaults.setBoolean(key(), false));
        EXPECT_TRUE(m_defaults.setBoolean(key(), true));
        EXPECT_TRUE(m_defaults.remove(QStringLiteral("gone")));
        // Within it they count already, for whoever asks on this thread.
        EXPECT_EQ(m_defaults.boolean(key()), true);
        EXPECT_FALSE(m_defaults.contains(QStringLiteral("gone")));
        EXPECT_EQ(m_defaults.values().size(), 2);
        std::thread([this] {
            EXPECT_FALSE(m_defaults.contains(key()));
            EXPECT_TRUE(m_defaults.setInteger(QStringLiteral("theirs"), 3));
        }).join();
        EXPECT_TRUE(m_defaults.saveTogether(
            [this] { EXPECT_TRUE(m_defaults.setInteger(QStringLiteral("inner"), 4)); }));
    }));
    EXPECT_EQ(m_defaults.values(),
              (QJsonObject{{key(), true},
                           {QStringLiteral("inner"), 4},
                           {QStringLiteral("other"), 2},
                           {QStringLiteral("theirs"), 3}}));
    EXPECT_EQ(replacements.count(), 2) << "the other thread's, and ours";
    EXPECT_TRUE(m_defaults.setInteger(key(), 5)) << "by itself again";
    EXPECT_EQ(replacements.count(), 3);
    EXPECT_TRUE(m_defaults.saveTogether([] {}));
    EXPECT_EQ(replacements.count(), 3) << "nothing to save";
}

TEST_F(UserDefaultsTest, SeesAnEditByHandAtOnce)
{
    store(R"({"key": 1})");
    EXPECT_EQ(m_defaults.integer(key()), 1);
    store(R"({"key": 2})");
    EXPECT_EQ(m_defaults.integer(key()), 2);
    ASSERT_TRUE(QFile::remove(m_path));
    EXPECT_EQ(m_defaults.integer(key()), std::nullopt);
}

TEST_F(UserDefaultsTest, SeesTheWriteOfAnotherStoreAtOnceAndDoesNotUndoIt)
{
    UserDefaults other(QStringLiteral("domain"));
    m_defaults.setInteger(QStringLiteral("mine"), 1);
    other.setInteger(QStringLiteral("others"), 2);
    m_defaults.setInteger(QStringLiteral("mine"), 3);
    EXPECT_EQ(m_defaults.integer(QStringLiteral("others")), 2);
    EXPECT_EQ(other.integer(QStringLiteral("mine")), 3);
}

TEST_F(UserDefaultsTest, WatchesTheUsersFileAndTheMachines)
{
    DefaultsWatch watch = m_defaults.watch();
    EXPECT_TRUE(watch.mayHaveChanged()) << "at first nobody knows";
    EXPECT_FALSE(watch.mayHaveChanged());
    m_home.write(m_machinePath, R"({"key": 1})");
    EXPECT_TRUE(watch.mayHaveChanged());
    ASSERT_TRUE(QFile::remove(m_machinePath));
    EXPECT_TRUE(watch.mayHaveChanged());
    EXPECT_FALSE(watch.mayHaveChanged());
    store(R"({"key": 2})");
    EXPECT_TRUE(watch.mayHaveChanged());
}

TEST_F(UserDefaultsTest, FallsBackToTheMachinesValue)
{
    m_home.write(m_machinePath, R"({"key": 1, "machine": 2})");
    store(R"({"key": 3, "user": 4})");
    EXPECT_EQ(m_defaults.integer(key()), 3);
    EXPECT_EQ(m_defaults.integer(QStringLiteral("machine")), 2);
    EXPECT_EQ(m_defaults.values(), parseDefaults(R"({"key": 3, "machine": 2, "user": 4})"));
}

TEST_F(UserDefaultsTest, AsksTheMachinesFoldersInTheirOrder)
{
    qputenv("XDG_CONFIG_DIRS",
            QFile::encodeName(m_home.path(QStringLiteral("first")) + u':'
                              + m_home.path(QStringLiteral("second"))));
    m_home.write(m_home.path(QStringLiteral("first/domain.json")), R"({"key": 1})");
    m_home.write(m_home.path(QStringLiteral("second/domain.json")), R"({"key": 2, "other": 3})");
    EXPECT_EQ(m_defaults.integer(key()), 1);
    EXPECT_EQ(m_defaults.integer(QStringLiteral("other")), 3);
}

TEST_F(UserDefaultsTest, ShowsTheMachinesValueAgainWhenTheUsersIsRemoved)
{
    m_home.write(m_machinePath, R"({"key": 1})");
    m_defaults.setInteger(key(), 2);
    m_defaults.remove(key());
    EXPECT_EQ(m_defaults.integer(key()), 1);
    EXPECT_EQ(m_home.read(m_machinePath), QByteArray(R"({"key": 1})"));
}

TEST_F(UserDefaultsTest, LetsAUsersValueOfTheWrongTypeHideTheMachinesButNotANull)
{
    m_home.write(m_machinePath, R"({"key": 1})");
    storeValue(R"("text")");
    EXPECT_EQ(m_defaults.integer(key()), std::nullopt);
    storeValue("null");
    EXPECT_EQ(m_defaults.integer(key()), 1);
}

TEST_F(UserDefaultsTest, StoresTheUsersValueEvenWhereTheMachinesIsEqual)
{
    m_home.write(m_machinePath, R"({"key": 1})");
    m_defaults.setInteger(key(), 1);
    m_home.write(m_machinePath, R"({"key": 2})");
    EXPECT_EQ(m_defaults.integer(key()), 1);
}

TEST_F(UserDefaultsTest, IgnoresADamagedMachineFileAndLeavesItWhereItIs)
{
    m_home.write(m_machinePath, "not json");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(
            QStringLiteral("settings: ignoring %1 (not a JSON object)").arg(m_machinePath)));
    EXPECT_EQ(m_home.read(m_machinePath), QByteArray("not json"));
}

TEST_F(UserDefaultsTest, SetsATornFileAsideWhenReading)
{
    store(R"({"key": 1, "oth)");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.contains(key()));

    ASSERT_EQ(setAside().size(), 1);
    EXPECT_EQ(m_home.read(m_home.config(setAside().first())), QByteArray(R"({"key": 1, "oth)"));
    EXPECT_FALSE(QFileInfo::exists(m_path));
    EXPECT_THAT(log.messages(),
                ElementsAre(QStringLiteral("settings: set %1 aside as %2 (not a JSON object)")
                                .arg(m_path, setAside().first())));
}

TEST_F(UserDefaultsTest, SetsATornFileAsideBeforeWriting)
{
    store("[1, 2]");
    test::CapturedLog log;
    EXPECT_TRUE(m_defaults.setInteger(key(), 5));
    ASSERT_EQ(setAside().size(), 1);
    EXPECT_EQ(m_home.read(m_home.config(setAside().first())), QByteArray("[1, 2]"));
    EXPECT_EQ(m_defaults.values(), parseDefaults(R"({"key": 5})"));
    EXPECT_EQ(log.messages().size(), 1);
}

TEST_F(UserDefaultsTest, NamesAFileThatWasSetAsideByTheTimeInUtc)
{
    store("");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    ASSERT_EQ(setAside().size(), 1);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^domain\\.json\\.unreadable-\\d{8}T\\d{6}Z$"))
                    .match(setAside().first())
                    .hasMatch());
}

// For what must not happen by mistake.
class SettingsThatAreUnknown : public UserDefaultsTest
{
protected:
    const QJsonObject m_whenUnknown = parseDefaults(R"({"careful": true, "key": 1})").value();
    UserDefaults m_careful{QStringLiteral("domain"), m_whenUnknown, [] {}, laterNs};
    test::CapturedLog m_log;
};

TEST_F(SettingsThatAreUnknown, HaveSomethingElseInTheirPlace)
{
    store(R"({"careful": false,, "other": 2})");
    EXPECT_EQ(m_careful.values(), m_whenUnknown);
    EXPECT_EQ(setAside().size(), 1);
    EXPECT_EQ(m_defaults.values(), m_whenUnknown) << "whoever reads them later, too";
    EXPECT_TRUE(m_careful.setBoolean(QStringLiteral("careful"), false));
    EXPECT_EQ(m_careful.boolean(QStringLiteral("careful")), false);
}

TEST_F(SettingsThatAreUnknown, AreReplacedBeforeAChange)
{
    store("torn");
    EXPECT_TRUE(m_careful.setInteger(QStringLiteral("other"), 3));
    EXPECT_EQ(parseDefaults(m_home.read(m_path)),
              parseDefaults(R"({"careful": true, "key": 1, "other": 3})"));
}

TEST_F(SettingsThatAreUnknown, AreKeptWhereASymbolicLinkPointsToThem)
{
    const QString real = m_home.path(QStringLiteral("dotfiles/corvella.json"));
    m_home.write(real, "torn");
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    ASSERT_TRUE(QFile::link(real, m_path));
    EXPECT_EQ(m_careful.values(), m_whenUnknown);
    ASSERT_EQ(setAside().size(), 1);
    EXPECT_EQ(m_home.read(m_home.config(setAside().first())), QByteArray("torn"));
    EXPECT_EQ(parseDefaults(m_home.read(real)), m_whenUnknown);
}

TEST_F(SettingsThatAreUnknown, AreAsTheMachineHasThem)
{
    m_home.write(m_machinePath, R"({"careful": false})");
    store("torn");
    EXPECT_EQ(m_careful.boolean(QStringLiteral("careful")), false);
    EXPECT_EQ(m_careful.integer(key()), 1);
}

TEST_F(SettingsThatAreUnknown, HoldWhileTheirFileCannotBeRead)
{
    ASSERT_TRUE(QDir().mkpath(m_path)); // a folder
    EXPECT_EQ(m_careful.boolean(QStringLiteral("careful")), true);
    EXPECT_FALSE(m_careful.isReadable());
    ASSERT_TRUE(QDir().rmdir(m_path));
    EXPECT_FALSE(m_careful.contains(QStringLiteral("careful"))) << "none were ever stored";
}

TEST_F(SettingsThatAreUnknown, AreComplainedOfOnceWhileTheDiskIsFull)
{
    const QJsonObject much{{key(), QString(20'000, u'x')}};
    const UserDefaults defaults(
        QStringLiteral("domain"), much, [] {}, laterNs);
    store("torn");
    const FileStamp before = stampOf(m_path);
    const QString other = m_home.config(QStringLiteral("other"));
    do
        m_home.write(other, {});
    while (stampOf(other).changedNs == before.changedNs); // what touches it from now on shows
    {
        const test::FileSizeLimit fullDisk(10'000);
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(defaults.values(), much);
    }
    EXPECT_THAT(
        m_log.messages(),
        ElementsAre(QStringLiteral("settings: could not save %1 (File too large)").arg(m_path),
                    QStringLiteral("settings: ignoring %1 (not a JSON object)").arg(m_path)));
    EXPECT_TRUE(setAside().isEmpty());
    EXPECT_EQ(m_home.read(m_path), QByteArray("torn"));
    store("torn again");
    EXPECT_EQ(defaults.values(), much);
    EXPECT_EQ(setAside().size(), 1) << "room again";
}

TEST_F(UserDefaultsTest, KeepsEveryFileThatItSetAside)
{
    test::CapturedLog log;
    for (const char *torn : {"one", "two", "three"}) {
        store(torn);
        EXPECT_FALSE(m_defaults.contains(key()));
    }
    QStringList contents;
    for (const QString &name : setAside())
        contents << QString::fromUtf8(m_home.read(m_home.config(name)));
    EXPECT_THAT(contents,
                testing::UnorderedElementsAre(QStringLiteral("one"), QStringLiteral("two"),
                                              QStringLiteral("three")));
}

TEST_F(UserDefaultsTest, SetsAFileAsideThatIsFarTooLarge)
{
    store("{\"key\": \"" + QByteArray(kLargestDefaultsBytes, 'x') + "\"}");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_EQ(setAside().size(), 1);
    EXPECT_TRUE(log.messages().value(0).endsWith(u"(too large for settings)"));
}

TEST_F(UserDefaultsTest, WritesNoFileThatItWouldNotReadAgain)
{
    m_defaults.setInteger(key(), 5);
    test::CapturedLog log;
    EXPECT_FALSE(
        m_defaults.setString(QStringLiteral("large"), QString(kLargestDefaultsBytes, u'x')));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(QStringLiteral("settings: could not save %1 (File too large)").arg(m_path)));
    EXPECT_EQ(m_defaults.values(), parseDefaults(R"({"key": 5})"));
}

// Editors, shells and copies over a network empty the file before they write it again.
class SettingsInTheMaking : public SettingsThatAreUnknown
{
protected:
    qint64 m_ageNs = 0; // of the user's file
    std::function<void()> m_meanwhile = [] {};
    UserDefaults m_store{QStringLiteral("domain"), m_whenUnknown, [this] { m_meanwhile(); },
                         [this] { return stampOf(m_path).modifiedNs + m_ageNs; }};
};

TEST_F(SettingsInTheMaking, HoldAsTheyWereUntilTheyAreWhole)
{
    storeValue("2");
    EXPECT_EQ(m_store.integer(key()), 2);
    for (const char *torn : {"", R"({"key": 3, "ot)"}) {
        store(torn);
        EXPECT_EQ(m_store.values(), parseDefaults(R"({"key": 2})"));
        EXPECT_FALSE(m_store.isReadable());
    }
    storeValue("3");
    EXPECT_EQ(m_store.integer(key()), 3);
    EXPECT_TRUE(setAside().isEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(SettingsInTheMaking, AreUnknownToWhoNeverSawThemWhole)
{
    store("");
    EXPECT_EQ(m_store.values(), m_whenUnknown);
    EXPECT_TRUE(setAside().isEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
    EXPECT_EQ(m_home.read(m_path), QByteArray());
}

TEST_F(SettingsInTheMaking, AreDamagedOnceTheyAreLeftAlone)
{
    storeValue("2");
    EXPECT_EQ(m_store.integer(key()), 2);
    store("torn");
    m_ageNs = 4'999'999'999;
    EXPECT_EQ(m_store.integer(key()), 2);
    EXPECT_TRUE(setAside().isEmpty());
    m_ageNs = 5'000'000'000;
    EXPECT_EQ(m_store.values(), m_whenUnknown);
    EXPECT_EQ(setAside().size(), 1);
}

TEST_F(SettingsInTheMaking, AreAFewSecondsOldByAClockThatMayBeABitBehind)
{
    store("torn");
    m_ageNs = -4'999'999'999;
    EXPECT_EQ(m_store.values(), m_whenUnknown);
    EXPECT_TRUE(setAside().isEmpty());
    m_ageNs = -5'000'000'000;
    EXPECT_EQ(m_store.values(), m_whenUnknown);
    EXPECT_EQ(setAside().size(), 1);
}

TEST_F(SettingsInTheMaking, HaveAChangeWaitForThem)
{
    m_meanwhile = [this] { store(R"({"other": 2})"); };
    store("");
    EXPECT_TRUE(m_store.setInteger(key(), 1));
    EXPECT_EQ(parseDefaults(m_home.read(m_path)), parseDefaults(R"({"key": 1, "other": 2})"));
    EXPECT_TRUE(setAside().isEmpty());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(SettingsInTheMaking, HaveNoChangeWaitForEver)
{
    int looks = 0;
    m_meanwhile = [this, &looks] { store(QByteArray(++looks, '[')); };
    store("");
    EXPECT_FALSE(m_store.setInteger(key(), 1));
    EXPECT_EQ(looks, 20);
    EXPECT_EQ(m_home.read(m_path), QByteArray(20, '['));
    EXPECT_TRUE(setAside().isEmpty());
    EXPECT_THAT(
        m_log.messages(),
        ElementsAre(QStringLiteral("settings: could not save %1 (another program is writing it)")
                        .arg(m_path)));
}

TEST_F(SettingsInTheMaking, OfTheMachineHoldAsTheyWere)
{
    store("{}");
    m_home.write(m_machinePath, R"({"key": 2})");
    EXPECT_EQ(m_store.integer(key()), 2);
    m_home.write(m_machinePath, "");
    EXPECT_EQ(m_store.integer(key()), 2);
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(UserDefaultsTest, WritesThroughASymbolicLink)
{
    const QString real = m_home.path(QStringLiteral("dotfiles/corvella.json"));
    m_home.write(real, R"({"key": 1})");
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_path).path()));
    ASSERT_TRUE(QFile::link(real, m_path));
    EXPECT_TRUE(m_defaults.setInteger(key(), 2));
    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_EQ(parseDefaults(m_home.read(real)), parseDefaults(R"({"key": 2})"));
}

TEST_F(UserDefaultsTest, KeepsTheOldFileWhenTheDiskIsFull)
{
    m_defaults.setInteger(key(), 5);
    const QByteArray before = m_home.read(m_path);
    test::CapturedLog log;
    {
        const test::FileSizeLimit fullDisk(1000);
        EXPECT_FALSE(m_defaults.setString(QStringLiteral("long"), QString(2000, u'x')));
    }
    EXPECT_THAT(
        log.messages(),
        ElementsAre(QStringLiteral("settings: could not save %1 (File too large)").arg(m_path)));
    EXPECT_EQ(m_home.read(m_path), before);
    EXPECT_TRUE(m_defaults.setString(QStringLiteral("long"), QString(2000, u'x'))) << "room again";
}

TEST_F(UserDefaultsTest, SurvivesADirectoryInThePlaceOfTheFile)
{
    ASSERT_TRUE(QDir().mkpath(m_path));
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.isReadable());
    EXPECT_FALSE(m_defaults.setInteger(key(), 5));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(QStringLiteral("settings: ignoring %1 (Is a directory)").arg(m_path),
                    QStringLiteral("settings: could not save %1 (Is a directory)").arg(m_path)));
    EXPECT_TRUE(QFileInfo(m_path).isDir());
}

TEST_F(UserDefaultsTest, SurvivesAFileInThePlaceOfTheFolder)
{
    m_home.write(m_home.path(QStringLiteral(".config")), "in the way");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.setInteger(key(), 5));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(QStringLiteral("settings: could not save %1 (Not a directory)").arg(m_path)));
    EXPECT_EQ(m_home.read(m_home.path(QStringLiteral(".config"))), QByteArray("in the way"));
}

TEST_F(UserDefaultsTest, SurvivesAFolderThatTakesNoFiles)
{
    qputenv("XDG_CONFIG_HOME", "/proc/self");
    test::CapturedLog log;
    EXPECT_FALSE(m_defaults.contains(key()));
    EXPECT_FALSE(m_defaults.setInteger(key(), 5));
    ASSERT_EQ(log.messages().size(), 1);
    EXPECT_TRUE(
        log.messages().first().startsWith(u"settings: could not save /proc/self/domain.json ("));
}

TEST_F(UserDefaultsTest, MakesItsFolderForTheUserAlone)
{
    m_defaults.setInteger(key(), 5);
    EXPECT_EQ(QFileInfo(QFileInfo(m_path).path()).permissions() & QFileDevice::Permissions(0x0077),
              0);
}

} // namespace
} // namespace corvella

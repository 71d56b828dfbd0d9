#include "platform/storage/DefaultsFile.h"
#include "support/TemporaryHome.h"

#include <QFile>

#include <gtest/gtest.h>
#include <limits>

namespace corvella {
namespace {

TEST(ParseDefaultsTest, TakesOneJsonObject)
{
    EXPECT_EQ(parseDefaults("{}"), QJsonObject());
    EXPECT_EQ(parseDefaults(" {\"mode\": \"wall\"}\n")->value(u"mode").toString(),
              QStringLiteral("wall"));
    EXPECT_EQ(parseDefaults("\xEF\xBB\xBF{\"a\": 1}")->value(u"a").toInt(), 1)
        << "with a byte order mark";
}

TEST(ParseDefaultsTest, TakesNothingElse)
{
    const QByteArray rows[] = {
        "",
        " ",
        "null",
        "[]",
        "[{}]",
        "\"text\"",
        "{\"mode\": \"wa",
        "{\"mode\": \"wall\"",
        "{\"mode\": \"wall\"} {}",
        "{mode: wall}",
        "{\"a\": \xFF\xFE}",
        QByteArray("{\"a\": 1}\0\0\0", 11),
        QByteArray(100'000, '['),
        QByteArray("{\"a\":").repeated(20'000),
        QByteArray(4096, '\0'),
    };
    for (const QByteArray &row : rows)
        EXPECT_FALSE(parseDefaults(row)) << row.left(40).constData();
}

TEST(SerializeDefaultsTest, WritesWhatItReads)
{
    const QJsonObject settings{{QStringLiteral("text"), QStringLiteral("\u00C5\n\"")},
                               {QStringLiteral("large"), qint64(9007199254740993)},
                               {QStringLiteral("small"), 0.1}};
    EXPECT_EQ(parseDefaults(serializeDefaults(settings)), settings);
}

// A reader whose clock is far ahead of the files, so that all of them count as settled and may be
// remembered; and one for which none is.
class DefaultsReaderTest : public testing::TestWithParam<qint64>
{
protected:
    double valueOfA() { return m_reader.read(m_path).settings.value(u"a").toDouble(-1); }

    test::TemporaryHome m_home;
    QString m_path = m_home.config(QStringLiteral("domain.json"));
    DefaultsReader m_reader{[] { return GetParam(); }};
};

INSTANTIATE_TEST_SUITE_P(Clocks, DefaultsReaderTest,
                         testing::Values(std::numeric_limits<qint64>::max(), 0),
                         [](const auto &clock) { return clock.param == 0 ? "Behind" : "Ahead"; });

TEST_P(DefaultsReaderTest, SeesAFileAppearAndVanish)
{
    EXPECT_EQ(m_reader.read(m_path).state, DefaultsState::missing);
    m_home.write(m_path, R"({"a": 1})");
    EXPECT_EQ(valueOfA(), 1);
    EXPECT_EQ(valueOfA(), 1) << "the same again";
    ASSERT_TRUE(QFile::remove(m_path));
    EXPECT_EQ(m_reader.read(m_path).state, DefaultsState::missing);
}

TEST_P(DefaultsReaderTest, SeesAFileThatWasReplacedByOneOfTheSameSize)
{
    m_home.write(m_path, R"({"a": 1})");
    EXPECT_EQ(valueOfA(), 1);
    const QString other = m_path + QStringLiteral(".new");
    m_home.write(other, R"({"a": 2})");
    ASSERT_TRUE(QFile::remove(m_path));
    ASSERT_TRUE(QFile::rename(other, m_path));
    EXPECT_EQ(valueOfA(), 2);
}

TEST_P(DefaultsReaderTest, SeesAnEditThatChangedTheSize)
{
    m_home.write(m_path, R"({"a": 1})");
    EXPECT_EQ(valueOfA(), 1);
    m_home.write(m_path, R"({"a": 23})");
    EXPECT_EQ(valueOfA(), 23);
}

TEST_P(DefaultsReaderTest, TellsDamagedFromUnreadable)
{
    m_home.write(m_path, "{");
    EXPECT_EQ(m_reader.read(m_path).state, DefaultsState::damaged);
    m_home.write(m_path, QByteArray(kLargestDefaultsBytes + 1, ' '));
    EXPECT_EQ(m_reader.read(m_path).state, DefaultsState::damaged);
    EXPECT_EQ(m_reader.read(m_home.config({})).state, DefaultsState::unreadable);
}

TEST_P(DefaultsReaderTest, HasItsWatchSeeEveryChangeOfAnyFile)
{
    const QString below = m_home.config(QStringLiteral("machine.json"));
    DefaultsWatch watch(m_reader, {m_path, below});
    EXPECT_TRUE(watch.mayHaveChanged()) << "nothing is known yet";
    m_home.write(m_path, R"({"a": 1})");
    EXPECT_TRUE(watch.mayHaveChanged());
    m_home.write(m_path, R"({"a": 23})");
    EXPECT_TRUE(watch.mayHaveChanged());
    m_home.write(below, R"({"a": 1})");
    EXPECT_TRUE(watch.mayHaveChanged());
    ASSERT_TRUE(QFile::remove(m_path));
    EXPECT_TRUE(watch.mayHaveChanged());
}

TEST(DefaultsWatchTest, IsCalmWhileNothingChanges)
{
    const test::TemporaryHome home;
    const QString path = home.config(QStringLiteral("domain.json"));
    DefaultsReader reader([] { return std::numeric_limits<qint64>::max(); });
    DefaultsWatch watch(reader, {path, home.config(QStringLiteral("missing.json"))});
    home.write(path, R"({"a": 1})");
    EXPECT_TRUE(watch.mayHaveChanged());
    EXPECT_FALSE(watch.mayHaveChanged());
    EXPECT_FALSE(watch.mayHaveChanged());
}

// Another change within the same tick of the file system's clock could leave the stamp as it is.
TEST(DefaultsWatchTest, TrustsNoFileThatHasJustBeenWritten)
{
    const test::TemporaryHome home;
    const QString path = home.config(QStringLiteral("domain.json"));
    DefaultsReader reader([] { return 0; });
    DefaultsWatch watch(reader, {path});
    home.write(path, R"({"a": 1})");
    EXPECT_TRUE(watch.mayHaveChanged());
    EXPECT_TRUE(watch.mayHaveChanged());
}

// It may be readable the next time, with the stamp that it has.
TEST(DefaultsWatchTest, TrustsNoFileThatCannotBeRead)
{
    const test::TemporaryHome home;
    home.write(home.config(QStringLiteral("domain.json/folder")), {});
    DefaultsReader reader([] { return std::numeric_limits<qint64>::max(); });
    DefaultsWatch watch(reader, {home.config(QStringLiteral("domain.json"))});
    EXPECT_TRUE(watch.mayHaveChanged());
    EXPECT_TRUE(watch.mayHaveChanged());
}

// The stamp of such a file often stays as it was: same inode, same size, within one tick of the
// file system's clock.
TEST(DefaultsReaderWithTheRealClockTest, SeesEveryEditInPlaceHoweverQuick)
{
    const test::TemporaryHome home;
    const QString path = home.config(QStringLiteral("domain.json"));
    DefaultsReader reader;
    for (int i = 100; i < 300; ++i) {
        home.write(path, "{\"a\": " + QByteArray::number(i) + "}");
        ASSERT_EQ(reader.read(path).settings.value(u"a").toInt(), i);
    }
}

} // namespace
} // namespace corvella

#include "cache/CacheFolder.h"
#include "cache/Manifest.h"
#include "platform/storage/OrdinaryUser.h"
#include "support/CapturedLog.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using testing::ElementsAre;

QJsonObject object(const QByteArray &json)
{
    return parseManifest('[' + json + ']').value(0);
}

class CacheFolderTest : public testing::Test
{
protected:
    void store(const QString &name, const QByteArray &content = "content") const
    {
        m_home.write(m_folder.path() + u'/' + name, content);
    }
    void storeManifest(const QByteArray &json) const
    {
        store(QStringLiteral("manifest.json"), json);
    }
    QByteArray stored(const QString &name) const
    {
        return m_home.read(m_folder.path() + u'/' + name);
    }

    // The ids of the usable entries.
    QStringList ids() const
    {
        QStringList ids;
        for (const QJsonObject &entry : m_folder.entries())
            ids << entry.value(u"id").toString();
        return ids;
    }

    test::TemporaryHome m_home;
    CacheFolder m_folder{m_home.cache(QStringLiteral("Corvella"))};
};

TEST_F(CacheFolderTest, KeepsItsManifestInTheFolder)
{
    EXPECT_EQ(m_folder.manifestFile(), m_home.cache(QStringLiteral("Corvella/manifest.json")));
}

TEST_F(CacheFolderTest, ListsTheEntriesWhoseClipIsThereInTheirOrder)
{
    storeManifest(R"([{"id": "304", "video": "304.mp4"}, {"id": "171", "video": "171.mp4"},
                      {"id": "94", "video": "94.mp4"}])");
    store(QStringLiteral("94.mp4"));
    store(QStringLiteral("304.mp4"));
    EXPECT_EQ(ids(), (QStringList{QStringLiteral("304"), QStringLiteral("94")}));
}

TEST_F(CacheFolderTest, ForgetsAnEntryWhoseClipWasDeleted)
{
    storeManifest(R"([{"id": "171", "video": "171.mp4"}])");
    store(QStringLiteral("171.mp4"));
    EXPECT_EQ(m_folder.entries().size(), 1);
    ASSERT_TRUE(QFile::remove(m_folder.path() + QStringLiteral("/171.mp4")));
    EXPECT_EQ(m_folder.entries().size(), 0);
}

TEST_F(CacheFolderTest, GivesAnEntryAsItStandsWithWhatItDoesNotKnow)
{
    const QByteArray entry =
        R"({"id": "171", "label": "L", "video": "171.mp4", "updated": "not a date",
                                 "still": "171.png", "stillUpdated": "s", "extra": {"deep": [1]}})";
    storeManifest('[' + entry + ']');
    store(QStringLiteral("171.mp4"));
    store(QStringLiteral("171.png"));
    EXPECT_EQ(m_folder.entries(), QList<QJsonObject>{object(entry)});
}

TEST_F(CacheFolderTest, LeavesOutAStillThatIsNotThereButNotItsTime)
{
    const QByteArray manifest =
        R"([{"video": "171.mp4", "still": "171.png", "stillUpdated": "s"}])";
    storeManifest(manifest);
    store(QStringLiteral("171.mp4"));
    EXPECT_EQ(m_folder.entries(),
              QList<QJsonObject>{object(R"({"video": "171.mp4", "stillUpdated": "s"})")});
    EXPECT_EQ(stored(QStringLiteral("manifest.json")), manifest) << "only the answer is changed";
}

TEST_F(CacheFolderTest, DropsEntriesWithoutTheNameOfAClipInTheFolder)
{
    store(QStringLiteral("171.mp4"));
    m_home.write(m_home.cache(QStringLiteral("outside.mp4")), "content");
    ASSERT_TRUE(QDir().mkpath(m_folder.path() + QStringLiteral("/folder.mp4")));
    const QByteArray names[] = {
        "null",
        "1",
        "true",
        "{}",
        "[]",
        R"(["171.mp4"])",
        R"("")",
        R"(".")",
        R"("..")",
        R"("absent.mp4")",
        R"("../outside.mp4")",
        R"("./171.mp4")",
        R"("/etc/passwd")",
        R"("folder.mp4")",
        R"("171.mp4\u0000")",
        '"' + QByteArray(5000, 'x') + '"',
    };
    for (const QByteArray &name : names) {
        storeManifest(R"([{"id": "bad", "video": )" + name
                      + R"(}, {"id": "good", "video": "171.mp4"}])");
        EXPECT_EQ(ids(), QStringList{QStringLiteral("good")}) << name.left(40).constData();
    }
    storeManifest(R"([{"id": "bad"}, {}])");
    EXPECT_EQ(ids(), QStringList());
}

TEST_F(CacheFolderTest, LeavesOutStillsThatAreNoFileInTheFolder)
{
    store(QStringLiteral("171.mp4"));
    m_home.write(m_home.cache(QStringLiteral("outside.png")), "content");
    for (const char *name : {R"("../outside.png")", R"("/etc/passwd")", R"("")", R"("..")"}) {
        storeManifest(R"([{"video": "171.mp4", "still": )" + QByteArray(name) + "}]");
        EXPECT_EQ(m_folder.entries(), QList<QJsonObject>{object(R"({"video": "171.mp4"})")})
            << name;
    }
}

TEST_F(CacheFolderTest, PassesOnAStillThatIsNoText)
{
    store(QStringLiteral("171.mp4"));
    for (const char *still : {"1", "null", "{}"}) {
        const QByteArray entry = R"({"video": "171.mp4", "still": )" + QByteArray(still) + "}";
        storeManifest('[' + entry + ']');
        EXPECT_EQ(m_folder.entries(), QList<QJsonObject>{object(entry.constData())}) << still;
    }
}

TEST_F(CacheFolderTest, HasNoEntriesWithoutAUsableManifest)
{
    store(QStringLiteral("171.mp4"));
    EXPECT_TRUE(m_folder.entries().isEmpty()) << "none at all";
    for (const char *manifest :
         {"", "{}", "[1]", R"([{"video": "171.mp4"}, 1])", "[{\"video\": \"171.mp4\"}]x"}) {
        storeManifest(manifest);
        EXPECT_TRUE(m_folder.entries().isEmpty()) << manifest;
    }
    storeManifest(R"([{"video": "171.mp4"}])" + QByteArray(kLargestManifestBytes, ' '));
    EXPECT_TRUE(m_folder.entries().isEmpty()) << "far too large";
}

TEST_F(CacheFolderTest, IsPrimedByAnyManifest)
{
    EXPECT_FALSE(m_folder.isPrimed());
    storeManifest("{}");
    EXPECT_TRUE(m_folder.isPrimed());
    EXPECT_TRUE(m_folder.entries().isEmpty());
}

TEST_F(CacheFolderTest, WritesAManifestAndLeavesNothingElse)
{
    store(QStringLiteral("171.mp4"));
    const QJsonObject entry = object(R"({"id": "171", "video": "171.mp4"})");
    m_folder.write({entry});
    EXPECT_EQ(m_folder.entries(), QList<QJsonObject>{entry});
    m_folder.write({});
    EXPECT_EQ(stored(QStringLiteral("manifest.json")).simplified(), QByteArray("[ ]"));
    EXPECT_FALSE(QFileInfo::exists(m_folder.manifestFile() + QStringLiteral(".tmp")));
}

TEST_F(CacheFolderTest, KeepsTheOldManifestWhenTheNewOneCannotBeWritten)
{
    storeManifest("[]");
    ASSERT_TRUE(QDir().mkpath(m_folder.manifestFile() + QStringLiteral(".tmp")));
    test::CapturedLog log;
    m_folder.write({object(R"({"id": "171"})")});
    EXPECT_EQ(stored(QStringLiteral("manifest.json")), QByteArray("[]"));
    EXPECT_THAT(log.messages(),
                ElementsAre(QStringLiteral(
                    "manifest not written (Is a directory); the next refresh tries again")));
}

TEST_F(CacheFolderTest, WritesNothingWithoutAFolder)
{
    m_folder.write({});
    EXPECT_FALSE(QFileInfo::exists(m_folder.path()));
}

class SeedingTest : public CacheFolderTest
{
protected:
    SeedingTest()
    {
        QDir().mkpath(m_folder.path());
        m_home.write(*m_clip, "the clip that ships");
        m_home.write(*m_description,
                     R"({"id": "171", "video": "seed.mp4", "updated": "2025-03-01T09:05:00Z"})");
    }

    QString seeded(const char *updated) const
    {
        return QStringLiteral("cache was empty, seeded with the bundled clip (%1)")
            .arg(QString::fromUtf8(updated));
    }

    std::optional<QString> m_clip = m_home.path(QStringLiteral("share/seed.mp4"));
    std::optional<QString> m_description = m_home.path(QStringLiteral("share/seed.json"));
    test::CapturedLog m_log;
};

TEST_F(SeedingTest, PutsTheShippedClipAndItsEntryIntoAnEmptyCache)
{
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(m_folder.entries(),
              QList<QJsonObject>{object(
                  R"({"id": "171", "video": "seed.mp4", "updated": "2025-03-01T09:05:00Z"})")});
    EXPECT_EQ(stored(QStringLiteral("seed.mp4")), QByteArray("the clip that ships"));
    EXPECT_THAT(m_log.messages(), ElementsAre(seeded("2025-03-01T09:05:00Z")));
}

TEST_F(SeedingTest, DoesNothingTheSecondTime)
{
    m_folder.seedIfEmpty(m_clip, m_description);
    m_home.write(*m_clip, "another");
    const QByteArray manifest = stored(QStringLiteral("manifest.json"));
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(stored(QStringLiteral("manifest.json")), manifest);
    EXPECT_EQ(stored(QStringLiteral("seed.mp4")), QByteArray("the clip that ships"));
    EXPECT_EQ(m_log.messages().size(), 1);
}

TEST_F(SeedingTest, DoesNothingWhereThereIsAManifestOfAnyKind)
{
    storeManifest("torn");
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(stored(QStringLiteral("manifest.json")), QByteArray("torn"));
    EXPECT_TRUE(m_log.messages().isEmpty());
}

TEST_F(SeedingTest, DoesNothingWhereTheManifestCannotBeLookedAt)
{
    const QString manifest = m_folder.manifestFile();
    ASSERT_TRUE(QFile::link(manifest, manifest)); // a circle
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_TRUE(QFileInfo(manifest).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(m_folder.path() + QStringLiteral("/seed.mp4")));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(QStringLiteral("manifest cannot be read (Too many levels of symbolic "
                                           "links); nothing of it is played")));
}

TEST_F(SeedingTest, SaysThatAManifestIsSomebodyElses)
{
    storeManifest("[]");
    ASSERT_TRUE(QFile::setPermissions(m_folder.manifestFile(), {}));
    {
        const test::OrdinaryUser user(m_home.path());
        m_folder.seedIfEmpty(m_clip, m_description);
    }
    EXPECT_THAT(m_log.messages(),
                ElementsAre(QStringLiteral(
                    "manifest cannot be read (Permission denied); nothing of it is played")));
}

TEST_F(SeedingTest, KeepsAClipThatIsThereAlready)
{
    store(QStringLiteral("seed.mp4"), "from before");
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(stored(QStringLiteral("seed.mp4")), QByteArray("from before"));
    EXPECT_EQ(m_folder.entries().size(), 1);
}

TEST_F(SeedingTest, TakesTheDescriptionAsItStands)
{
    m_home.write(*m_description, R"({"video": "seed.mp4", "extra": [1]})");
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(m_folder.entries(),
              QList<QJsonObject>{object(R"({"video": "seed.mp4", "extra": [1]})")});
    EXPECT_THAT(m_log.messages(), ElementsAre(seeded("?")));
}

TEST_F(SeedingTest, ShowsAQuestionMarkForATimeThatIsNoText)
{
    m_home.write(*m_description, R"({"video": "seed.mp4", "updated": 5})");
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_THAT(m_log.messages(), ElementsAre(seeded("?")));
}

TEST_F(SeedingTest, LeavesTheCacheUnprimedWithoutBothParts)
{
    m_folder.seedIfEmpty(m_clip, std::nullopt);
    m_folder.seedIfEmpty(std::nullopt, m_description);
    m_folder.seedIfEmpty(std::nullopt, std::nullopt);
    const QString nothing = QStringLiteral("no seed in the bundle");
    EXPECT_THAT(m_log.messages(), ElementsAre(nothing, nothing, nothing));
    EXPECT_FALSE(m_folder.isPrimed());
    EXPECT_TRUE(stored(QStringLiteral("seed.mp4")).isEmpty());
}

TEST_F(SeedingTest, LeavesTheCacheUnprimedWithADescriptionThatIsNoObject)
{
    for (const char *description : {"", "[]", "null", "{\"video\": "}) {
        m_home.write(*m_description, description);
        m_folder.seedIfEmpty(m_clip, m_description);
        EXPECT_FALSE(m_folder.isPrimed()) << description;
    }
    EXPECT_EQ(m_log.messages().size(), 4);
}

TEST_F(SeedingTest, StillWritesTheManifestWhenTheClipCannotBeCopied)
{
    m_folder.seedIfEmpty(m_home.path(QStringLiteral("share/absent.mp4")), m_description);
    EXPECT_TRUE(m_folder.isPrimed());
    EXPECT_TRUE(m_folder.entries().isEmpty());
    EXPECT_THAT(m_log.messages(),
                ElementsAre(QStringLiteral("could not copy the built-in clip (No such file or "
                                           "directory); the next start tries again"),
                            seeded("2025-03-01T09:05:00Z")));
}

TEST_F(SeedingTest, BringsAClipLaterForWhichThereWasNoRoom)
{
    m_folder.seedIfEmpty(m_home.path(QStringLiteral("share/absent.mp4")), m_description);
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_EQ(m_folder.entries().size(), 1);
    EXPECT_EQ(stored(QStringLiteral("seed.mp4")), QByteArray("the clip that ships"));
    EXPECT_EQ(m_log.messages().size(), 2) << "nothing more to say";
}

TEST_F(SeedingTest, BringsNoClipThatTheCacheDoesNotName)
{
    storeManifest(R"([{"id": "171", "video": "171.mp4"}])");
    m_folder.seedIfEmpty(m_clip, m_description);
    EXPECT_FALSE(QFileInfo::exists(m_folder.path() + QStringLiteral("/seed.mp4")));
}

} // namespace
} // namespace corvella

#include "cache/Refresher.h"
#include "NetworkedCache.h"
#include "cache/Manifest.h"
#include "platform/storage/FileLock.h"
#include "settings/Settings.h"
#include "support/QtPrinting.h"

#include <QJsonDocument>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using Cache::Refresher;
using test::TestImageryHost;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

const QString kLater = QStringLiteral("20260924T214216");
const QString kEarlier = QStringLiteral("20260924T194216");

class RefresherTest : public test::NetworkedCache
{
protected:
    QList<QJsonObject> manifest() const
    {
        return parseManifest(content(QStringLiteral("manifest.json")));
    }
    QStringList manifestIds() const
    {
        QStringList ids;
        for (const QJsonObject &entry : manifest())
            ids << entry.value(QLatin1String("id")).toString();
        return ids;
    }
    // All that a product without a versioned path at the server leaves in the folder.
    void layProduct(const QString &id) const
    {
        for (const char *suffix : {".mp4", ".mp4.etag", ".mp4.src", ".png", ".png.etag", ".png.src",
                                   ".stamp", ".png.stamp"})
            writeFile(id + QString::fromLatin1(suffix), "here");
    }
    QStringList log() { return m_log.messages(); }

    QDateTime m_now = QDateTime::currentDateTimeUtc();
    Refresher m_refresher{CacheFolder(m_folder), m_session, [this] { return m_now; }};
    test::CapturedLog m_log;
};

TEST_F(RefresherTest, FillsAnEmptyCache)
{
    TestImageryHost host(TestImageryHost::kProducts);
    host.setRecord(QStringLiteral("171"), QStringLiteral("through"),
                   QStringLiteral("2026-09-24T20:30:00Z"));
    host.setRecord(QStringLiteral("171"), QStringLiteral("label"), QJsonValue::Undefined);
    host.setRecord(QStringLiteral("94"), QStringLiteral("still_v"), QJsonValue::Undefined);
    host.setRecord(QStringLiteral("94"), QStringLiteral("img1k"), QJsonValue::Undefined);
    serveFront(host);
    QList<std::pair<int, int>> progress;
    m_refresher.pass(true, true, true, [&](int done, int total) {
        progress.append({done, total});
    });

    EXPECT_THAT(log(),
                ElementsAre(QStringLiteral("pass: checked, 12 clips moved, 0 products dropped")));
    EXPECT_EQ(m_front->takeRequests().size(), 1 + 12 + 11);
    EXPECT_EQ(m_front->connections(), 1);
    EXPECT_EQ(progress.size(), 13);
    for (int i = 0; i < progress.size(); ++i)
        EXPECT_EQ(progress[i], std::pair(i, 12));
    EXPECT_EQ(Settings::lastCheck().toSecsSinceEpoch(), m_now.toSecsSinceEpoch());

    EXPECT_EQ(manifestIds(), TestImageryHost::kProducts);
    const QList<QJsonObject> entries = manifest();
    EXPECT_EQ(
        entries[1],
        (QJsonObject{{QStringLiteral("id"), QStringLiteral("171")},
                     {QStringLiteral("label"), QStringLiteral("171")},
                     {QStringLiteral("video"), QStringLiteral("171.mp4")},
                     {QStringLiteral("updated"), QStringLiteral("2026-09-24T20:30:00Z")},
                     {QStringLiteral("still"), QStringLiteral("171.png")},
                     {QStringLiteral("stillUpdated"), QStringLiteral("2026-09-24T20:42:16Z")}}));
    EXPECT_EQ(entries[2].value(QLatin1String("updated")), QStringLiteral("2026-09-24T20:42:16Z"));
    EXPECT_EQ(entries[2].value(QLatin1String("label")), QStringLiteral("The 193"));
    EXPECT_FALSE(entries[6].contains(QLatin1String("still"))) << "94 has none";
    for (const QString &id : TestImageryHost::kProducts)
        EXPECT_EQ(content(id + QStringLiteral(".mp4")), TestImageryHost::clip(id));
    EXPECT_EQ(content(QStringLiteral("171.stamp")), QByteArray("2026-09-24T20:30:00Z"));
    EXPECT_EQ(content(QStringLiteral("171.png.stamp")), QByteArray("2026-09-24T20:42:16Z"));
}

TEST_F(RefresherTest, TellsOfItsProgressByThePlacesInTheList)
{
    const TestImageryHost host(
        {QStringLiteral("171"), QStringLiteral("193"), QStringLiteral("304")});
    Settings::setProducts({QStringLiteral("193")});
    serveFront(host);
    QList<std::pair<int, int>> progress;
    m_refresher.pass(true, false, true, [&](int done, int total) {
        progress.append({done, total});
    });
    EXPECT_THAT(progress, ElementsAre(Pair(1, 3), Pair(3, 3))) << "what is skipped is not told";
}

TEST_F(RefresherTest, ASecondRefreshAsksForNothingAndADueOneForTheIndexAlone)
{
    const TestImageryHost host(TestImageryHost::kProducts);
    Settings::setProducts({QStringLiteral("all")});
    serveFront(host);
    m_refresher.refresh();
    m_front->takeRequests();
    const int messages = static_cast<int>(log().size());

    m_now = m_now.addSecs(3600);
    m_refresher.refresh();
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    EXPECT_EQ(log().size(), messages) << "nothing to do is nothing to say";

    m_now = m_now.addSecs(24 * 3600 - 3600);
    m_refresher.refresh();
    const QStringList requests = m_front->takeRequests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_THAT(requests.first().toStdString(), StartsWith("GET /manifest/index.json 304 if "));
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 0 clips moved, 0 products dropped"));
}

TEST_F(RefresherTest, OpensNoConnectionForNothing)
{
    Settings::setProducts({QStringLiteral("171")});
    serveFront([](test::FaultServer::Connection &connection) {
        for (QByteArray head; !(head = connection.readRequest()).isEmpty();) {
            connection.send(test::okAnswer(
                head.contains("index.json")
                    ? R"({"products": [{"id": "171", "updated": "x", "video": "v/171.mp4"}]})"
                    : "clip"));
        }
    });
    m_refresher.refresh();
    EXPECT_TRUE(has(QStringLiteral("171.mp4")));
    HttpSession nextStart;
    Refresher(CacheFolder(m_folder), nextStart, [this] { return m_now; }).refresh();
    EXPECT_EQ(m_fault->connections(), 1);
}

TEST_F(RefresherTest, IsDueAfterTheIntervalThatIsSet)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    Settings::setRefreshMinutes(720);
    serveFront(host);
    m_refresher.refresh();
    m_front->takeRequests();
    m_now = m_now.addSecs(12 * 3600 - 1);
    m_refresher.refresh();
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    m_now = m_now.addSecs(1);
    m_refresher.refresh();
    EXPECT_EQ(m_front->takeRequests().size(), 1);
}

TEST_F(RefresherTest, MovesForwardAndNeverBack)
{
    TestImageryHost host({QStringLiteral("171"), QStringLiteral("304")});
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("304")});
    serveFront(host);
    m_refresher.pass(true, false, true);

    host.offer(QStringLiteral("171"), kLater);
    host.offer(QStringLiteral("304"), kEarlier);
    m_front->takeRequests();
    m_refresher.pass(true, false, true);
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 0 products dropped"));
    EXPECT_EQ(content(QStringLiteral("171.mp4")),
              TestImageryHost::clip(QStringLiteral("171"), kLater));
    EXPECT_EQ(content(QStringLiteral("304.mp4")), TestImageryHost::clip(QStringLiteral("304")));
    EXPECT_EQ(content(QStringLiteral("304.stamp")), QByteArray("2026-09-24T20:42:16Z"));
    QStringList paths;
    for (const QString &request : m_front->takeRequests())
        paths << request.section(u' ', 1, 1);
    EXPECT_THAT(paths,
                ElementsAre(QStringLiteral("/manifest/index.json"),
                            QStringLiteral("/v/171/%1.mp4").arg(kLater),
                            QStringLiteral("/v/171/%1.png").arg(kLater)));
}

TEST_F(RefresherTest, AsksOnceForAProductThatIsListedManyTimes)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    QByteArrayList records;
    for (int i = 0; i < 1000; ++i)
        records << R"({"id": "171", "updated": "then", "video": "video/)" + QByteArray::number(i)
                + R"(.mp4"})";
    records << R"({"id": "171", "updated": "now", "video": "video/171_1k.mp4"})";
    host.writeIndex(R"({"products": [)" + records.join(',') + "]}");
    serveFront(host);
    m_refresher.pass(true, false, true);
    EXPECT_EQ(m_front->takeRequests().size(), 2) << "the index and one clip";
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_EQ(content(QStringLiteral("171.stamp")), QByteArray("now"));
}

TEST_F(RefresherTest, TriesTheNextPathWhenTheFirstIsOfNoUse)
{
    TestImageryHost host({QStringLiteral("171")});
    host.setRecord(QStringLiteral("171"), QStringLiteral("video_v"),
                   QStringLiteral("v/171/gone.mp4"));
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_EQ(content(QStringLiteral("171.mp4.src")), QByteArray("video/171_1k.mp4"));
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 0 products dropped"));
}

TEST_F(RefresherTest, DropsWhatNoScreenShows)
{
    const TestImageryHost host(TestImageryHost::kProducts);
    Settings::setProducts({QStringLiteral("171")});
    for (const QString &id : TestImageryHost::kProducts)
        layProduct(id);
    QFile::remove(path(QStringLiteral("dem.mp4"))); // only its clip makes it a product on disk
    writeFile(QStringLiteral("seed.mp4"), "the user's first");
    serveFront(host);
    m_refresher.pass(true, false, true);
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 10 products dropped"));
    EXPECT_EQ(manifestIds(), QStringList{QStringLiteral("171")});
    QStringList left = files();
    left.removeIf([](const QString &name) { return name.startsWith(u"dem."); });
    EXPECT_THAT(left,
                ElementsAre(QStringLiteral("171.mp4"), QStringLiteral("171.mp4.etag"),
                            QStringLiteral("171.mp4.src"), QStringLiteral("171.png"),
                            QStringLiteral("171.png.etag"), QStringLiteral("171.png.src"),
                            QStringLiteral("171.png.stamp"), QStringLiteral("171.stamp"),
                            QStringLiteral("index.json"), QStringLiteral("index.json.etag"),
                            QStringLiteral("index.json.src"), QStringLiteral("manifest.json"),
                            QStringLiteral("refresh.lock"), QStringLiteral("seed.mp4")));
}

TEST_F(RefresherTest, DropsNothingWhileTheChoiceOfProductsCannotBeRead)
{
    layProduct(QStringLiteral("94")); // which no screen shows by default
    QFile::remove(Settings::d().filePath());
    EXPECT_TRUE(QDir().mkpath(Settings::d().filePath()));
    m_refresher.pass(false, false, true);
    EXPECT_TRUE(has(QStringLiteral("94.mp4")));
    EXPECT_TRUE(QDir().rmdir(Settings::d().filePath()));
    m_refresher.pass(false, false, true);
    EXPECT_FALSE(has(QStringLiteral("94.mp4")));
}

TEST_F(RefresherTest, CountsNoClipThatCouldNotBePutInItsPlace)
{
    const TestImageryHost host({QStringLiteral("171"), QStringLiteral("304")});
    serveFront(host);
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("304")});
    EXPECT_TRUE(QDir().mkpath(path(QStringLiteral("304.mp4/in the way"))));
    m_refresher.pass(true, false, true);
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 0 products dropped"));
}

TEST_F(RefresherTest, DropsNothingWhereTheChoiceOfProductsIsNoList)
{
    layProduct(QStringLiteral("94"));
    Settings::d().setString(QStringLiteral("products"), QStringLiteral("94,171"));
    m_refresher.pass(false, false, true);
    EXPECT_TRUE(has(QStringLiteral("94.mp4")));
}

// What was brought to an offline machine by hand is not to be lost by a comma too many.
TEST_F(RefresherTest, DropsNothingAfterSettingsWereSetAside)
{
    layProduct(QStringLiteral("94"));
    const QString path = Settings::d().filePath();
    m_home.write(path, R"({"offline": true,, "products": ["all"]})");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-60),
                                 QFile::FileModificationTime)); // nobody writes it any more
    m_refresher.pass(false, false, true);
    m_refresher.pass(false, false, true); // by then nothing is wrong with the settings
    EXPECT_TRUE(has(QStringLiteral("94.mp4")));
    EXPECT_TRUE(Settings::offline());
}

TEST_F(RefresherTest, DropsNothingOfflineOrWhenEverythingIsWanted)
{
    const TestImageryHost host(TestImageryHost::kProducts);
    serveFront(host);
    layProduct(QStringLiteral("304"));
    Settings::setProducts({QStringLiteral("171")});
    m_refresher.pass(true, true, true);
    EXPECT_TRUE(has(QStringLiteral("304.mp4")));
    Settings::setOffline(true);
    m_refresher.pass(true, false, true);
    EXPECT_TRUE(has(QStringLiteral("304.mp4")));
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 0 clips moved, 0 products dropped"));
    Settings::setOffline(false);
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("all")});
    m_refresher.pass(true, false, true);
    EXPECT_TRUE(has(QStringLiteral("304.mp4")));
}

TEST_F(RefresherTest, RewritesTheManifestWithoutAWordWhenItOnlyDropped)
{
    Settings::setProducts({QStringLiteral("171")});
    layProduct(QStringLiteral("171"));
    layProduct(QStringLiteral("304"));
    m_refresher.pass(false, false, false);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(manifestIds(), QStringList{QStringLiteral("171")});
    EXPECT_FALSE(has(QStringLiteral("304.mp4")));
}

TEST_F(RefresherTest, ListsWithoutAWordWhatAPassThatWasKilledLeftUnlisted)
{
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("304")});
    layProduct(QStringLiteral("171"));
    m_refresher.rewriteManifest(std::nullopt);
    layProduct(QStringLiteral("304"));
    m_refresher.pass(false, false, false);
    EXPECT_EQ(manifestIds(), (QStringList{QStringLiteral("171"), QStringLiteral("304")}));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RefresherTest, LeavesTheManifestAloneWhereAClipCannotBeListed)
{
    Settings::setProducts({QStringLiteral("171")});
    writeFile(QStringLiteral("171.mp4"), "clip of which nobody knows");
    m_refresher.pass(false, false, false);
    EXPECT_FALSE(has(QStringLiteral("manifest.json")));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(RefresherTest, FillsGapsByTheIndexAtHand)
{
    TestImageryHost host({QStringLiteral("171"), QStringLiteral("304")});
    serveFront(host);
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("304")});
    m_refresher.pass(true, false, true);
    m_front->takeRequests();
    const QDateTime checked = Settings::lastCheck();
    host.offer(QStringLiteral("171"), kLater);
    QFile::remove(path(QStringLiteral("304.mp4")));
    QFile::remove(path(QStringLiteral("171.png")));

    m_now = m_now.addSecs(60);
    m_refresher.pass(false, false, false);
    EXPECT_EQ(log().last(),
              QStringLiteral("pass: filled missing, 1 clips moved, 0 products dropped"));
    EXPECT_EQ(content(QStringLiteral("304.mp4")), TestImageryHost::clip(QStringLiteral("304")));
    EXPECT_EQ(content(QStringLiteral("171.png")), TestImageryHost::still(QStringLiteral("171")))
        << "a gap as well";
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")))
        << "news are for a checking pass";
    EXPECT_EQ(m_front->takeRequests().size(), 2);
    EXPECT_EQ(Settings::lastCheck(), checked);
}

TEST_F(RefresherTest, TurnsToTheOriginWhenTheFrontIsDown)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveOrigin(host);
    m_refresher.refresh();
    EXPECT_THAT(
        log(),
        Contains(QStringLiteral("imagery host did not answer; using the origin for this pass")));
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 0 products dropped"));
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));

    QFile::remove(path(QStringLiteral("171.mp4")));
    m_origin->takeRequests();
    const int messages = static_cast<int>(log().size());
    m_refresher.pass(false, false, false);
    EXPECT_THAT(m_origin->takeRequests(), IsEmpty()) << "the next pass tries the front again";
    EXPECT_THAT(
        log().mid(messages),
        Contains(QStringLiteral("pass: filled missing, 0 clips moved, 0 products dropped")));
}

TEST_F(RefresherTest, TurnsToTheOriginWhenTheFrontHasStoppedUpdating)
{
    const struct
    {
        int secondsOld;
        bool useOrigin;
    } rows[] = {{64'800, false}, {64'801, true}};
    TestImageryHost front({QStringLiteral("171")}, kEarlier);
    TestImageryHost origin({QStringLiteral("171")});
    m_now = QDateTime::fromSecsSinceEpoch(m_now.toSecsSinceEpoch(), Qt::UTC);
    Settings::setProducts({QStringLiteral("171")});
    serveFront(front);
    serveOrigin(origin);
    for (const auto &row : rows) {
        front.setGenerated(m_now.addSecs(-row.secondsOld));
        origin.setGenerated(m_now);
        m_refresher.pass(true, false, true);
        EXPECT_EQ(log().contains(QStringLiteral(
                      "imagery host has stopped updating; using the origin for this pass")),
                  row.useOrigin)
            << row.secondsOld;
        EXPECT_EQ(content(QStringLiteral("171.mp4")),
                  TestImageryHost::clip(QStringLiteral("171"),
                                        row.useOrigin ? TestImageryHost::kStamp : kEarlier));
    }
}

TEST_F(RefresherTest, BelievesAnIndexWithoutADate)
{
    TestImageryHost host({QStringLiteral("171")});
    host.setGenerated({});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    EXPECT_THAT(log(),
                ElementsAre(QStringLiteral("pass: checked, 1 clips moved, 0 products dropped")));
}

TEST_F(RefresherTest, AFillingPassDoesNotMindTheAgeOfTheIndex)
{
    TestImageryHost host({QStringLiteral("171")});
    host.setGenerated(m_now.addDays(-30));
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(false, false, false);
    EXPECT_THAT(
        log(),
        ElementsAre(QStringLiteral("pass: filled missing, 1 clips moved, 0 products dropped")));
}

TEST_F(RefresherTest, KeepsTheCacheWhenNobodyAnswers)
{
    layProduct(QStringLiteral("171"));
    Settings::setProducts({QStringLiteral("171")});
    writeFile(QStringLiteral("manifest.json"), R"([{"id": "171", "video": "171.mp4"}])");
    m_refresher.refresh();
    EXPECT_EQ(log().last(), QStringLiteral("no product list from the server; keeping the cache"));
    EXPECT_EQ(log().size(), 4) << "the front, the change to the origin, the origin once, the end";
    EXPECT_EQ(content(QStringLiteral("manifest.json")),
              QByteArray(R"([{"id": "171", "video": "171.mp4"}])"));
    EXPECT_EQ(Settings::lastCheck(), Settings::distantPast()) << "so the next refresh checks again";
    EXPECT_TRUE(has(QStringLiteral("171.mp4")));
}

TEST_F(RefresherTest, HasNoOriginToTurnToWhereThatIsTheImageryHost)
{
    Settings::setImageryHost(QString::fromLatin1(kOriginName));
    m_refresher.refresh();
    EXPECT_FALSE(log().join(u'\n').contains(QStringLiteral("using the origin")));
}

TEST_F(RefresherTest, ManualRefreshesKeepTheirDistance)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_now = QDateTime::fromSecsSinceEpoch(m_now.toSecsSinceEpoch(), Qt::UTC);
    const QDateTime first = m_now;
    EXPECT_FALSE(m_refresher.refreshNow(false));
    EXPECT_EQ(Settings::lastManual(), first);
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 1 clips moved, 0 products dropped"));
    m_front->takeRequests();

    m_now = first.addSecs(3599);
    EXPECT_EQ(m_refresher.refreshNow(false), first.addSecs(3600));
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    EXPECT_EQ(Settings::lastManual(), first);

    m_now = first.addSecs(3600);
    EXPECT_FALSE(m_refresher.refreshNow(true));
    EXPECT_EQ(m_front->takeRequests().size(), 1);
    EXPECT_EQ(Settings::lastManual(), m_now);
}

// It was a year ahead when it was noted, and is right again.
TEST_F(RefresherTest, ChecksAlsoWhereTheClockWasAhead)
{
    TestImageryHost host({QStringLiteral("171")});
    host.setGenerated({}); // else it would have stopped updating a year ago
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    const QDateTime right = m_now;
    m_now = right.addYears(1);
    EXPECT_FALSE(m_refresher.refreshNow(false));
    m_front->takeRequests();
    m_now = right;
    m_refresher.refresh();
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 0 clips moved, 0 products dropped"));
    EXPECT_EQ(Settings::lastCheck().toSecsSinceEpoch(), right.toSecsSinceEpoch());
    m_front->takeRequests();
    m_refresher.refresh(); // and not again
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    EXPECT_FALSE(m_refresher.refreshNow(false));
}

TEST_F(RefresherTest, NotesWhenAUsersRefreshBeganAndWhenTheCheckEnded)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_now = QDateTime::fromSecsSinceEpoch(m_now.toSecsSinceEpoch(), Qt::UTC);
    const QDateTime begin = m_now;
    EXPECT_FALSE(
        m_refresher.refreshNow(false, [this, begin](int, int) { m_now = begin.addSecs(60); }));
    EXPECT_EQ(Settings::lastManual(), begin);
    EXPECT_EQ(Settings::lastCheck(), begin.addSecs(60));
}

TEST_F(RefresherTest, AUserMayRefreshAlsoOffline)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    Settings::setOffline(true);
    serveFront(host);
    EXPECT_FALSE(m_refresher.refreshNow(false));
    EXPECT_TRUE(has(QStringLiteral("171.mp4")));
}

TEST_F(RefresherTest, NamesFilesByTheCatalogueAlone)
{
    TestImageryHost host({QStringLiteral("171")});
    const QString outside = QStringLiteral("../../escaped");
    const QStringList hostile{outside,
                              QStringLiteral("/etc/passwd"),
                              QStringLiteral("all"),
                              QStringLiteral("."),
                              QStringLiteral("171/../304"),
                              QString()};
    for (int i = 0; i < hostile.size(); ++i) {
        const QString key = QString::number(i);
        host.offer(key, TestImageryHost::kStamp);
        host.setRecord(key, QStringLiteral("id"), hostile[i]);
    }
    serveFront(host);
    Settings::setProducts(QStringList{QStringLiteral("171")} + hostile);
    const QStringList around = QDir(m_home.path()).entryList(QDir::AllEntries | QDir::Hidden);
    m_refresher.pass(true, false, true);
    Settings::setProducts({QStringLiteral("171,../../escaped,/etc/passwd")});
    m_refresher.pass(true, false, true);
    m_refresher.pass(true, true, true);
    EXPECT_EQ(manifestIds(), QStringList{QStringLiteral("171")});
    EXPECT_EQ(QDir(m_home.path()).entryList(QDir::AllEntries | QDir::Hidden), around);
    for (const QString &name : files()) {
        EXPECT_TRUE(name.startsWith(u"171.") || name.startsWith(u"index.json")
                    || name == u"manifest.json" || name == u"refresh.lock")
            << name.toStdString();
    }
}

TEST_F(RefresherTest, BearsAProductThatIsOfferedTwice)
{
    const TestImageryHost host({QStringLiteral("171")});
    const QString record = QStringLiteral(
        R"({"id": "171", "label": "%1", "updated": "2026-09-24T20:42:16Z", "video": "video/171_1k.mp4"})");
    host.writeIndex(
        QStringLiteral(R"({"products": [%1, %2]})")
            .arg(record.arg(QStringLiteral("first")), record.arg(QStringLiteral("second")))
            .toUtf8());
    serveFront(host);
    Settings::setProducts({QStringLiteral("171")});
    QList<std::pair<int, int>> progress;
    m_refresher.pass(true, false, true, [&](int done, int total) {
        progress.append({done, total});
    });
    EXPECT_THAT(progress, ElementsAre(Pair(0, 2), Pair(1, 2), Pair(2, 2)));
    ASSERT_EQ(manifest().size(), 1);
    EXPECT_EQ(manifest().first().value(QLatin1String("label")), QStringLiteral("second"));
}

TEST_F(RefresherTest, ListsWhatIsOnDiskByWhatIsKnownOfIt)
{
    writeFile(QStringLiteral("171.mp4"), "clip");
    writeFile(QStringLiteral("171.stamp"), "2026-09-24T20:42:16Z");
    writeFile(QStringLiteral("171.png"), "still without a stamp");
    writeFile(QStringLiteral("193.mp4"), "clip of which the manifest alone knows");
    writeFile(QStringLiteral("211.mp4"), "clip of which nobody knows");
    writeFile(QStringLiteral("304.stamp"), "2026-09-24T20:42:16Z");
    writeFile(QStringLiteral("seed.mp4"), "seed");
    writeFile(QStringLiteral("manifest.json"), R"([
        {"id": "rainbow", "label": "Seed", "video": "seed.mp4", "updated": "2026-01-01T00:00:00Z"},
        {"id": "171", "label": "Old", "video": "171.mp4", "updated": "2026-09-01T00:00:00Z"},
        {"id": "193", "label": "Bronze", "video": "193.mp4", "updated": "2026-09-01T00:00:00Z"}])");
    m_refresher.rewriteManifest(QList<Cache::Remote>{
        {.id = QStringLiteral("171"), .label = QStringLiteral("first"), .updated = {}},
        {.id = QStringLiteral("171"), .label = QStringLiteral("Gold"), .updated = {}}});

    EXPECT_THAT(
        manifest(),
        ElementsAre(
            QJsonObject{{QStringLiteral("id"), QStringLiteral("171")},
                        {QStringLiteral("label"), QStringLiteral("Gold")},
                        {QStringLiteral("video"), QStringLiteral("171.mp4")},
                        {QStringLiteral("updated"), QStringLiteral("2026-09-24T20:42:16Z")},
                        {QStringLiteral("still"), QStringLiteral("171.png")},
                        {QStringLiteral("stillUpdated"), QStringLiteral("2026-09-24T20:42:16Z")}},
            QJsonObject{{QStringLiteral("id"), QStringLiteral("193")},
                        {QStringLiteral("label"), QStringLiteral("Bronze")},
                        {QStringLiteral("video"), QStringLiteral("193.mp4")},
                        {QStringLiteral("updated"), QStringLiteral("2026-09-01T00:00:00Z")}}));
    EXPECT_TRUE(has(QStringLiteral("seed.mp4")));

    QFile::remove(path(QStringLiteral("manifest.json")));
    m_refresher.rewriteManifest(std::nullopt);
    EXPECT_EQ(manifestIds(), QStringList{QStringLiteral("171")});
    EXPECT_EQ(manifest().first().value(QLatin1String("label")), QStringLiteral("AIA 171 Å"));
}

TEST_F(RefresherTest, SaysThatADateCannotBeRead)
{
    writeFile(QStringLiteral("171.mp4"), "clip");
    ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("171.stamp"))));
    writeFile(QStringLiteral("manifest.json"), R"([
        {"id": "171", "label": "Gold", "video": "171.mp4", "updated": "2026-09-01T00:00:00Z"}])");
    m_refresher.rewriteManifest(std::nullopt);
    EXPECT_THAT(log(),
                ElementsAre(QStringLiteral("the date in 171.stamp cannot be read; the next "
                                           "refresh tries again")));
    EXPECT_EQ(manifest().first().value(QLatin1String("updated")),
              QStringLiteral("2026-09-01T00:00:00Z"));
}

TEST_F(RefresherTest, KeepsTheManifestWhenNothingIsOnDisk)
{
    writeFile(QStringLiteral("manifest.json"), "what is there");
    m_refresher.rewriteManifest(std::nullopt);
    EXPECT_THAT(
        log(),
        ElementsAre(QStringLiteral("nothing on disk to list; keeping the existing manifest")));
    EXPECT_EQ(content(QStringLiteral("manifest.json")), QByteArray("what is there"));
}

TEST_F(RefresherTest, DownloadsAgainWhatWasRemovedByHand)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    for (const QString &name : {QStringLiteral("171.mp4"), QStringLiteral("index.json")})
        QFile::remove(path(name));
    m_refresher.pass(false, false, true);
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));
}

TEST_F(RefresherTest, DownloadsAgainAnIndexThatIsDamaged)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    for (const bool check : {true, false}) {
        writeFile(QStringLiteral("index.json"), "{\"products\": [{\"id\": \"1");
        QFile::remove(path(QStringLiteral("171.png")));
        QFile::remove(path(QStringLiteral("171.mp4")));
        m_refresher.pass(check, false, true);
        EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));
        EXPECT_EQ(content(QStringLiteral("171.png")),
                  TestImageryHost::still(QStringLiteral("171")));
    }
}

// A gap is a missing clip: else a product without a still would be asked for each hour.
TEST_F(RefresherTest, FillsNothingForAMissingStillAlone)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    m_front->takeRequests();
    const int messages = static_cast<int>(log().size());
    QFile::remove(path(QStringLiteral("171.png")));
    m_refresher.pass(false, false, false);
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    EXPECT_EQ(log().size(), messages);
}

TEST_F(RefresherTest, FetchesAStillAlsoWhereNoClipCanBeHad)
{
    TestImageryHost host({QStringLiteral("171")});
    host.remove(QStringLiteral("v/171/%1.mp4").arg(TestImageryHost::kStamp));
    host.remove(QStringLiteral("video/171_1k.mp4"));
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    EXPECT_EQ(content(QStringLiteral("171.png")), TestImageryHost::still(QStringLiteral("171")));
    EXPECT_FALSE(has(QStringLiteral("171.stamp"))) << "no clip was fetched";
    EXPECT_EQ(log().last(), QStringLiteral("pass: checked, 0 clips moved, 0 products dropped"));
}

TEST_F(RefresherTest, BearsThatTheFolderItselfWasRemoved)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    m_refresher.pass(true, false, true);
    ASSERT_TRUE(QDir(m_folder).removeRecursively());
    m_refresher.pass(false, false, false);
    EXPECT_EQ(content(QStringLiteral("171.mp4")), TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_EQ(log().last(),
              QStringLiteral("pass: filled missing, 1 clips moved, 0 products dropped"));
    EXPECT_EQ(log().size(), 2);
}

TEST_F(RefresherTest, ClearsAwayWhatACrashLeft)
{
    layProduct(QStringLiteral("171"));
    Settings::setProducts({QStringLiteral("171")});
    for (const char *name : {"171.mp4.tmp", "304.png.tmp", "171.stamp.tmp", "index.json.src.tmp"})
        writeFile(QString::fromLatin1(name), "half");
    m_refresher.pass(false, false, false);
    EXPECT_THAT(QDir(m_folder).entryList({QStringLiteral("*.tmp")}, QDir::Files), IsEmpty());
}

// A host whose index hangs until it is let go on.
class SlowHost
{
public:
    // Outlives the object, as the server does.
    [[nodiscard]] test::FaultServer::Script script() const
    {
        return [state = m_state](test::FaultServer::Connection &connection) {
            while (!connection.readRequest().isEmpty()) {
                state->asked = true;
                state->goOn.wait(false);
                connection.send(test::okAnswer("{\"products\": []}"));
            }
        };
    }
    void waitUntilAsked() const
    {
        EXPECT_TRUE(test::becomes([this] { return m_state->asked.load(); }));
    }
    void goOn()
    {
        m_state->goOn = true;
        m_state->goOn.notify_all();
    }

private:
    struct State
    {
        std::atomic_bool asked = false;
        std::atomic_bool goOn = false;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

TEST_F(RefresherTest, AScheduledPassGivesWayAndAUsersWaits)
{
    SlowHost host;
    serveFront(host.script());
    std::thread first([this] { m_refresher.pass(true, false, false); });
    host.waitUntilAsked();

    m_refresher.pass(true, false, false);
    EXPECT_THAT(log(), ElementsAre(QStringLiteral("a refresh is already running")));

    std::atomic_bool through = false;
    std::thread users([this, &through] {
        m_refresher.pass(true, false, true);
        through = true;
    });
    EXPECT_FALSE(test::becomes([&through] { return through.load(); }, 200ms));
    host.goOn();
    first.join();
    users.join();
    EXPECT_EQ(log().count(QStringLiteral("pass: checked, 0 clips moved, 0 products dropped")), 2);
}

TEST_F(RefresherTest, HonoursThePassOfAnotherProcess)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    std::optional<FileLock> other = FileLock::acquire(path(QStringLiteral("refresh.lock")));
    ASSERT_TRUE(other);
    m_refresher.pass(true, false, false);
    EXPECT_THAT(log(), ElementsAre(QStringLiteral("a refresh is already running")));

    std::thread users([this] { m_refresher.pass(true, false, true); });
    EXPECT_TRUE(test::becomes([this] {
        return log().contains(
            QStringLiteral("another process is refreshing the cache, waiting for it"));
    }));
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
    other.reset();
    users.join();
    EXPECT_TRUE(has(QStringLiteral("171.mp4")));
}

TEST_F(RefresherTest, WaitsForAnotherProcessNoLongerThanTheProgramLives)
{
    const std::optional<FileLock> other = FileLock::acquire(path(QStringLiteral("refresh.lock")));
    ASSERT_TRUE(other);
    std::thread users([this] { m_refresher.pass(true, false, true); });
    EXPECT_TRUE(test::becomes([this] { return !log().isEmpty(); }));
    m_session.cancel();
    users.join();
    EXPECT_EQ(Settings::lastCheck(), Settings::distantPast());
}

TEST_F(RefresherTest, RefreshesAFolderThatCannotBeLocked)
{
    const TestImageryHost host({QStringLiteral("171")});
    Settings::setProducts({QStringLiteral("171")});
    serveFront(host);
    ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("refresh.lock"))));
    m_refresher.pass(true, false, true);
    EXPECT_THAT(log(),
                ElementsAre(QStringLiteral("the cache cannot be locked (Is a directory), "
                                           "refreshing it all the same"),
                            QStringLiteral("pass: checked, 1 clips moved, 0 products dropped")));
}

TEST_F(RefresherTest, RunsOnePassAtATimeAlsoInAFolderThatCannotBeLocked)
{
    SlowHost host;
    serveFront(host.script());
    ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("refresh.lock"))));
    std::thread first([this] { m_refresher.pass(true, false, false); });
    host.waitUntilAsked();
    m_refresher.pass(true, false, false);
    EXPECT_EQ(log().last(), QStringLiteral("a refresh is already running"));
    host.goOn();
    first.join();
}

TEST_F(RefresherTest, CancelEndsAPassAndLeavesItForTheNextStart)
{
    SlowHost host;
    serveFront(host.script());
    layProduct(QStringLiteral("171"));
    writeFile(QStringLiteral("manifest.json"), "what is there");
    std::thread pass([this] { m_refresher.pass(true, true, true); });
    host.waitUntilAsked();
    m_session.cancel();
    pass.join();
    host.goOn();
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(Settings::lastCheck(), Settings::distantPast());
    EXPECT_EQ(content(QStringLiteral("manifest.json")), QByteArray("what is there"));
}

TEST_F(RefresherTest, ListsWhatItMovedBeforeItWasCancelled)
{
    Settings::setProducts({QStringLiteral("171"), QStringLiteral("304")});
    std::atomic_bool isAt304 = false;
    serveFront([&isAt304](test::FaultServer::Connection &connection) {
        for (QByteArray head; !(head = connection.readRequest()).isEmpty();) {
            if (head.contains("index.json")) {
                connection.send(test::okAnswer(
                    R"({"products": [{"id": "171", "updated": "x", "video": "v/171.mp4"},
                                     {"id": "304", "updated": "x", "video": "v/304.mp4"}]})"));
            } else if (head.contains("171.mp4")) {
                connection.send(test::okAnswer("clip"));
            } else {
                isAt304 = true;
                connection.waitForClient();
            }
        }
    });
    std::thread pass([this] { m_refresher.pass(true, false, true); });
    EXPECT_TRUE(test::becomes([&isAt304] { return isAt304.load(); }));
    m_session.cancel();
    pass.join();
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_EQ(Settings::lastCheck(), Settings::distantPast());
    EXPECT_EQ(manifestIds(), QStringList{QStringLiteral("171")});
}

} // namespace
} // namespace corvella

#include "cache/RemoteImagery.h"
#include "NetworkedCache.h"
#include "platform/storage/FileLock.h"
#include "settings/Settings.h"
#include "support/FileSizeLimit.h"
#include "support/QtPrinting.h"

namespace corvella {
namespace {

using namespace std::chrono_literals;
using Cache::Fetched;
using Cache::Note;
using Cache::RemoteImagery;
using test::TestImageryHost;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const QString kClip = QStringLiteral("171.mp4");
const QString kStamp = QStringLiteral("171.stamp");
const QString kOld = QStringLiteral("v/171/20260924T182303.mp4");
const QString kNew = QStringLiteral("v/171/20260924T204216.mp4");
const QString kUnversioned = QStringLiteral("video/171_1k.mp4");

class RemoteImageryTest : public test::NetworkedCache
{
protected:
    TestImageryHost m_host{{QStringLiteral("171")}};
    // Fetches a file and waits until it lies in its place.
    Fetched fetch(const QString &from, const QString &name,
                  const std::optional<Note> &note = std::nullopt)
    {
        const Fetched fetched = m_remote.fetch(from, name, note);
        m_remote.finish();
        return fetched;
    }

    RemoteImagery m_remote{m_folder, m_session};
};

TEST_F(RemoteImageryTest, StoresANewFileAndWhereItCameFrom)
{
    serveFront(m_host);
    EXPECT_EQ(fetch(kNew, kClip), Fetched::changed);
    EXPECT_EQ(content(kClip), TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_EQ(content(kClip + QStringLiteral(".src")), kNew.toUtf8());
    EXPECT_THAT(content(kClip + QStringLiteral(".etag")).toStdString(), StartsWith("\""));
    EXPECT_THAT(
        files(),
        ElementsAre(kClip, kClip + QStringLiteral(".etag"), kClip + QStringLiteral(".src")));
}

TEST_F(RemoteImageryTest, AsksForNothingThatIsNotNewer)
{
    serveFront(m_host);
    writeFile(kClip, "what is here");
    for (const QString &source : {kNew, QStringLiteral("v/171/20260924T204217.mp4")}) {
        writeFile(kClip + QStringLiteral(".src"), source.toUtf8());
        EXPECT_EQ(fetch(kNew, kClip), Fetched::unchanged);
    }
    EXPECT_EQ(content(kClip), QByteArray("what is here"));
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
}

TEST_F(RemoteImageryTest, TakesDamagedSideFilesForMissing)
{
    serveFront(m_host);
    writeFile(kClip, "what is here");
    writeFile(kClip + QStringLiteral(".src"), "v/171/\xff\xff.mp4"); // behind every date as text
    writeFile(kClip + QStringLiteral(".etag"), "\"\xff\"");
    EXPECT_EQ(fetch(kNew, kClip), Fetched::changed);
    EXPECT_THAT(m_front->takeRequests(), ElementsAre(QStringLiteral("GET /%1 200").arg(kNew)));
}

TEST_F(RemoteImageryTest, ReplacesAnOlderClip)
{
    serveFront(m_host);
    writeFile(kClip, "old");
    writeFile(kClip + QStringLiteral(".src"), kOld.toUtf8());
    writeFile(kClip + QStringLiteral(".etag"), "\"old\"");
    EXPECT_EQ(fetch(kNew, kClip), Fetched::changed);
    EXPECT_EQ(content(kClip), TestImageryHost::clip(QStringLiteral("171")));
    EXPECT_THAT(m_front->takeRequests(),
                ElementsAre(QStringLiteral("GET /%1 200 if \"old\"").arg(kNew)));
}

TEST_F(RemoteImageryTest, TakesNotModifiedForAnAnswerAndNotesThePath)
{
    serveFront(m_host);
    ASSERT_EQ(fetch(kNew, kClip), Fetched::changed);
    const QByteArray tag = content(kClip + QStringLiteral(".etag"));
    m_front->takeRequests();

    EXPECT_EQ(fetch(kUnversioned, kClip), Fetched::changed) << "another file with another tag";
    const QByteArray otherTag = content(kClip + QStringLiteral(".etag"));
    EXPECT_NE(otherTag, tag);
    EXPECT_EQ(fetch(kUnversioned, kClip), Fetched::unchanged);
    EXPECT_EQ(content(kClip + QStringLiteral(".etag")), otherTag);
    EXPECT_THAT(
        m_front->takeRequests(),
        ElementsAre(QStringLiteral("GET /%1 200 if ").arg(kUnversioned) + QString::fromLatin1(tag),
                    QStringLiteral("GET /%1 304 if ").arg(kUnversioned)
                        + QString::fromLatin1(otherTag)));
}

TEST_F(RemoteImageryTest, RewritesTheSourceAfterNotModified)
{
    serveFront([](test::FaultServer::Connection &connection) {
        while (!connection.readRequest().isEmpty()
               && connection.send("HTTP/1.1 304 Not Modified\r\nETag: \"other\"\r\n\r\n")) {}
    });
    writeFile(kClip, "what is here");
    writeFile(kClip + QStringLiteral(".src"), kOld.toUtf8());
    writeFile(kClip + QStringLiteral(".etag"), "\"mine\"");
    EXPECT_EQ(fetch(kNew, kClip), Fetched::unchanged);
    EXPECT_EQ(content(kClip + QStringLiteral(".src")), kNew.toUtf8());
    EXPECT_EQ(content(kClip + QStringLiteral(".etag")), QByteArray("\"mine\""));
    EXPECT_EQ(content(kClip), QByteArray("what is here"));

    QFile::remove(path(kClip + QStringLiteral(".src")));
    QFile::remove(path(kClip + QStringLiteral(".etag")));
    EXPECT_EQ(fetch(kOld, kClip), Fetched::unchanged) << "nobody asked for it, but well";
    EXPECT_EQ(content(kClip + QStringLiteral(".src")), kOld.toUtf8());
    EXPECT_FALSE(has(kClip + QStringLiteral(".etag")));
}

TEST_F(RemoteImageryTest, ForgetsATagThatTheServerGivesNoMore)
{
    serveFront(m_host, QStringLiteral("etag off;"));
    writeFile(kClip + QStringLiteral(".etag"), "\"old\"");
    EXPECT_EQ(fetch(kNew, kClip), Fetched::changed);
    EXPECT_FALSE(has(kClip + QStringLiteral(".etag")));
    EXPECT_EQ(content(kClip + QStringLiteral(".src")), kNew.toUtf8());
}

TEST_F(RemoteImageryTest, LeavesEverythingAloneWhenTheAnswerIsOfNoUse)
{
    serveFront(m_host, QStringLiteral("location /broken { return 500; }"));
    writeFile(kClip, "what is here");
    writeFile(kClip + QStringLiteral(".src"), kOld.toUtf8());
    writeFile(kClip + QStringLiteral(".etag"), "\"old\"");
    const QStringList before = files();
    test::CapturedLog log;
    EXPECT_EQ(fetch(QStringLiteral("v/171/29990101T000000.mp4"), kClip), Fetched::failed);
    EXPECT_EQ(fetch(QStringLiteral("broken"), kClip), Fetched::failed);
    EXPECT_THAT(
        log.messages(),
        ElementsAre(QStringLiteral(
                        "https://imagery.corvella.example/v/171/29990101T000000.mp4: status 404"),
                    QStringLiteral("https://imagery.corvella.example/broken: status 500")));
    EXPECT_EQ(files(), before);
    EXPECT_EQ(content(kClip), QByteArray("what is here"));
    EXPECT_EQ(content(kClip + QStringLiteral(".src")), kOld.toUtf8());
    EXPECT_EQ(content(kClip + QStringLiteral(".etag")), QByteArray("\"old\""));
}

TEST_F(RemoteImageryTest, TakesNoOtherStatusForAnAnswer)
{
    QByteArray answer;
    serveFront([&answer](test::FaultServer::Connection &connection) {
        while (!connection.readRequest().isEmpty() && connection.send(answer)) {}
    });
    writeFile(kClip, "what is here");
    for (const char *status : {"201 Created", "202 Accepted", "203 Changed", "204 No Content",
                               "206 Partial Content", "300 Choose", "302 Nowhere", "410 Gone"}) {
        const QByteArray body = qstrcmp(status, "204 No Content") == 0 ? "" : "xxxx";
        answer = test::okAnswer(body, "Content-Range: bytes 0-3/8\r\nETag: \"x\"\r\n");
        answer.replace("200 OK", status);
        EXPECT_EQ(fetch(kNew, kClip), Fetched::failed) << status;
        EXPECT_FALSE(m_remote.get(QStringLiteral("manifest/171.json"))) << status;
        EXPECT_EQ(content(kClip), QByteArray("what is here")) << status;
        EXPECT_THAT(files(), ElementsAre(kClip)) << status;
    }
}

TEST_F(RemoteImageryTest, KeepsTheOldFileWhenTheNewOneBreaksOff)
{
    serveFront([](test::FaultServer::Connection &connection) {
        connection.readRequest();
        connection.send(test::okAnswer(QByteArray(100'000, 'x')).left(50'000));
    });
    writeFile(kClip, "what is here");
    EXPECT_EQ(fetch(kNew, kClip), Fetched::failed);
    EXPECT_EQ(content(kClip), QByteArray("what is here"));
    EXPECT_THAT(files(), ElementsAre(kClip));
}

TEST_F(RemoteImageryTest, EndsWithinItsLimitsAtATrickle)
{
    serveFront([](test::FaultServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        connection.trickle(20ms);
    });
    Cache::NetworkLimits limits;
    limits.document.total = limits.file.total = 300ms;
    RemoteImagery impatient(m_folder, m_session, limits);
    const test::Stopwatch watch;
    EXPECT_EQ(impatient.fetch(kNew, kClip), Fetched::failed);
    EXPECT_FALSE(impatient.get(QStringLiteral("manifest/171.json")));
    EXPECT_GE(watch.elapsed(), 600ms);
    EXPECT_LT(watch.elapsed(), 20s);
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(RemoteImageryTest, BearsTheSilenceThatIsLaidDownForEachKind)
{
    const Cache::NetworkLimits limits;
    EXPECT_EQ(limits.document.idle, 20s);
    EXPECT_EQ(limits.document.total, 120s);
    EXPECT_EQ(limits.file.idle, 60s);
    EXPECT_EQ(limits.file.total, 600s);

    serveFront([](test::FaultServer::Connection &connection) { connection.waitForClient(); });
    Cache::NetworkLimits shortOnes;
    shortOnes.document.idle = 200ms;
    shortOnes.file.idle = 300ms;
    RemoteImagery impatient(m_folder, m_session, shortOnes);
    test::CapturedLog log;
    EXPECT_FALSE(impatient.get(QStringLiteral("manifest/171.json")));
    EXPECT_EQ(impatient.fetch(kNew, kClip), Fetched::failed);
    EXPECT_THAT(
        log.messages(),
        ElementsAre(
            QStringLiteral("https://imagery.corvella.example/manifest/171.json: silent for 0.2 s"),
            QStringLiteral("https://imagery.corvella.example/") + kNew
                + QStringLiteral(": silent for 0.3 s")));
}

TEST_F(RemoteImageryTest, HasDocumentsAloneCompressed)
{
    QByteArray heads;
    serveFront([&heads](test::FaultServer::Connection &connection) {
        for (QByteArray head; !(head = connection.readRequest()).isEmpty();) {
            heads += head;
            connection.send(test::okAnswer("{}"));
        }
    });
    EXPECT_EQ(m_remote.fetch(kNew, kClip), Fetched::changed);
    EXPECT_FALSE(heads.contains("Accept-Encoding")) << heads.constData();
    (void)m_remote.remoteProducts(true);
    EXPECT_EQ(heads.count("Accept-Encoding"), 1) << heads.constData();
    EXPECT_TRUE(m_remote.get(QStringLiteral("manifest/171.json")));
    EXPECT_EQ(heads.count("Accept-Encoding"), 2) << heads.constData();
}

TEST_F(RemoteImageryTest, StoresANoteWithANewFileAlone)
{
    serveFront(m_host);
    EXPECT_EQ(fetch(kNew, kClip, Note{kStamp, "new"}), Fetched::changed);
    EXPECT_EQ(content(kStamp), QByteArray("new"));
    EXPECT_EQ(fetch(kNew, kClip, Note{kStamp, "newer"}), Fetched::unchanged);
    EXPECT_EQ(content(kStamp), QByteArray("new"));
    EXPECT_THAT(files(),
                ElementsAre(kClip, kClip + QStringLiteral(".etag"), kClip + QStringLiteral(".src"),
                            kStamp));
}

class RemoteImageryWithAnOldFile : public RemoteImageryTest
{
protected:
    RemoteImageryWithAnOldFile()
    {
        serveFront(m_host);
        writeFile(kClip, "old");
        writeFile(kClip + QStringLiteral(".src"), kOld.toUtf8());
        writeFile(kClip + QStringLiteral(".etag"), "\"old\"");
        writeFile(kStamp, "old");
    }
    // That nothing has changed, and why.
    void expectAllAsItWas(const QStringList &before, const QString &reason)
    {
        EXPECT_EQ(files(), before);
        EXPECT_EQ(content(kStamp), QByteArray("old"));
        EXPECT_EQ(content(kClip + QStringLiteral(".src")), kOld.toUtf8());
        EXPECT_EQ(content(kClip + QStringLiteral(".etag")), QByteArray("\"old\""));
        EXPECT_THAT(m_log.messages(),
                    ElementsAre(QStringLiteral("https://imagery.corvella.example/") + kNew
                                + QStringLiteral(": not stored: ") + reason));
    }

    test::CapturedLog m_log;
};

TEST_F(RemoteImageryWithAnOldFile, KeepsItWhenTheNewOneHasNoRoom)
{
    const QStringList before = files();
    {
        const test::FileSizeLimit fullDisk(500); // for the note, but not for the clip
        EXPECT_EQ(fetch(kNew, kClip, Note{kStamp, "new"}), Fetched::changed)
            << "as far as the network is concerned";
    }
    EXPECT_EQ(content(kClip), QByteArray("old"));
    expectAllAsItWas(before, QStringLiteral("File too large"));
}

TEST_F(RemoteImageryWithAnOldFile, KeepsItWhenTheNewOneCannotBeNoted)
{
    ASSERT_TRUE(QDir().mkpath(path(kStamp + QStringLiteral(".tmp"))));
    const QStringList before = files();
    EXPECT_EQ(fetch(kNew, kClip, Note{kStamp, "new"}), Fetched::changed);
    EXPECT_EQ(content(kClip), QByteArray("old"));
    expectAllAsItWas(before, QStringLiteral("Is a directory"));
}

TEST_F(RemoteImageryWithAnOldFile, KnowsWhatItKnewWhenTheNewOneCannotBePutInPlace)
{
    ASSERT_TRUE(QFile::remove(path(kClip)) && QDir().mkpath(path(kClip)));
    const QStringList before = files();
    EXPECT_EQ(fetch(kNew, kClip, Note{kStamp, "new"}), Fetched::changed);
    expectAllAsItWas(before, QStringLiteral("Is a directory"));
}

TEST_F(RemoteImageryTest, KnowsAFileThatIsStillOnItsWayIntoPlace)
{
    serveFront(m_host);
    std::optional<FileLock> isHeldUp = FileLock::acquire(path(kStamp + QStringLiteral(".tmp")));
    EXPECT_EQ(m_remote.fetch(kNew, kClip, Note{kStamp, "new"}), Fetched::changed);
    isHeldUp.reset(); // the file's way into place goes on only now
    EXPECT_EQ(m_remote.fetch(kOld, kClip), Fetched::unchanged);
    EXPECT_THAT(m_front->takeRequests(), ElementsAre(QStringLiteral("GET /%1 200").arg(kNew)));
    EXPECT_EQ(content(kClip), TestImageryHost::clip(QStringLiteral("171")));
}

TEST_F(RemoteImageryTest, AsksWhomItIsToldTo)
{
    const TestImageryHost origin({QStringLiteral("304")});
    serveFront(m_host);
    serveOrigin(origin);
    const QString record304 = QStringLiteral("manifest/304.json");
    const QString record171 = QStringLiteral("manifest/171.json");
    EXPECT_TRUE(m_remote.get(record171));
    EXPECT_FALSE(m_remote.get(record304));
    m_remote.setOnOrigin(true);
    EXPECT_TRUE(m_remote.get(record304));
    m_remote.setOnOrigin(false);
    Settings::setImageryHost(QStringLiteral("https://origin.corvella.example/"));
    EXPECT_TRUE(m_remote.get(record304));
}

TEST_F(RemoteImageryTest, FormsNoAddressFromNonsense)
{
    serveFront(m_host);
    EXPECT_EQ(fetch(QStringLiteral("a path"), kClip), Fetched::failed);
    EXPECT_EQ(fetch(QStringLiteral("%zz"), kClip), Fetched::failed);
    EXPECT_FALSE(m_remote.get(QStringLiteral("x\r\nX-Forged: 1")));
    for (const QString &host : {QString(), QStringLiteral("two words"), QStringLiteral("a:b")}) {
        Settings::setImageryHost(host);
        EXPECT_EQ(fetch(kNew, kClip), Fetched::failed) << host.toStdString();
    }
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());
}

TEST_F(RemoteImageryTest, IsContentWithTheIndexAtHandUnlessItMustAsk)
{
    serveFront(m_host);
    RemoteImagery::ProductList list = m_remote.remoteProducts(false);
    EXPECT_TRUE(list.reached);
    ASSERT_TRUE(list.list);
    EXPECT_EQ(list.list->size(), 1);
    EXPECT_EQ(m_front->takeRequests().size(), 1) << "there was none at hand";

    list = m_remote.remoteProducts(false);
    EXPECT_TRUE(list.reached && list.list);
    EXPECT_THAT(m_front->takeRequests(), IsEmpty());

    list = m_remote.remoteProducts(true);
    EXPECT_TRUE(list.reached && list.list);
    const QStringList requests = m_front->takeRequests();
    ASSERT_EQ(requests.size(), 1);
    EXPECT_THAT(requests.first().toStdString(), StartsWith("GET /manifest/index.json 304 if "));
}

TEST_F(RemoteImageryTest, KeepsTheOldIndexOfAHostThatIsDown)
{
    writeFile(QStringLiteral("index.json"), R"({"products": [
        {"id": "171", "updated": "x", "video": "a"}]})");
    const RemoteImagery::ProductList list = m_remote.remoteProducts(true);
    EXPECT_FALSE(list.reached);
    ASSERT_TRUE(list.list);
    EXPECT_EQ(list.list->size(), 1);
}

TEST_F(RemoteImageryTest, ReadsSingleRecordsOfAnOriginWithoutAnIndexAlone)
{
    TestImageryHost host(TestImageryHost::kProducts);
    host.remove(QStringLiteral("manifest/index.json"));
    host.remove(QStringLiteral("manifest/193.json"));
    host.write(QStringLiteral("manifest/211.json"), "<html>");
    serveFront(host);
    serveOrigin(host);

    const RemoteImagery::ProductList fromFront = m_remote.remoteProducts(true);
    EXPECT_FALSE(fromFront.reached);
    EXPECT_FALSE(fromFront.list);
    EXPECT_EQ(m_front->takeRequests().size(), 1);

    m_remote.setOnOrigin(true);
    const RemoteImagery::ProductList fromOrigin = m_remote.remoteProducts(true);
    EXPECT_TRUE(fromOrigin.reached);
    ASSERT_TRUE(fromOrigin.list);
    QStringList ids;
    for (const Cache::Remote &product : *fromOrigin.list)
        ids << product.id;
    QStringList expected = TestImageryHost::kProducts;
    expected.removeAll(QStringLiteral("193"));
    expected.removeAll(QStringLiteral("211"));
    EXPECT_EQ(ids, expected);
    EXPECT_EQ(m_origin->takeRequests().size(), 13);

    m_remote.setOnOrigin(false);
    Settings::setImageryHost(QString::fromLatin1(kOriginName));
    EXPECT_TRUE(m_remote.remoteProducts(true).reached) << "the origin is set as imagery host";
}

TEST_F(RemoteImageryTest, ReachedNobodyWhereEvenRecordsAreMissing)
{
    const TestImageryHost empty({});
    serveOrigin(empty);
    m_remote.setOnOrigin(true);
    test::CapturedLog log;
    const RemoteImagery::ProductList list = m_remote.remoteProducts(true);
    EXPECT_FALSE(list.reached);
    EXPECT_FALSE(list.list);
    EXPECT_THAT(log.messages(),
                ElementsAre(QStringLiteral(
                    "https://origin.corvella.example/manifest/index.json: status 404")))
        << "once for all that is missing";
}

TEST_F(RemoteImageryTest, HasNoListInAnIndexThatIsNone)
{
    const QByteArray huge = "{\"products\": [" + QByteArray(64 << 20, ' ') + "]}";
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("<html></html>"), QByteArray("[]"), QByteArray("{}")}) {
        writeFile(QStringLiteral("index.json"), bytes);
        EXPECT_FALSE(m_remote.remoteProducts(false).list) << bytes.constData();
        EXPECT_FALSE(m_remote.indexGenerated());
    }
    QFile::remove(path(QStringLiteral("index.json")));
    m_host.writeIndex(huge);
    serveFront(m_host, QStringLiteral("gzip off;"));
    const RemoteImagery::ProductList list = m_remote.remoteProducts(true);
    EXPECT_FALSE(list.reached);
    EXPECT_FALSE(list.list);
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(RemoteImageryTest, KnowsWhenTheIndexWasMade)
{
    EXPECT_FALSE(m_remote.indexGenerated());
    writeFile(QStringLiteral("index.json"), R"({"generated": "2026-09-24T21:00:00Z"})");
    EXPECT_EQ(m_remote.indexGenerated(), QDateTime(QDate(2026, 9, 24), QTime(21, 0), Qt::UTC));
}

} // namespace
} // namespace corvella

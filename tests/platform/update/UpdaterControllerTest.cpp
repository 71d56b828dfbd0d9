// Updates from a real web server, and from one that misbehaves, to a small copy of the program.
#include "platform/update/UpdaterController.h"
#include "InstalledCopy.h"
#include "platform/update/Now.h"
#include "support/CapturedLog.h"
#include "support/FaultServer.h"
#include "support/NginxServer.h"
#include "support/QtPrinting.h"

#include <atomic>
#include <gmock/gmock.h>
#include <random>
#include <sys/stat.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;
using test::FeedEntry;
using testing::ElementsAre;
using Connection = test::FaultServer::Connection;

const QString kFeedRequest = u"GET /appcast.xml 200"_s;

// What a signal said, each time.
template <typename... Arguments> class Heard
{
public:
    template <typename Sender> Heard(Sender *sender, void (Sender::*signal)(Arguments...))
    {
        QObject::connect(sender, signal, &m_context, [this](Arguments... arguments) {
            m_all << std::tuple<std::decay_t<Arguments>...>(arguments...);
        });
    }
    [[nodiscard]] bool isEmpty() const { return m_all.isEmpty(); }
    [[nodiscard]] const auto &all() const { return m_all; }

private:
    QList<std::tuple<std::decay_t<Arguments>...>> m_all;
    QObject m_context;
};

class UpdaterControllerTest : public testing::Test
{
protected:
    UpdaterControllerTest()
    {
        m_authority.trust();
        EXPECT_TRUE(QDir().mkpath(m_www));
    }

    void serve(const QString &locations = {})
    {
        m_server = std::make_unique<test::NginxServer>(m_identity, m_www, locations);
        m_host = m_server->host();
    }
    [[nodiscard]] QString feedUrl() const { return u"https://"_s + m_host + u"/appcast.xml"_s; }
    // Lays a bundle on the server; the entry that announces it.
    FeedEntry addBundle(const QByteArray &bytes, qint64 build = 2)
    {
        const QString name = u"corvella-%1.tar.gz"_s.arg(build);
        m_home.write(m_www + u'/' + name, bytes);
        return {.version = u"1.%1"_s.arg(build),
                .build = build,
                .url = u"https://"_s + m_host + u'/' + name,
                .length = bytes.size(),
                .signature = m_signer.sign(bytes)};
    }
    FeedEntry addBuild(qint64 build = 2, const QByteArray &script = "exit 0")
    {
        return addBundle(test::makeArchive(test::buildEntries(u"1.%1"_s.arg(build), build, script)),
                         build);
    }
    void announce(const QList<FeedEntry> &entries)
    {
        m_home.write(
            m_www + u"/appcast.xml"_s,
            test::signedFeed(test::makeFeed(entries, m_issued, m_issued.addDays(30)), m_signer));
    }
    UpdaterController &controller()
    {
        if (m_controller)
            return *m_controller;
        m_controller = std::make_unique<UpdaterController>(
            UpdaterController::Surroundings{.executable = m_copy.executable(),
                                            .key = m_signer.publicKey(),
                                            .now = [this] { return m_now; }},
            UpdaterController::Delegate{
                .feedUrl = [this] { return feedUrl(); },
                .channels = [] { return QStringList(); },
                .refusal = [this] { return m_refusal; },
                .willInstallUpdateOnQuit =
                    [this](const QString &version, std::function<void()> installNow) {
                        m_ready << version;
                        m_installNow = std::move(installNow);
                        return false;
                    }});
        QObject::connect(m_controller.get(), &UpdaterController::failed, m_controller.get(),
                         [this](UpdateFault fault, const QString &reason) {
                             m_faults << fault;
                             m_reasons << reason;
                         });
        return *m_controller;
    }
    // Checks in the background; whether an update lies ready afterwards.
    bool becomesReady()
    {
        const qsizetype ready = m_ready.size();
        const qsizetype faults = m_faults.size();
        const Heard upToDate(&controller(), &UpdaterController::upToDate);
        controller().checkInBackground();
        EXPECT_TRUE(becomes([&] {
            return m_ready.size() > ready || m_faults.size() > faults || !upToDate.isEmpty();
        }));
        return m_ready.size() > ready;
    }
    UpdateFault fault()
    {
        EXPECT_FALSE(becomesReady());
        // Whatever was wrong, the old build is the one that starts, and nothing lies around.
        EXPECT_EQ(m_copy.link(u"current"_s), u"1"_s);
        EXPECT_FALSE(QFile::exists(m_copy.path(u"2"_s)));
        EXPECT_FALSE(QFile::exists(m_copy.path(u".new-2"_s)));
        return m_faults.isEmpty() ? UpdateFault::none : m_faults.last();
    }
    UpdateFault faultOfBundle(const QByteArray &bytes)
    {
        announce({addBundle(bytes)});
        return fault();
    }
    // A build of which this reads clips.
    static QList<test::ArchiveEntry> withReader(const char *script)
    {
        const auto folder = test::ArchiveEntry::Kind::folder;
        return test::buildEntries(u"1.2"_s, 2)
            + QList<test::ArchiveEntry>{
                {.name = "lib/", .mode = 0755, .kind = folder},
                {.name = "lib/corvella/", .mode = 0755, .kind = folder},
                {.name = "lib/corvella/corvella-clips-1.2", .content = script, .mode = 0755}};
    }
    // Checks for a build, and ends while it proves itself, when this file is there.
    void endWhileItHangs(const QList<test::ArchiveEntry> &entries, const QString &sign)
    {
        announce({addBundle(test::makeArchive(entries))});
        controller().checkInBackground();
        ASSERT_TRUE(becomes([&] { return QFile::exists(m_copy.path(sign)); }));
        const test::Stopwatch watch;
        m_controller->terminate();
        EXPECT_LT(watch.elapsed(), std::chrono::seconds(5));
        EXPECT_EQ(m_copy.link(u"current"_s), u"1"_s);
        EXPECT_FALSE(QFile::exists(m_copy.path(u"2"_s)));
        EXPECT_FALSE(QFile::exists(m_copy.path(u".new-2"_s)));
        EXPECT_EQ(parts().size(), 1); // it need not be downloaded again
        EXPECT_FALSE(m_faults.contains(UpdateFault::doesNotRun));
    }
    // Whether a look finds that a day has not passed. That of somebody, which follows it, asks in
    // any case.
    bool waitsForTomorrow()
    {
        const auto feeds = [this] { return m_server->takeRequests().count(kFeedRequest); };
        feeds();
        const Heard offered(&controller(), &UpdaterController::offered);
        controller().checkIfDue();
        controller().checkForUpdates();
        EXPECT_TRUE(becomes([&] { return !offered.isEmpty(); }));
        return feeds() == 1;
    }
    [[nodiscard]] QStringList parts() const
    {
        return QDir(m_copy.path(u".update"_s)).entryList({u"*.part"_s}, QDir::Files);
    }

    test::TemporaryHome m_home;
    QString m_www = m_home.path(u"www"_s);
    test::TestAuthority m_authority;
    test::ServerIdentity m_identity = m_authority.issue({u"localhost"_s});
    test::TestSigner m_signer;
    test::InstalledCopy m_copy{m_home};
    std::unique_ptr<test::NginxServer> m_server;
    QString m_host;
    QDateTime m_now = kNow;
    QDateTime m_issued = kNow.addSecs(-3600);
    std::optional<QString> m_refusal;
    QStringList m_ready;
    std::function<void()> m_installNow;
    QList<UpdateFault> m_faults;
    QStringList m_reasons;
    std::unique_ptr<UpdaterController> m_controller;
};

TEST_F(UpdaterControllerTest, HasAnUpdateLieReadyAndInstallsItWhenTold)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    EXPECT_THAT(m_ready, ElementsAre(u"1.2"_s));
    EXPECT_EQ(m_copy.link(u"current"_s), u"1"_s);
    EXPECT_TRUE(parts().isEmpty());
    const Heard ends(m_controller.get(), &UpdaterController::endRequested);
    m_installNow();
    EXPECT_EQ(ends.all().size(), 1);
    EXPECT_EQ(m_copy.link(u"current"_s), u"2"_s);
    EXPECT_EQ(m_copy.link(u"previous"_s), u"1"_s);
    EXPECT_EQ(m_controller->relaunch(), m_copy.path(u"bin/corvella"_s));
    EXPECT_EQ(m_copy.installation(2).identity(), (BuildIdentity{u"1.2"_s, 2, u"linux-x86_64"_s}));
    EXPECT_THAT(m_server->takeRequests(),
                ElementsAre(kFeedRequest, u"GET /corvella-2.tar.gz 200"_s));
}

TEST_F(UpdaterControllerTest, InstallsWhenTheProgramEndsAndSaysSo)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    test::CapturedLog log;
    m_controller->terminate();
    EXPECT_THAT(log.messages(), ElementsAre(u"update: 1.2 installed; it starts next time"_s));
    EXPECT_EQ(m_copy.link(u"current"_s), u"2"_s);
    EXPECT_EQ(m_controller->relaunch(), std::nullopt);
}

TEST_F(UpdaterControllerTest, AsksAgainEachTimeAndDownloadsOnce)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    ASSERT_TRUE(becomesReady());
    EXPECT_THAT(m_ready, ElementsAre(u"1.2"_s, u"1.2"_s));
    EXPECT_EQ(m_server->takeRequests().filter(u"tar.gz"_s).size(), 1);
}

TEST_F(UpdaterControllerTest, ChecksOnceADayByItself)
{
    serve();
    announce({});
    m_home.write(m_copy.path(u".update/state.json"_s), R"({"lastCheck": "2026-09-09T12:00:01Z"})");
    ASSERT_EQ(::chmod(QFile::encodeName(m_copy.path(u".update"_s)).constData(), 0700), 0);
    UpdatePreparation preparation({.installation = m_copy.installation(),
                                   .key = *PublicKey::parse(m_signer.publicKey()),
                                   .feedUrl = feedUrl(),
                                   .system = QVersionNumber(2, 36),
                                   .now = [this] { return m_now; }});
    EXPECT_EQ(preparation.find(CheckKind::automatic, false).result.fault, UpdateFault::notDue);
    EXPECT_TRUE(m_server->takeRequests().isEmpty());
    m_now = m_now.addSecs(1);
    EXPECT_EQ(preparation.find(CheckKind::automatic, false).result.fault, UpdateFault::none);
    EXPECT_EQ(preparation.find(CheckKind::automatic, false).result.fault, UpdateFault::notDue);
    EXPECT_EQ(m_server->takeRequests().size(), 1);
    EXPECT_EQ(preparation.find(CheckKind::byHand, false).result.fault, UpdateFault::none);
    EXPECT_EQ(m_server->takeRequests().size(), 1);
    // A download that broke off is gone on with, and is dropped when it is offered no more.
    m_home.write(m_copy.path(u".update/0.part"_s), "half");
    EXPECT_EQ(preparation.find(CheckKind::automatic, false).result.fault, UpdateFault::none);
    EXPECT_EQ(preparation.find(CheckKind::automatic, false).result.fault, UpdateFault::notDue);
    EXPECT_EQ(m_server->takeRequests().size(), 1);
    EXPECT_TRUE(parts().isEmpty());
}

TEST_F(UpdaterControllerTest, FindsWhatLayReadyWhenTheProgramWasKilledWithoutWaitingForTomorrow)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    m_controller.reset(); // and nothing was installed
    m_server->takeRequests();
    controller().checkIfDue();
    EXPECT_TRUE(becomes([this] { return m_ready.size() == 2; }));
    EXPECT_THAT(m_server->takeRequests(), ElementsAre(kFeedRequest));
}

TEST_F(UpdaterControllerTest, DownloadsWithoutWaitingForTomorrowWhatItFoundBeforeItWasKilled)
{
    serve();
    announce({addBuild()});
    const Heard refused(&controller(), &UpdaterController::refused);
    controller().checkIfDue();
    m_refusal = u"not now"_s; // so that the download does not begin
    ASSERT_TRUE(becomes([&] { return !refused.isEmpty(); }));
    m_controller.reset();
    m_refusal.reset();
    controller().checkIfDue();
    EXPECT_TRUE(becomes([this] { return !m_ready.isEmpty(); }));
    EXPECT_TRUE(waitsForTomorrow());
}

// A power cut may bring back what was removed and not flushed.
TEST_F(UpdaterControllerTest, AsksNoMoreThanDailyWhereTheDownloadOfWhatLiesReadyIsThereAgain)
{
    serve();
    announce({addBuild()});
    const QString bundle = m_www + u"/corvella-2.tar.gz"_s;
    ASSERT_TRUE(QFile::rename(bundle, bundle + u".away"_s));
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    ASSERT_EQ(parts().size(), 1);
    const QString part = m_copy.path(u".update/"_s + parts().first());
    ASSERT_TRUE(QFile::rename(bundle + u".away"_s, bundle));
    ASSERT_TRUE(becomesReady());
    m_home.write(part, "half");
    controller().checkIfDue();
    ASSERT_TRUE(becomes([this] { return m_ready.size() == 2; }));
    EXPECT_TRUE(waitsForTomorrow());
}

TEST_F(UpdaterControllerTest, CountsACheckByHandThatEndsInAnOffer)
{
    serve();
    announce({addBuild()});
    const Heard offered(&controller(), &UpdaterController::offered);
    controller().checkForUpdates();
    ASSERT_TRUE(becomes([&] { return !offered.isEmpty(); }));
    EXPECT_TRUE(waitsForTomorrow());
}

TEST_F(UpdaterControllerTest, OffersItToWhoAsksWhileItChecksByItself)
{
    serve();
    announce({addBuild()});
    const Heard offered(&controller(), &UpdaterController::offered);
    controller().checkInBackground();
    controller().checkForUpdates();
    EXPECT_TRUE(becomes([&] { return !offered.isEmpty(); }));
    EXPECT_TRUE(m_server->takeRequests().filter(u"tar.gz"_s).isEmpty());
}

TEST_F(UpdaterControllerTest, OffersWhatSomebodyAskedForBeforeItDownloads)
{
    serve();
    FeedEntry entry = addBuild();
    entry.more = "<description>Sharper loops</description>";
    announce({entry});
    const Heard offered(&controller(), &UpdaterController::offered);
    const Heard downloading(&controller(), &UpdaterController::downloading);
    controller().checkForUpdates();
    ASSERT_TRUE(becomes([&] { return !offered.isEmpty(); }));
    EXPECT_EQ(offered.all().first(), std::tuple(u"1.2"_s, u"Sharper loops"_s));
    EXPECT_EQ(m_server->takeRequests().size(), 1);
    controller().accept();
    ASSERT_TRUE(becomes([&] { return !m_ready.isEmpty(); }));
    EXPECT_EQ(downloading.all().last(), std::tuple(entry.length, entry.length));
}

TEST_F(UpdaterControllerTest, GoesOnWhereADownloadBrokeOff)
{
    QByteArray noise(300'000, '\0'); // is not packed away
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    const QByteArray bytes = test::makeArchive(
        test::buildEntries(u"1.2"_s, 2)
        + QList<test::ArchiveEntry>{{.name = "share/corvella/noise", .content = noise}});
    QByteArray feed;
    QList<QByteArray> asked;
    const test::FaultServer server(m_identity, [&](Connection &connection) {
        for (QByteArray head = connection.readRequest(); !head.isEmpty();
             head = connection.readRequest()) {
            if (head.startsWith("GET /appcast")) {
                connection.send(test::okAnswer(feed));
                continue;
            }
            asked << head;
            const QByteArray size = QByteArray::number(bytes.size());
            if (asked.size() == 1) {
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + size + "\r\n\r\n");
                connection.send(bytes.left(100'000));
                return; // in the middle
            }
            connection.send("HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 100000-"
                            + QByteArray::number(bytes.size() - 1) + '/' + size
                            + "\r\nContent-Length: " + QByteArray::number(bytes.size() - 100'000)
                            + "\r\n\r\n");
            connection.send(bytes.mid(100'000));
        }
    });
    m_host = server.host();
    feed = test::signedFeed(test::makeFeed({addBundle(bytes)}, m_issued, m_issued.addDays(30)),
                            m_signer);
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    EXPECT_EQ(parts().size(), 1);
    EXPECT_TRUE(becomesReady());
    ASSERT_EQ(asked.size(), 2);
    EXPECT_FALSE(asked[0].contains("Range"));
    EXPECT_TRUE(asked[1].contains("Range: bytes=100000-\r\n"));
}

TEST_F(UpdaterControllerTest, StartsAnewWhereWhatWasKeptIsSpoilt)
{
    serve();
    const QByteArray bytes = test::makeArchive(test::buildEntries(u"1.2"_s, 2));
    announce({addBundle(bytes)});
    m_home.write(m_www + u"/corvella-2.tar.gz"_s, bytes.left(100));
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted); // cut short
    EXPECT_TRUE(parts().isEmpty());
    m_home.write(m_www + u"/corvella-2.tar.gz"_s, bytes);
    EXPECT_TRUE(becomesReady());
}

TEST_F(UpdaterControllerTest, StartsAnewWhereWhatWasKeptIsOfNoUse)
{
    QByteArray noise(300'000, '\0'); // is not packed away
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    const QByteArray bytes = test::makeArchive(
        test::buildEntries(u"1.2"_s, 2)
        + QList<test::ArchiveEntry>{{.name = "share/corvella/noise", .content = noise}});
    const qsizetype half = bytes.size() / 2;
    const QByteArray size = QByteArray::number(bytes.size());
    const QByteArray whole = "HTTP/1.1 200 OK\r\nContent-Length: " + size + "\r\n\r\n";
    QByteArray feed;
    QList<QByteArray> ranges;
    const test::FaultServer server(m_identity, [&](Connection &connection) {
        for (QByteArray head = connection.readRequest(); !head.isEmpty();
             head = connection.readRequest()) {
            if (head.startsWith("GET /appcast")) {
                connection.send(test::okAnswer(feed));
                continue;
            }
            const qsizetype range = head.indexOf("Range: bytes=");
            ranges << (range < 0 ? QByteArray()
                                 : head.mid(range + 13, head.indexOf('-', range) - range - 13));
            switch (ranges.size()) {
            case 1: // the wrong half
                connection.send(whole + QByteArray(half, 'x'));
                return;
            case 2: // the right rest
                connection.send("HTTP/1.1 206 Partial Content\r\nContent-Range: bytes "
                                + QByteArray::number(half) + '-'
                                + QByteArray::number(bytes.size() - 1) + '/' + size
                                + "\r\nContent-Length: " + QByteArray::number(bytes.size() - half)
                                + "\r\n\r\n");
                connection.send(bytes.mid(half));
                break;
            case 3:
            case 5:
                connection.send(whole + bytes.left(half));
                return;
            case 4:
                connection.send("HTTP/1.1 416 Range Not Satisfiable\r\nContent-Length: 0\r\n\r\n");
                break;
            default:
                connection.send(whole + bytes);
            }
        }
    });
    m_host = server.host();
    feed = test::signedFeed(test::makeFeed({addBundle(bytes)}, m_issued, m_issued.addDays(30)),
                            m_signer);
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted); // halves that do not fit
    EXPECT_TRUE(parts().isEmpty());
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted); // the server has less than that
    EXPECT_TRUE(parts().isEmpty());
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    ASSERT_EQ(parts().size(), 1);
    m_home.write(m_copy.path(u".update/"_s + parts().first()), bytes + "more");
    EXPECT_TRUE(becomesReady());
    const QByteArray from = QByteArray::number(half);
    EXPECT_THAT(ranges, ElementsAre("", from, "", from, "", ""));
}

TEST_F(UpdaterControllerTest, ThrowsAwayABundleThatIsLongerThanTheFeedSays)
{
    serve();
    const QByteArray bytes = test::makeArchive(test::buildEntries(u"1.2"_s, 2));
    announce({addBundle(bytes)});
    m_home.write(m_www + u"/corvella-2.tar.gz"_s, bytes + 'x');
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted);
    EXPECT_TRUE(parts().isEmpty());
}

TEST_F(UpdaterControllerTest, RefusesABundleWithOneBitChanged)
{
    serve();
    const QByteArray bytes = test::makeArchive(test::buildEntries(u"1.2"_s, 2));
    for (const qsizetype at : {qsizetype(0), bytes.size() / 2, bytes.size() - 1}) {
        announce({addBundle(bytes)});
        QByteArray changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ 4);
        m_home.write(m_www + u"/corvella-2.tar.gz"_s, changed);
        EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted) << at;
        EXPECT_TRUE(parts().isEmpty());
    }
}

TEST_F(UpdaterControllerTest, RefusesABundleSignedByAnotherKeyOrByNobody)
{
    serve();
    const QByteArray bytes = test::makeArchive(test::buildEntries(u"1.2"_s, 2));
    FeedEntry entry = addBundle(bytes);
    entry.signature = test::TestSigner().sign(bytes);
    announce({entry});
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted);
    entry.signature = QByteArray(64, '\0').toBase64();
    m_issued = m_issued.addSecs(1);
    announce({entry});
    EXPECT_EQ(fault(), UpdateFault::bundleNotTrusted);
    entry.signature.clear();
    m_issued = m_issued.addSecs(1);
    announce({entry});
    m_faults.clear();
    EXPECT_EQ(fault(), UpdateFault::none); // no update at all
    EXPECT_EQ(m_server->takeRequests().filter(u"tar.gz"_s).size(), 2);
}

TEST_F(UpdaterControllerTest, OffersNothingOlderNorTheSameNorForAnotherMachine)
{
    serve();
    m_copy.add(5, u"1.5"_s);
    ASSERT_TRUE(QFile::remove(m_copy.path(u"current"_s)));
    ASSERT_TRUE(QFile::link(u"5"_s, m_copy.path(u"current"_s)));
    FeedEntry other = addBuild(7);
    other.machine = u"linux-riscv64"_s;
    announce({addBuild(4), addBuild(5), other});
    m_controller = nullptr;
    UpdaterController atFive({.executable = m_copy.executable(5),
                              .key = m_signer.publicKey(),
                              .now = [this] { return m_now; }},
                             {.feedUrl = [this] { return feedUrl(); },
                              .channels = [] { return QStringList(); },
                              .refusal = [] { return std::optional<QString>(); },
                              .willInstallUpdateOnQuit =
                                  [](const QString &, const std::function<void()> &) {
                                      ADD_FAILURE();
                                      return false;
                                  }});
    const Heard upToDate(&atFive, &UpdaterController::upToDate);
    atFive.checkForUpdates();
    EXPECT_TRUE(becomes([&] { return !upToDate.isEmpty(); }));
    EXPECT_THAT(m_server->takeRequests(), ElementsAre(kFeedRequest));
}

TEST_F(UpdaterControllerTest, RefusesABundleThatTheFeedCallsWhatItIsNot)
{
    serve();
    // Signed by the right key each time.
    const auto pack = [](const QList<test::ArchiveEntry> &entries) {
        return test::makeArchive(entries);
    };
    EXPECT_EQ(faultOfBundle(pack(test::buildEntries(u"1.0"_s, 1))), UpdateFault::bundleNotTrusted);
    m_issued = m_issued.addSecs(1);
    EXPECT_EQ(faultOfBundle(pack(test::buildEntries(u"1.9"_s, 2))), UpdateFault::bundleNotTrusted);
    m_issued = m_issued.addSecs(1);
    EXPECT_EQ(faultOfBundle(pack(test::buildEntries(u"1.2"_s, 2, "", u"linux-riscv64"_s))),
              UpdateFault::bundleNotTrusted);
    m_issued = m_issued.addSecs(1);
    EXPECT_EQ(faultOfBundle(pack({{.name = "bin/corvella", .content = "x", .mode = 0755}})),
              UpdateFault::bundleNotTrusted);
}

TEST_F(UpdaterControllerTest, RefusesSignedBundlesThatReachOutOfTheirFolder)
{
    serve();
    const QList<test::ArchiveEntry> hostile{
        {.name = "../outside", .content = "x"},
        {.name = "/tmp/corvella-outside", .content = "x"},
        {.name = "link",
         .content = "../../../../etc",
         .kind = test::ArchiveEntry::Kind::symbolicLink},
        {.name = "bin/tool", .content = "x", .mode = 04755},
    };
    const QStringList before = m_copy.names();
    for (const test::ArchiveEntry &entry : hostile) {
        const QByteArray bytes = test::makeArchive(test::buildEntries(u"1.2"_s, 2) + QList{entry});
        EXPECT_EQ(faultOfBundle(bytes), UpdateFault::bundleNotTrusted) << entry.name.constData();
        m_issued = m_issued.addSecs(1);
    }
    EXPECT_EQ(m_copy.names().size(), before.size() + 1); // .update
    EXPECT_FALSE(QFile::exists(u"/tmp/corvella-outside"_s));
}

TEST_F(UpdaterControllerTest, KeepsTheOldBuildWhereTheNewOneFailsItsOwnTest)
{
    serve();
    QList<test::ArchiveEntry> entries = test::buildEntries(u"1.2"_s, 2);
    for (const char *script :
         {"#!/bin/sh\nexit 1\n", "#!/bin/sh\nexit 0\n" /* says nothing */,
          "#!/bin/sh\necho ok\nkill -ABRT $$\n", "#!/no/such/program\n", "no program"}) {
        entries[1].content = script;
        EXPECT_EQ(faultOfBundle(test::makeArchive(entries)), UpdateFault::doesNotRun) << script;
        m_issued = m_issued.addSecs(1);
        m_controller.reset(); // which would not try that build again
    }
}

// As without a library that this machine lacks.
TEST_F(UpdaterControllerTest, KeepsTheOldBuildWhereNothingReadsTheNewOnesClips)
{
    serve();
    for (const char *script : {"#!/bin/sh\nexit 127\n", "#!/no/such/program\n"}) {
        EXPECT_EQ(faultOfBundle(test::makeArchive(withReader(script))), UpdateFault::doesNotRun);
        m_issued = m_issued.addSecs(1);
    }
    m_controller.reset(); // which would not try that build again
    announce({addBundle(test::makeArchive(withReader("#!/bin/sh\nexit 0\n")))});
    EXPECT_TRUE(becomesReady());
}

TEST_F(UpdaterControllerTest, GivesTheNewBuildTimeForItsOwnTest)
{
    serve();
    QList<test::ArchiveEntry> entries = test::buildEntries(u"1.2"_s, 2);
    entries[1].content = "#!/bin/sh\nsleep 0.4\necho ok\n";
    announce({addBundle(test::makeArchive(entries))});
    EXPECT_TRUE(becomesReady());
}

TEST_F(UpdaterControllerTest, TriesABuildThatDoesNotRunTwiceByItselfAndNoMore)
{
    serve();
    QList<test::ArchiveEntry> entries = test::buildEntries(u"1.2"_s, 2);
    entries[1].content = "#!/bin/sh\nexit 1\n";
    EXPECT_EQ(faultOfBundle(test::makeArchive(entries)), UpdateFault::doesNotRun);
    m_faults.clear();
    EXPECT_EQ(fault(), UpdateFault::doesNotRun);
    m_faults.clear();
    EXPECT_EQ(fault(), UpdateFault::none);
    EXPECT_TRUE(waitsForTomorrow());
    // Somebody wants it all the same, and its download breaks off.
    ASSERT_TRUE(QFile::remove(m_www + u"/corvella-2.tar.gz"_s));
    controller().accept();
    ASSERT_TRUE(becomes([this] { return m_faults.contains(UpdateFault::unreachable); }));
    ASSERT_EQ(parts().size(), 1);
    EXPECT_FALSE(becomesReady());
    EXPECT_TRUE(waitsForTomorrow());
}

TEST_F(UpdaterControllerTest, RemembersTheNewestFeedFromCheckToCheck)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    m_controller.reset();
    m_issued = m_issued.addSecs(-1);
    announce({});
    EXPECT_FALSE(becomesReady());
    EXPECT_THAT(m_faults, ElementsAre(UpdateFault::feedOlder));
    m_issued = m_issued.addSecs(1);
    announce({});
    EXPECT_FALSE(becomesReady());
    EXPECT_EQ(m_faults.last(), UpdateFault::feedNotTrusted); // two of one date
    m_issued = m_issued.addSecs(1);
    m_now = m_now.addDays(40);
    announce({addBuild()});
    EXPECT_FALSE(becomesReady());
    EXPECT_EQ(m_faults.last(), UpdateFault::feedExpired);
    m_now = m_issued.addDays(-2);
    EXPECT_FALSE(becomesReady());
    EXPECT_EQ(m_faults.last(), UpdateFault::clockWrong);
}

TEST_F(UpdaterControllerTest, RefusesAFeedThatIsNotSigned)
{
    serve();
    m_home.write(m_www + u"/appcast.xml"_s,
                 test::makeFeed({addBuild()}, m_issued, m_issued.addDays(30)));
    EXPECT_EQ(fault(), UpdateFault::feedNotTrusted);
    EXPECT_THAT(m_server->takeRequests(), ElementsAre(kFeedRequest));
}

TEST_F(UpdaterControllerTest, TalksToNobodyWithoutProofOfWhoItIs)
{
    const test::TestAuthority stranger;
    m_identity = stranger.issue({u"localhost"_s});
    serve();
    announce({addBuild()});
    EXPECT_EQ(fault(), UpdateFault::unreachable);
}

TEST_F(UpdaterControllerTest, LogsTheSameTroubleOnce)
{
    serve();
    test::CapturedLog log;
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    EXPECT_EQ(fault(), UpdateFault::unreachable);
    EXPECT_THAT(log.messages(), ElementsAre(u"update: https://%1/appcast.xml: 404"_s.arg(m_host)));
}

TEST_F(UpdaterControllerTest, SaysWhyThisCopyCannotUpdateItselfAndAsksNobody)
{
    serve();
    announce({addBuild()});
    const auto check = [this](const QString &executable, const QByteArray &key) {
        UpdaterController controller(
            {.executable = executable, .key = key, .now = [this] { return m_now; }},
            {.feedUrl = [this] { return feedUrl(); },
             .channels = [] { return QStringList(); },
             .refusal = [] { return std::optional<QString>(); },
             .willInstallUpdateOnQuit = [](const QString &,
                                           const std::function<void()> &) { return false; }});
        UpdateFault found = UpdateFault::none;
        QObject::connect(&controller, &UpdaterController::failed, &controller,
                         [&found](UpdateFault fault) { found = fault; });
        controller.checkInBackground(); // nobody asked: nothing is said
        EXPECT_EQ(found, UpdateFault::none);
        controller.checkForUpdates();
        return found;
    };
    EXPECT_EQ(check(m_copy.executable(), {}), UpdateFault::noKey);
    EXPECT_EQ(check(m_home.path(u"build/bin/corvella"_s), m_signer.publicKey()),
              UpdateFault::loose);
    m_home.write(m_copy.path(u"1/share/corvella/package-manager"_s), "");
    EXPECT_EQ(check(m_copy.executable(), m_signer.publicKey()), UpdateFault::packageManager);
    EXPECT_EQ(m_server->connections(), 0);
    EXPECT_FALSE(QFile::exists(m_copy.path(u".update"_s)));
}

TEST_F(UpdaterControllerTest, ChecksOnceADayHoweverOftenItIsAskedToWhereItIsDue)
{
    serve();
    announce({addBuild()});
    const auto feeds = [this] { return m_server->takeRequests().count(kFeedRequest); };
    controller().checkIfDue();
    ASSERT_TRUE(becomes([this] { return !m_ready.isEmpty(); }));
    EXPECT_EQ(feeds(), 1);
    EXPECT_TRUE(waitsForTomorrow());
    m_now = m_now.addDays(1).addSecs(1);
    controller().checkIfDue();
    ASSERT_TRUE(becomes([this] { return m_ready.size() == 2; }));
    EXPECT_EQ(feeds(), 1);
    EXPECT_TRUE(waitsForTomorrow());
}

TEST_F(UpdaterControllerTest, AsksNobodyWhereItsOwnerDoesNotWantThat)
{
    serve();
    announce({addBuild()});
    m_refusal = u"not now"_s;
    const Heard refused(&controller(), &UpdaterController::refused);
    controller().checkInBackground();
    EXPECT_TRUE(refused.isEmpty());
    controller().checkForUpdates();
    EXPECT_EQ(refused.all().size(), 1);
    EXPECT_EQ(m_server->connections(), 0);
}

TEST_F(UpdaterControllerTest, DownloadsNothingWhereItsOwnerNoLongerWantsThat)
{
    serve();
    announce({addBuild()});
    const Heard refused(&controller(), &UpdaterController::refused);
    controller().checkInBackground();
    m_refusal = u"not now"_s; // before the feed is there
    ASSERT_TRUE(becomes([&] { return !refused.isEmpty(); }));
    EXPECT_THAT(m_server->takeRequests(), ElementsAre(kFeedRequest));
}

TEST_F(UpdaterControllerTest, StopsADownloadThatItsOwnerNoLongerWants)
{
    QByteArray feed;
    std::atomic_bool isGone = false;
    const test::FaultServer server(m_identity, [&](Connection &connection) {
        QByteArray head = connection.readRequest();
        for (; head.startsWith("GET /appcast"); head = connection.readRequest())
            connection.send(test::okAnswer(feed));
        if (head.isEmpty())
            return; // the check is through; the download has a connection of its own
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        connection.trickle(std::chrono::milliseconds(10));
        isGone = true;
    });
    m_host = server.host();
    FeedEntry entry = addBuild();
    entry.length = 1'000'000;
    feed = test::signedFeed(test::makeFeed({entry}, m_issued, m_issued.addDays(30)), m_signer);
    const Heard downloading(&controller(), &UpdaterController::downloading);
    const Heard refused(&controller(), &UpdaterController::refused);
    controller().checkInBackground();
    ASSERT_TRUE(becomes([&] { return !downloading.isEmpty(); }));
    m_refusal = u"not now"_s;
    EXPECT_TRUE(becomes([&] { return isGone && !refused.isEmpty(); }));
    EXPECT_THAT(m_faults, testing::IsEmpty());
    EXPECT_EQ(parts().size(), 1); // it goes on there
}

TEST_F(UpdaterControllerTest, CannotWorkInAFolderThatOthersCanWriteTo)
{
    serve();
    announce({addBuild()});
    ASSERT_EQ(::chmod(QFile::encodeName(m_copy.path()).constData(), 0777), 0);
    EXPECT_EQ(fault(), UpdateFault::cannotWrite);
    EXPECT_EQ(m_server->connections(), 0);
}

TEST_F(UpdaterControllerTest, LeavesTheFieldToAnotherProcess)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(m_copy.installation().makeWorkFolder().isOk());
    {
        const auto lock = FileLock::acquire(m_copy.path(u".update/lock"_s));
        ASSERT_TRUE(lock);
        EXPECT_EQ(fault(), UpdateFault::busy);
    }
    m_copy.add(3, u"1.3"_s);
    ASSERT_TRUE(m_copy.installation().switchTo(3).isOk());
    EXPECT_FALSE(becomesReady());
    EXPECT_EQ(m_faults.last(), UpdateFault::superseded);
}

TEST_F(UpdaterControllerTest, LeavesANewerBuildThatAnotherProcessInstalledMeanwhile)
{
    serve();
    announce({addBuild()});
    ASSERT_TRUE(becomesReady());
    m_copy.add(3, u"1.3"_s);
    ASSERT_TRUE(m_copy.installation().switchTo(3).isOk());
    m_installNow();
    EXPECT_THAT(m_faults, ElementsAre(UpdateFault::superseded));
    EXPECT_EQ(m_controller->relaunch(), std::nullopt);
    m_controller->terminate();
    EXPECT_EQ(m_copy.link(u"current"_s), u"3"_s);
}

TEST_F(UpdaterControllerTest, EndsAtOnceWhereTheNewBuildsTestHangs)
{
    serve();
    QList<test::ArchiveEntry> entries = test::buildEntries(u"1.2"_s, 2);
    entries[1].content = "#!/bin/sh\ntouch \"$0.up\"\nexec sleep 600\n";
    endWhileItHangs(entries, u".new-2/bin/corvella.up"_s);
}

TEST_F(UpdaterControllerTest, EndsAtOnceWhereWhatReadsItsClipsHangs)
{
    serve();
    endWhileItHangs(withReader("#!/bin/sh\ntouch \"$0.up\"\nexec sleep 600\n"),
                    u".new-2/lib/corvella/corvella-clips-1.2.up"_s);
}

TEST_F(UpdaterControllerTest, EndsAtOnceInTheMiddleOfADownload)
{
    QByteArray feed;
    const test::FaultServer server(m_identity, [&](Connection &connection) {
        while (connection.readRequest().startsWith("GET /appcast"))
            connection.send(test::okAnswer(feed));
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nx");
        connection.waitForClient();
    });
    m_host = server.host();
    FeedEntry entry = addBuild();
    entry.length = 1'000'000;
    feed = test::signedFeed(test::makeFeed({entry}, m_issued, m_issued.addDays(30)), m_signer);
    const Heard downloading(&controller(), &UpdaterController::downloading);
    controller().checkInBackground();
    ASSERT_TRUE(becomes([&] { return !downloading.isEmpty(); }));
    const test::Stopwatch watch;
    m_controller->terminate();
    EXPECT_LT(watch.elapsed(), std::chrono::seconds(5));
    EXPECT_EQ(m_copy.link(u"current"_s), u"1"_s);
    EXPECT_EQ(parts().size(), 1); // it goes on there
}

} // namespace
} // namespace corvella

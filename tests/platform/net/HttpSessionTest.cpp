#include "platform/net/HttpSession.h"
#include "platform/storage/FileDescriptor.h"
#include "support/FaultServer.h"
#include "support/Loopback.h"
#include "support/NginxServer.h"
#include "support/QtPrinting.h"
#include "support/RedirectedNames.h"
#include "support/TemporaryHome.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAreArray;
using Connection = test::FaultServer::Connection;

constexpr auto kLong = 20s; // longer than any test may take
constexpr qint64 kLarge = 1 << 20;

class HttpSessionTest : public testing::Test
{
protected:
    struct Result
    {
        HttpAnswer answer;
        QByteArray body;
        std::chrono::nanoseconds taken{0};

        [[nodiscard]] std::string reason() const { return answer.reason.toStdString(); }
    };

    HttpSessionTest() { m_authority.trust(); }

    Result get(HttpRequest request)
    {
        Result result;
        const test::Stopwatch watch;
        result.answer = m_session.get(request, [&result](const char *bytes, size_t count) {
            result.body.append(bytes, qsizetype(count));
            return true;
        });
        result.taken = watch.elapsed();
        return result;
    }
    static HttpRequest request(const QString &host, const QString &path = QStringLiteral("file"))
    {
        return {.url = u"https://" + host + u'/' + path,
                .idle = kLong,
                .total = kLong,
                .largestBody = kLarge};
    }

    // Serves every request of every connection with the same bytes.
    static test::FaultServer::Script always(const QByteArray &bytes)
    {
        return [bytes](Connection &connection) {
            while (!connection.readRequest().isEmpty() && connection.send(bytes)) {}
        };
    }

    test::TemporaryHome m_home;
    QString m_root = m_home.path(QStringLiteral("www"));
    test::TestAuthority m_authority;
    test::ServerIdentity m_identity = m_authority.issue({QStringLiteral("localhost")});
    HttpSession m_session;
};

TEST_F(HttpSessionTest, GivesBodyAndTagAndKeepsTheConnection)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    test::NginxServer server(m_identity, m_root);

    const Result first = get(request(server.host()));
    EXPECT_EQ(first.answer.status, 200);
    EXPECT_EQ(first.body, QByteArray("content"));
    ASSERT_TRUE(first.answer.etag);

    HttpRequest conditional = request(server.host());
    conditional.ifNoneMatch = first.answer.etag;
    const Result second = get(conditional);
    EXPECT_EQ(second.answer.status, 304);
    EXPECT_TRUE(second.body.isEmpty());

    EXPECT_THAT(
        server.takeRequests(),
        ElementsAre(QStringLiteral("GET /file 200"),
                    QStringLiteral("GET /file 304 if ") + QString::fromLatin1(*first.answer.etag)));
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(HttpSessionTest, GivesTheStatusAndNoBodyOfOtherAnswers)
{
    test::NginxServer server(m_identity, m_root,
                             QStringLiteral("location /broken { return 500 oops; }"));
    const Result missing = get(request(server.host()));
    EXPECT_EQ(missing.answer.status, 404);
    EXPECT_TRUE(missing.body.isEmpty());
    const Result broken = get(request(server.host(), QStringLiteral("broken")));
    EXPECT_EQ(broken.answer.status, 500);
    EXPECT_TRUE(broken.body.isEmpty());
}

TEST_F(HttpSessionTest, ReadsNoMoreThanItNeedsOfAnEndlessErrorPage)
{
    const test::FaultServer server(m_identity, [](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 404 Not Found\r\n\r\n");
        while (connection.send(QByteArray(10'000, 'x'))) {}
    });
    EXPECT_EQ(get(request(server.host())).answer.status, 404);
}

TEST_F(HttpSessionTest, AsksForCompressionOnlyWhereTold)
{
    const QByteArray content(10'000, 'x');
    m_home.write(m_root + QStringLiteral("/file.json"), content);
    const test::NginxServer server(m_identity, m_root);
    HttpRequest asked = request(server.host(), QStringLiteral("file.json"));
    asked.compressed = true;
    const Result packed = get(asked);
    EXPECT_EQ(packed.body, content);
    // This server marks the tag of what it compressed as a weak one.
    EXPECT_THAT(packed.answer.etag->toStdString(), HasSubstr("W/"));
    asked.compressed = false;
    const Result plain = get(asked);
    EXPECT_EQ(plain.body, content);
    EXPECT_THAT(plain.answer.etag->toStdString(), Not(HasSubstr("W/")));
}

TEST_F(HttpSessionTest, IsToldApartFromOtherProgramsAndCarriesNothingOfTheUser)
{
    QList<QByteArrayList> heads;
    const test::FaultServer server(m_identity, [&heads](Connection &connection) {
        for (int i = 0; i < 2; ++i) {
            heads << connection.readRequest().trimmed().replace('\r', "").split('\n');
            connection.send(test::okAnswer("x", "Set-Cookie: visitor=1\r\n"));
        }
    });
    qputenv("https_proxy", "http://127.0.0.1:9");
    qputenv("ALL_PROXY", "http://127.0.0.1:9");
    EXPECT_EQ(get(request(server.host())).answer.status, 200);
    HttpRequest whole = request(server.host());
    whole.ifNoneMatch = "\"tag\"";
    whole.compressed = true;
    whole.from = 1;
    EXPECT_EQ(get(whole).answer.status, 200);
    qunsetenv("https_proxy");
    qunsetenv("ALL_PROXY");
    ASSERT_EQ(heads.size(), 2);
    const QByteArrayList plain{"GET /file HTTP/1.1", "Host: " + server.host().toUtf8(),
                               "User-Agent: Corvella", "Accept: */*"};
    EXPECT_THAT(heads[0], UnorderedElementsAreArray(plain));
    heads[1].removeIf([](const QByteArray &line) { return line.startsWith("Accept-Encoding: "); });
    EXPECT_THAT(heads[1],
                UnorderedElementsAreArray(
                    plain + QByteArrayList{"If-None-Match: \"tag\"", "Range: bytes=1-"}));
}

TEST_F(HttpSessionTest, TrustsNobodyButTheSystem)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    const test::TestAuthority stranger;
    const QDateTime yesterday = QDateTime::currentDateTimeUtc().addDays(-1);
    const struct
    {
        test::ServerIdentity identity;
        const char *reason;
    } rows[] = {
        {stranger.issue({QStringLiteral("localhost")}), "unable to get local issuer certificate"},
        {m_authority.issue({QStringLiteral("localhost")}, yesterday), "certificate has expired"},
        {m_authority.issue({QStringLiteral("elsewhere.example")}),
         "no alternative certificate subject name matches target host name 'localhost'"},
    };
    for (const auto &row : rows) {
        test::NginxServer server(row.identity, m_root);
        const Result result = get(request(server.host()));
        EXPECT_EQ(result.answer.status, 0);
        EXPECT_THAT(result.reason(), HasSubstr(row.reason));
        EXPECT_TRUE(server.takeRequests().isEmpty());
    }
}

TEST_F(HttpSessionTest, TakesEmptyVariablesForMissing)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    const test::NginxServer server(m_identity, m_root);
    qputenv("SSL_CERT_DIR", "");
    EXPECT_EQ(get(request(server.host())).answer.status, 200);
    qputenv("SSL_CERT_FILE", "");
    EXPECT_THAT(get(request(server.host())).reason(), HasSubstr("unable to get local issuer"))
        << "the system's own trust";
}

TEST_F(HttpSessionTest, FollowsRedirectionsOverHttpsAlone)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    const test::NginxServer server(m_identity, m_root, QStringLiteral(R"(
        location /moved { return 302 https://$http_host/file; }
        location /insecure { return 302 http://$http_host/file; }
        location /local { return 302 file:///etc/passwd; }
        location /loop { return 302 https://$http_host/loop; }
    )"));
    const Result moved = get(request(server.host(), QStringLiteral("moved")));
    EXPECT_EQ(moved.answer.status, 200);
    EXPECT_EQ(moved.body, QByteArray("content"));
    for (const QString &path :
         {QStringLiteral("insecure"), QStringLiteral("local"), QStringLiteral("loop")}) {
        const Result result = get(request(server.host(), path));
        EXPECT_EQ(result.answer.status, 0) << path.toStdString();
        EXPECT_TRUE(result.body.isEmpty());
    }
    HttpRequest plain = request(server.host());
    plain.url.replace(QStringLiteral("https:"), QStringLiteral("http:"));
    EXPECT_EQ(get(plain).answer.status, 0);
}

TEST_F(HttpSessionTest, GoesTenRedirectionsFarAndNoFurther)
{
    const test::NginxServer server(m_identity, m_root, QStringLiteral(R"(
        location ~ ^/(x+)x$ { return 302 https://$http_host/$1; }
        location = /x { return 200 arrived; }
    )"));
    EXPECT_EQ(get(request(server.host(), QString(11, u'x'))).body, QByteArray("arrived"));
    EXPECT_EQ(get(request(server.host(), QString(12, u'x'))).answer.status, 0);
}

TEST_F(HttpSessionTest, RefusesABodyThatBreaksOff)
{
    const QByteArray full = test::okAnswer(QByteArray(10'000, 'x'));
    const QByteArray chunked =
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n100\r\nonly the beginning";
    for (const QByteArray &part : {full.left(5'000), full.left(30), chunked}) {
        const test::FaultServer server(m_identity, [&part](Connection &connection) {
            connection.readRequest();
            connection.send(part);
        });
        const Result result = get(request(server.host()));
        EXPECT_EQ(result.answer.status, 0) << part.left(100).constData();
        EXPECT_FALSE(result.answer.reason.isEmpty());
    }
}

// A cut connection would look like the end of it.
TEST_F(HttpSessionTest, RefusesABodyThatDoesNotSayWhereItEnds)
{
    for (const QByteArray &answer :
         {QByteArray("HTTP/1.1 200 OK\r\n\r\ncontent"), QByteArray("HTTP/1.0 200 OK\r\n\r\n"),
          QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\ncontent")}) {
        const test::FaultServer server(m_identity, [&answer](Connection &connection) {
            connection.readRequest();
            connection.send(answer);
        });
        const Result result = get(request(server.host()));
        EXPECT_EQ(result.answer.status, 0) << answer.constData();
        EXPECT_EQ(result.reason(), "does not say where it ends") << answer.constData();
    }
}

TEST_F(HttpSessionTest, TakesAnAnswerWithoutABody)
{
    const test::FaultServer server(m_identity, always(test::okAnswer({})));
    EXPECT_EQ(get(request(server.host())).answer.status, 200);
}

TEST_F(HttpSessionTest, RefusesAHeadThatBreaksOffAfterARedirection)
{
    const test::FaultServer server(m_identity, [](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 302 Found\r\nLocation: /next\r\nContent-Length: 0\r\n\r\n");
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: video/mp4\r\n");
    });
    EXPECT_EQ(get(request(server.host())).reason(), "breaks off in its headers");
}

TEST_F(HttpSessionTest, TakesABodyWithTrailersBehindIt)
{
    m_home.write(m_root + QStringLiteral("/file.json"), "content");
    const test::NginxServer server(m_identity, m_root, QStringLiteral("add_trailer X-Sum 7;"));
    const Result overHttp2 = get(request(server.host(), QStringLiteral("file.json")));
    EXPECT_EQ(overHttp2.answer.status, 200) << overHttp2.reason();
    EXPECT_EQ(overHttp2.body, QByteArray("content"));

    const test::FaultServer older(m_identity,
                                  always("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                         "7\r\ncontent\r\n0\r\nX-Sum: 7\r\n\r\n"));
    const Result overHttp1 = get(request(older.host()));
    EXPECT_EQ(overHttp1.answer.status, 200) << overHttp1.reason();
    EXPECT_EQ(overHttp1.body, QByteArray("content"));
}

TEST_F(HttpSessionTest, RefusesABodyThatAResetEnds)
{
    const test::FaultServer server(m_identity, [](Connection &connection) {
        connection.readRequest();
        connection.send(test::okAnswer(QByteArray(10'000, 'x')).left(5'000));
        connection.reset();
    });
    EXPECT_EQ(get(request(server.host())).answer.status, 0);
}

TEST_F(HttpSessionTest, RefusesABodyLargerThanWanted)
{
    HttpRequest small = request(QString());
    small.largestBody = 1000;
    for (const bool announced : {true, false}) {
        const test::FaultServer server(m_identity, [announced](Connection &connection) {
            connection.readRequest();
            connection.send(announced ? test::okAnswer(QByteArray(1001, 'x'))
                                      : "HTTP/1.1 200 OK\r\n\r\n" + QByteArray(1001, 'x'));
        });
        small.url = request(server.host()).url;
        const Result result = get(small);
        EXPECT_EQ(result.answer.status, 0);
        EXPECT_EQ(result.reason(), "larger than 1000 bytes");
    }
}

TEST_F(HttpSessionTest, MeasuresACompressedBodyUnpacked)
{
    m_home.write(m_root + QStringLiteral("/bomb.json"), QByteArray(1 << 20, ' '));
    const test::NginxServer server(m_identity, m_root);
    HttpRequest bomb = request(server.host(), QStringLiteral("bomb.json"));
    bomb.compressed = true;
    bomb.largestBody = 100'000;
    const Result result = get(bomb);
    EXPECT_EQ(result.reason(), "larger than 100000 bytes");
    EXPECT_LE(result.body.size(), 100'000);
}

TEST_F(HttpSessionTest, EndsWhenTheBodyCannotBeStored)
{
    const test::FaultServer server(m_identity, always(test::okAnswer("x")));
    const HttpAnswer answer =
        m_session.get(request(server.host()), [](const char *, size_t) { return false; });
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.reason, QStringLiteral("its content cannot be stored"));
}

TEST_F(HttpSessionTest, GivesUpOnSilence)
{
    const struct
    {
        const char *where;
        test::FaultServer::Script script;
    } rows[] = {
        {"before the handshake", [](Connection &connection) { connection.waitForClient(); }},
        {"before the answer",
         [](Connection &connection) {
             connection.readRequest();
             connection.waitForClient();
         }},
        {"in the body",
         [](Connection &connection) {
             connection.readRequest();
             connection.send(test::okAnswer(QByteArray(1000, 'x')).left(500));
             connection.waitForClient();
         }},
    };
    for (const auto &row : rows) {
        const test::FaultServer server(m_identity, row.script);
        HttpRequest impatient = request(server.host());
        impatient.idle = 200ms;
        const Result result = get(impatient);
        EXPECT_EQ(result.reason(), "silent for 0.2 s") << row.where;
        EXPECT_GE(result.taken, 200ms) << row.where;
        EXPECT_LT(result.taken, kLong) << row.where;
    }
}

TEST_F(HttpSessionTest, GivesUpOnATrickleThatIsNeverSilent)
{
    const test::FaultServer server(m_identity, [](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        connection.trickle(20ms);
    });
    HttpRequest trickle = request(server.host());
    trickle.total = 1s;
    const Result result = get(trickle);
    EXPECT_EQ(result.reason(), "not through after 1 s");
    EXPECT_GE(result.taken, 1s);
    EXPECT_LT(result.taken, kLong);
    EXPECT_GT(result.body.size(), 0);
}

TEST_F(HttpSessionTest, BearsEndlessHeadersAndNonsense)
{
    const test::FaultServer endless(m_identity, [](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\n");
        while (connection.send("X-Filler: " + QByteArray(1000, 'x') + "\r\n")) {}
    });
    EXPECT_EQ(get(request(endless.host())).reason(), "too many headers");
    const test::FaultServer nonsense(m_identity, always("220 mail.example ESMTP\r\n\r\n"));
    EXPECT_EQ(get(request(nonsense.host())).answer.status, 0);
}

TEST_F(HttpSessionTest, TakesOverNoTagThatCouldNotBeSentBack)
{
    for (const QByteArray &tag : {QByteArray("\"a\x01b\""), QByteArray(2000, 'x'), QByteArray()}) {
        const test::FaultServer server(m_identity,
                                       always(test::okAnswer("x", "ETag: " + tag + "\r\n")));
        const Result result = get(request(server.host()));
        EXPECT_EQ(result.answer.status, 200);
        EXPECT_FALSE(result.answer.etag) << tag.size();
    }
}

TEST_F(HttpSessionTest, SendsNoTagThatWouldForgeAHeader)
{
    QByteArray head;
    const test::FaultServer server(m_identity, [&head](Connection &connection) {
        head = connection.readRequest();
        connection.send(test::okAnswer("x"));
    });
    HttpRequest forged = request(server.host());
    forged.ifNoneMatch = "\"tag\"\r\nX-Forged: 1";
    EXPECT_EQ(get(forged).answer.status, 200);
    EXPECT_FALSE(head.contains("Forged"));
}

TEST_F(HttpSessionTest, SaysThatNobodyIsThere)
{
    const Result refused = get(request(QStringLiteral("localhost:%1").arg(test::freePort())));
    EXPECT_EQ(refused.answer.status, 0);
    EXPECT_EQ(refused.reason(), "Couldn't connect to server");
    test::redirectNames({});
    const Result unknown = get(request(QStringLiteral("nowhere.example")));
    EXPECT_EQ(unknown.reason(), "Could not resolve host: nowhere.example");
}

TEST_F(HttpSessionTest, LooksForANameAndNotAPort)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    const QString name = QStringLiteral("imagery.example");
    const test::NginxServer server(m_authority.issue({name}), m_root);
    test::redirectNames({{name, server.port()}});
    EXPECT_EQ(get(request(name)).body, QByteArray("content"));
}

// An address of a machine that is gone: who knocks is not even sent away.
class DeadAddress
{
public:
    DeadAddress()
    {
        sockaddr_in address = test::loopback(0);
        EXPECT_EQ(::bind(m_listener.get(), generic(address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener.get(), 0), 0);
        address = test::loopback(port());
        for (const FileDescriptor &guest : m_waiting) // nobody lets them in, and there they queue
            ::connect(guest.get(), generic(address), sizeof address);
    }
    [[nodiscard]] quint16 port() const { return test::portOf(m_listener.get()); }

private:
    static FileDescriptor newSocket()
    {
        return FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    }
    static const sockaddr *generic(const sockaddr_in &address)
    {
        return reinterpret_cast<const sockaddr *>(&address);
    }

    FileDescriptor m_listener = newSocket();
    std::array<FileDescriptor, 3> m_waiting{newSocket(), newSocket(), newSocket()};
};

TEST_F(HttpSessionTest, TriesTheNextAddressOfAHostInTime)
{
    m_home.write(m_root + QStringLiteral("/file"), "content");
    const QString name = QStringLiteral("imagery.example");
    const DeadAddress dead;
    const test::NginxServer server(m_authority.issue({name}), m_root);
    test::redirectNames({{name, dead.port()}, {name, server.port()}});
    HttpRequest twoAddresses = request(name);
    twoAddresses.idle = 6s; // libcurl turns to the next one up to a second late
    const Result result = get(twoAddresses);
    EXPECT_EQ(result.body, QByteArray("content")) << result.reason();
}

TEST_F(HttpSessionTest, CancelEndsTheRequestAtOnceAndAllLaterOnes)
{
    std::atomic_bool asked = false;
    const test::FaultServer server(m_identity, [&asked](Connection &connection) {
        connection.readRequest();
        asked = true;
        connection.waitForClient();
    });
    Result result;
    std::thread waiting([&] { result = get(request(server.host())); });
    EXPECT_TRUE(test::becomes([&asked] { return asked.load(); }));
    m_session.cancel();
    waiting.join();
    EXPECT_EQ(result.reason(), "cancelled");
    EXPECT_LT(result.taken, kLong);
    EXPECT_EQ(get(request(server.host())).reason(), "cancelled");
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(HttpSessionTest, GoesOnWhereADownloadBrokeOff)
{
    m_home.write(m_root + QStringLiteral("/file"), "0123456789");
    const test::NginxServer server(m_identity, m_root);
    HttpRequest rest = request(server.host());
    rest.from = 4;
    rest.largestBody = 10;
    const Result result = get(rest);
    EXPECT_EQ(result.answer.status, 206);
    EXPECT_EQ(result.body, QByteArray("456789"));
    rest.largestBody = 9; // of the whole, not of the rest
    EXPECT_EQ(get(rest).reason(), "larger than 9 bytes");
    rest.from = 10;
    EXPECT_EQ(get(rest).answer.status, 416);
}

TEST_F(HttpSessionTest, PassesOverTheBeginWhereAServerSendsAll)
{
    const test::FaultServer server(m_identity, always(test::okAnswer("0123456789")));
    HttpRequest rest = request(server.host());
    rest.from = 4;
    const Result result = get(rest);
    EXPECT_EQ(result.answer.status, 200);
    EXPECT_EQ(result.body, QByteArray("456789"));
    rest.from = 100;
    EXPECT_EQ(get(rest).body, QByteArray());
}

TEST_F(HttpSessionTest, TakesNoOtherPartThanTheOneItAskedFor)
{
    for (const char *range :
         {"", "Content-Range: bytes 3-9/10\r\n", "Content-Range: bytes 40-46/50\r\n"}) {
        const test::FaultServer server(m_identity,
                                       always(QByteArray("HTTP/1.1 206 Partial Content\r\n") + range
                                              + "Content-Length: 6\r\n\r\n456789"));
        HttpRequest rest = request(server.host());
        rest.from = 4;
        const Result result = get(rest);
        EXPECT_EQ(result.answer.status, 0) << range;
        EXPECT_EQ(result.reason(), "another part than asked for");
        EXPECT_EQ(result.body, QByteArray());
        // Nobody asked for a part.
        const Result whole = get(request(server.host()));
        EXPECT_EQ(whole.body, QByteArray());
    }
}

TEST_F(HttpSessionTest, LetsThreadsTakeTurns)
{
    m_home.write(m_root + QStringLiteral("/file"), QByteArray(100'000, 'x'));
    const test::NginxServer server(m_identity, m_root);
    std::atomic_int whole = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 10; ++j)
                whole += get(request(server.host())).body.size() == 100'000;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(whole, 40);
}

} // namespace
} // namespace corvella

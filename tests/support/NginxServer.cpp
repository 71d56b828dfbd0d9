#include "support/NginxServer.h"

#include "platform/storage/FileDescriptor.h"
#include "support/Loopback.h"

#include <QFile>
#include <QSet>

#include <gtest/gtest.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace corvella::test {

namespace {

const QString kKnock = QStringLiteral("GET /knock");
constexpr int kAttempts = 5; // somebody else may take the port meanwhile

QString configuration(const QString &folder, quint16 port, const ServerIdentity &identity,
                      const QString &servedFolder, const QString &locations)
{
    return QStringLiteral(R"(
daemon off;
master_process off;
worker_processes 1;
pid %1/nginx.pid;
error_log %1/error.log info;
events { worker_connections 64; }
http {
    log_format test escape=none '$connection $request_method $uri $status $http_if_none_match';
    access_log %1/access.log test;
    client_body_temp_path %1/body;
    proxy_temp_path %1/proxy;
    fastcgi_temp_path %1/fastcgi;
    uwsgi_temp_path %1/uwsgi;
    scgi_temp_path %1/scgi;
    types { application/json json; video/mp4 mp4; image/png png; }
    gzip on;
    gzip_types application/json;
    gzip_min_length 1;
    server {
        listen unix:%1/knock;
        return 204;
    }
    server {
        listen 127.0.0.1:%2 ssl http2;
        server_name _;
        ssl_certificate %3;
        ssl_certificate_key %4;
        root %5;
        %6
    }
}
)")
        .arg(folder)
        .arg(port)
        .arg(identity.certificate, identity.key, servedFolder, locations);
}

sockaddr_un socketFile(const QString &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    return address;
}

} // namespace

NginxServer::NginxServer(const ServerIdentity &identity, const QString &servedFolder,
                         const QString &locations)
{
    const QString file = m_folder.filePath(QStringLiteral("nginx.conf"));
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        m_port = freePort();
        QFile conf(file);
        EXPECT_TRUE(conf.open(QIODevice::WriteOnly));
        conf.write(
            configuration(m_folder.path(), m_port, identity, servedFolder, locations).toUtf8());
        conf.close();
        if (start())
            return;
    }
    ADD_FAILURE() << "nginx does not start: " << m_process->errors().constData();
}

bool NginxServer::start()
{
    // Debian keeps servers where an ordinary user's PATH does not look.
    m_process = std::make_unique<ChildProcess>(
        Command{QStringLiteral("/usr/sbin/nginx"),
                {QStringLiteral("-p"), m_folder.path(), QStringLiteral("-e"),
                 m_folder.filePath(QStringLiteral("error.log")), QStringLiteral("-c"),
                 m_folder.filePath(QStringLiteral("nginx.conf"))},
                bareEnvironment(),
                {}});
    return becomes([this] { return knock() || !m_process->isRunning(); }) && m_process->isRunning();
}

void NginxServer::startAgain()
{
    QFile::remove(m_folder.filePath(QStringLiteral("knock"))); // the socket of one that was killed
    EXPECT_TRUE(start()) << "nginx does not start: " << m_process->errors().constData();
}

NginxServer::~NginxServer() = default;

QString NginxServer::host() const
{
    return QStringLiteral("localhost:%1").arg(m_port);
}

// A request by the back door. The server does one thing after the other, so that whatever it was
// asked before is in its log when this is.
bool NginxServer::knock() const
{
    const sockaddr_un address = socketFile(m_folder.filePath(QStringLiteral("knock")));
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return false;
    constexpr std::string_view kRequest = "GET /knock HTTP/1.0\r\n\r\n";
    char answer[256];
    if (::write(socket.get(), kRequest.data(), kRequest.size()) < 0)
        return false;
    while (::read(socket.get(), answer, sizeof answer) > 0) {}
    return true;
}

QStringList NginxServer::logLines() const
{
    QFile file(m_folder.filePath(QStringLiteral("access.log")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    lines.removeLast(); // the part behind the last line's end
    return lines;
}

QStringList NginxServer::takeRequests()
{
    const qsizetype knocks = logLines().filter(kKnock).size();
    EXPECT_TRUE(knock());
    EXPECT_TRUE(becomes([&] { return logLines().filter(kKnock).size() > knocks; }));
    QStringList requests;
    for (const QString &line : logLines().mid(m_linesTaken)) {
        ++m_linesTaken;
        if (line.contains(kKnock))
            continue;
        const QStringList words = line.split(u' ');
        QString request = words.mid(1, 3).join(u' ');
        const QString tag = words.mid(4).join(u' ');
        if (!tag.isEmpty())
            request += u" if " + tag;
        requests << request;
    }
    return requests;
}

int NginxServer::connections() const
{
    QSet<QString> numbers;
    for (const QString &line : logLines()) {
        if (!line.contains(kKnock))
            numbers << line.section(u' ', 0, 0);
    }
    return static_cast<int>(numbers.size());
}

} // namespace corvella::test

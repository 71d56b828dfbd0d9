// A cache folder, settings and a network of their own for a test: the imagery host and its origin
// are real servers, or nobody.
#pragma once

#include "cache/RemoteImagery.h"
#include "support/CapturedLog.h"
#include "support/FaultServer.h"
#include "support/Loopback.h"
#include "support/NginxServer.h"
#include "support/RedirectedNames.h"
#include "support/TemporaryHome.h"
#include "support/TestImageryHost.h"

#include <QDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella::test {

class NetworkedCache : public testing::Test
{
protected:
    NetworkedCache()
    {
        m_authority.trust();
        EXPECT_TRUE(QDir().mkpath(m_folder));
        lead();
    }

    // Puts a server on the imagery host's name, or on the origin's. Before the first request.
    void serveFront(const TestImageryHost &host, const QString &locations = {})
    {
        m_front = std::make_unique<NginxServer>(m_identity, host.folder(), locations);
        m_frontPort = m_front->port();
        lead();
    }
    void serveFront(FaultServer::Script script)
    {
        m_fault = std::make_unique<FaultServer>(m_identity, std::move(script));
        m_frontPort = m_fault->port();
        lead();
    }
    void serveOrigin(const TestImageryHost &host)
    {
        m_origin = std::make_unique<NginxServer>(m_identity, host.folder());
        m_originPort = m_origin->port();
        lead();
    }

    [[nodiscard]] QString path(const QString &name) const { return m_folder + u'/' + name; }
    void writeFile(const QString &name, const QByteArray &bytes) const
    {
        m_home.write(path(name), bytes);
    }
    [[nodiscard]] QByteArray content(const QString &name) const
    {
        return TemporaryHome::read(path(name));
    }
    [[nodiscard]] bool has(const QString &name) const { return QFileInfo::exists(path(name)); }
    [[nodiscard]] QStringList files() const
    {
        return QDir(m_folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    static constexpr auto kFrontName = "imagery.corvella.example";
    static constexpr auto kOriginName = "origin.corvella.example";

    TemporaryHome m_home;
    QString m_folder = m_home.cache(QStringLiteral("Corvella"));
    TestAuthority m_authority;
    ServerIdentity m_identity =
        m_authority.issue({QString::fromLatin1(kFrontName), QString::fromLatin1(kOriginName)});
    std::unique_ptr<NginxServer> m_front;
    std::unique_ptr<NginxServer> m_origin;
    std::unique_ptr<FaultServer> m_fault;
    HttpSession m_session;

private:
    void lead() const
    {
        redirectNames({{QString::fromLatin1(kFrontName), m_frontPort},
                       {QString::fromLatin1(kOriginName), m_originPort}});
    }

    quint16 m_frontPort = freePort(); // nobody's
    quint16 m_originPort = freePort();
};

} // namespace corvella::test

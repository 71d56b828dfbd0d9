#include "support/XServer.h"

#include <csignal>
#include <gtest/gtest.h>

namespace corvella::test {

namespace {

QProcessEnvironment environmentOf(const QString &display)
{
    QProcessEnvironment environment = bareEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display);
    return environment;
}

} // namespace

XServer::~XServer() = default;

bool XServer::startServer(const Command &command)
{
    m_server = std::make_unique<ChildProcess>(command);
    const bool answers =
        becomes([this] { return m_server->output().endsWith('\n') || !m_server->isRunning(); });
    if (!answers || !m_server->isRunning())
        return false;
    m_display = u':' + QString::fromLatin1(m_server->output().trimmed());
    m_client = std::make_unique<XClient>(m_display);
    return true;
}

void XServer::startWindowManager(const QString &configuration)
{
    QStringList arguments;
    if (!configuration.isEmpty())
        arguments << QStringLiteral("--config-file") << configuration;
    m_windowManager = std::make_unique<ChildProcess>(
        Command{QStringLiteral("openbox"), arguments, environmentOf(m_display), {}});
    EXPECT_TRUE(becomes([this] { return m_client->isManaged(); })) << "no window manager";
}

void XServer::killWindowManager()
{
    m_windowManager->signal(SIGKILL);
    EXPECT_TRUE(becomes([this] { return !m_client->isManaged(); }));
    m_windowManager.reset();
}

void XServer::input(const QStringList &arguments) const
{
    runHere(QStringLiteral("xdotool"), arguments);
}

void XServer::blankAfter(std::chrono::seconds time) const
{
    const QString seconds = QString::number(time.count());
    runHere(QStringLiteral("xset"), {QStringLiteral("s"), seconds, seconds});
}

void XServer::stop()
{
    m_client.reset();
    m_windowManager.reset();
    m_server.reset();
}

void XServer::runHere(const QString &program, const QStringList &arguments) const
{
    run({program, arguments, environmentOf(m_display), {}});
}

} // namespace corvella::test

// An X server of the test's own with monitors that come and go, ended with the object.
// Main thread only.
#pragma once

#include "support/ChildProcess.h"
#include "support/XClient.h"

#include <memory>
#include <optional>

namespace corvella::test {

class XServer
{
public:
    virtual ~XServer();

    // Its display, such as ":3".
    [[nodiscard]] const QString &display() const { return m_display; }
    [[nodiscard]] XClient &client() const { return *m_client; }
    [[nodiscard]] qint64 id() const { return m_server->id(); }

    // Plugs a monitor in at this place, or pulls one out again. Names are the server's own; see
    // there.
    virtual void plugIn(const QString &monitor, const QRect &frame) = 0;
    virtual void pullOut(const QString &monitor) = 0;

    // Starts a window manager (openbox), with this configuration file or its own, and waits until
    // it is at work.
    void startWindowManager(const QString &configuration = {});
    // Kills it.
    void killWindowManager();
    // Sends input through the server, in the words of xdotool: {"key", "Right"}, {"mousemove", "1",
    // "2"}.
    void input(const QStringList &arguments) const;
    // Lets the server's own saver blank the screen after this time without input.
    void blankAfter(std::chrono::seconds time) const;
    // The server goes away under everything that it shows.
    void stop();

protected:
    // Starts a server that writes the number of its display to standard output, as -displayfd 1
    // asks.
    [[nodiscard]] bool startServer(const Command &command);
    // Runs a program of this display.
    void runHere(const QString &program, const QStringList &arguments) const;

private:
    QString m_display;
    std::unique_ptr<ChildProcess> m_server;
    std::unique_ptr<XClient> m_client;
    std::unique_ptr<ChildProcess> m_windowManager;
};

} // namespace corvella::test

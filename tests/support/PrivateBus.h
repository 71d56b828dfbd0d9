// A message bus of the test's own: a real dbus-daemon that knows no service but those that a test
// puts on it, ended with the object. Main thread only.
#pragma once

#include "platform/storage/FileDescriptor.h"
#include "support/ChildProcess.h"

#include <QTemporaryDir>

#include <csignal>
#include <memory>

namespace corvella::test {

class PrivateBus
{
public:
    // Fails the test when it does not start.
    PrivateBus();

    [[nodiscard]] const QString &address() const { return m_address; }

    // Where its socket lies: who gets there can connect.
    [[nodiscard]] QString folder() const { return m_folder.path(); }

    // From now on the bus would start a service of this name for the first who calls it.
    void offerToStart(const QString &service) const;
    // Whether it did.
    [[nodiscard]] bool wasAskedToStartAny() const;

    // How many rules there are by which the bus chooses what it tells to whom, of all that are
    // connected.
    [[nodiscard]] int matchRules() const;

    // It hangs: takes what comes and answers nothing, until it goes on.
    void hang() { m_daemon->signal(SIGSTOP); }
    void goOn() { m_daemon->signal(SIGCONT); }
    // It is killed; and is there again, at the same address and without a service.
    void crash();
    void startAgain();
    // After a crash: until it is there again, connections to its address are taken, and nothing is
    // answered, as by a service manager that has not got it started yet.
    void listenInVain();

private:
    [[nodiscard]] QString socket() const;
    [[nodiscard]] QString configurationFile() const;
    [[nodiscard]] QString startedFile() const;
    void startDaemon();

    QTemporaryDir m_folder;
    const QString m_address;
    std::unique_ptr<ChildProcess> m_daemon;
    FileDescriptor m_inVain;
};

} // namespace corvella::test

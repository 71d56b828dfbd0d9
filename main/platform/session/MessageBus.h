// Message buses: where they are to be found, and whether one answers. Any thread; it never waits.
#pragma once

#include "platform/session/UnixAddress.h"
#include "platform/storage/FileDescriptor.h"

#include <QString>

#include <vector>

namespace corvella {

struct BusPlace
{
    QString name;         // for the log
    const char *variable; // of the environment, that may tell of another place
    UnixAddress address;  // of its socket; nameless where it has none
    bool isHidden = false;
};

// The session's bus and the system's, in this order, as the environment has them.
[[nodiscard]] std::vector<BusPlace> busPlaces();

// The socket in a bus's address, such as "unix:path=/run/user/1000/bus,guid=1b2" or
// "unix:abstract=/tmp/dbus-X"; nameless where none of its parts has one.
[[nodiscard]] UnixAddress socketOf(const QString &busAddress);

// The words with which a connection begins, to which every bus that is at work has an answer
// (D-Bus's authentication protocol). The connection goes with the object.
class BusGreeting
{
public:
    enum class State {
        sent,
        noRoom, // somebody listens, and takes no more connections
        failed, // nobody listens
    };

    explicit BusGreeting(UnixAddress bus);

    [[nodiscard]] State state() const { return m_state; }
    // Readable as soon as there is an answer, or the connection is closed.
    [[nodiscard]] int descriptor() const { return m_socket.get(); }
    // Whether what was answered so far is a welcome. Takes the answer.
    [[nodiscard]] bool isWelcome() const;

private:
    FileDescriptor m_socket;
    State m_state = State::failed;
};

} // namespace corvella

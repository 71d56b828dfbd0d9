// Notices when a message bus goes that the program was connected to, and when it is there again: a
// bus may crash, or be restarted with its package. Qt keeps to the broken connection for the life
// of the process, and all that was held through it is gone: inhibitors, the status item, the name
// by which a second start finds the first. Main thread only; it never waits for a bus.
#pragma once

#include <QObject>
#include <QTimer>

#include <vector>

namespace corvella {

class LostBus : public QObject
{
    Q_OBJECT

public:
    // Connects to both buses, the session's and the system's, where that has not been done. Those
    // that are not there then are never missed.
    LostBus();
    ~LostBus() override;

Q_SIGNALS:
    // All that had gone answer again. Once.
    void returned();

private:
    struct Bus;

    void watch(Bus bus);
    Q_SLOT void waitForReturn();
    void look();

    std::vector<Bus> m_buses;
    QTimer m_look;
};

// The path in a bus's address, such as "unix:path=/run/user/1000/bus,guid=1b2"; empty where none of
// its parts has one.
[[nodiscard]] QString socketPath(const QString &busAddress);

} // namespace corvella

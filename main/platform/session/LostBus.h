// Notices when a message bus goes that the program was connected to, and when it is there again: a
// bus may crash, or be restarted with its package. Qt keeps to the broken connection for the life
// of the process, and all that was held through it is gone: inhibitors, the status item, the name
// by which a second start finds the first. Main thread only; it never waits for a bus.
#pragma once

#include "platform/session/HungBuses.h"

#include <QObject>
#include <QTimer>

#include <vector>

namespace corvella {

class LostBus : public QObject
{
    Q_OBJECT

public:
    // Connects to both buses where that has not been done. One that was hidden is missed from the
    // beginning; others that are not there then are never missed.
    explicit LostBus(const HungBuses &buses);
    ~LostBus() override;

Q_SIGNALS:
    // All that were lost answer again, or one that was hidden does for the first time. Once.
    void returned();

private:
    struct Bus;

    void watch(Bus bus);
    Q_SLOT void waitForReturn();
    void look();
    void hear(Bus &bus);

    std::vector<Bus> m_buses;
    QTimer m_look;
};

} // namespace corvella

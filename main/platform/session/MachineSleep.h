// Tells when the machine goes on after it has slept, suspended or hibernated, as logind says.
// Timers do not notice by themselves, since they count no sleep. Where there is no logind nothing
// is told. Main thread only.
#pragma once

#include <QObject>

namespace corvella {

class MachineSleep : public QObject
{
    Q_OBJECT

public:
    MachineSleep();

Q_SIGNALS:
    // The network may need some seconds more. It also comes where the machine could not be put to
    // sleep after all.
    void ended();

private Q_SLOTS: // as Qt's bus connects by name
    void take(bool begins);
};

} // namespace corvella

// The session's and the system's bus of this process, private ones. Qt keeps to the first that it
// was given: one object a process. Main thread only.
#pragma once

#include "support/PrivateBus.h"

namespace corvella::test {

inline const QString kLogind = QStringLiteral("org.freedesktop.login1"); // on the system's bus

struct TestBuses
{
    TestBuses()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", session.address().toLocal8Bit());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", system.address().toLocal8Bit());
    }

    PrivateBus session;
    PrivateBus system;
};

} // namespace corvella::test

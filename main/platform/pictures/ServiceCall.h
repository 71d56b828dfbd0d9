// Calls to services on the session's bus, for a thread that may wait for them. No service is
// started by being asked, and none is waited for longer than two seconds. Included by D-Bus
// back-ends only.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QDBusMessage>
#include <QStringList>
#include <QVariantList>

namespace corvella {

struct ServiceAnswer
{
    QVariantList values;
    Failure failure;
    bool isSilent = false; // it failed since nobody answered in time
};

[[nodiscard]] QDBusMessage serviceCall(const QString &service, const QString &path,
                                       const QString &interface, const QString &method,
                                       const QVariantList &arguments = {});

[[nodiscard]] ServiceAnswer ask(const QDBusMessage &call);

// The names that are taken on the bus at this moment; none where there is no bus.
[[nodiscard]] QStringList runningServices();

} // namespace corvella

// The desktop portal, asked as the last that may show a picture. Included by its back-end and by
// those who choose.
#pragma once

#include "platform/pictures/DesktopPictures.h"

#include <QEventLoop>
#include <QObject>
#include <QVariantMap>

namespace corvella {

// Whether a portal that sets pictures is running. Waits for its answer.
[[nodiscard]] bool portalSetsPictures();

// How a request to the portal ends. For a thread that waits and has no event loop.
class PortalResponse : public QObject
{
    Q_OBJECT

public:
    // Of the request with this path, which is yet to be made.
    explicit PortalResponse(const QString &path);

    [[nodiscard]] Failure wait();

private Q_SLOTS:
    void take(uint code, const QVariantMap &results);

private:
    QEventLoop m_loop;
    std::optional<uint> m_code;
};

} // namespace corvella

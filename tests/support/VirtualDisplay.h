// An X server without a screen of its own (Xvfb): monitors are parts of one picture in memory.
#pragma once

#include "support/XServer.h"

#include <QMap>

namespace corvella::test {

class VirtualDisplay final : public XServer
{
public:
    // One screen of this size in pixels, which is one monitor until others are plugged in. Fails
    // the test when it does not start.
    explicit VirtualDisplay(QSize size);

    // The first monitor that is plugged in takes the place of the whole screen.
    void plugIn(const QString &monitor, const QRect &frame) override;
    void pullOut(const QString &monitor) override;

private:
    QMap<QString, QRect> m_monitors; // that are plugged in
    // The one that has the server's only output, "screen". An output that is left over would show
    // as a monitor of its own.
    QString m_holder;
};

} // namespace corvella::test

// A full X server (Xorg) whose graphics card drives up to sixteen monitors that nobody sees: unlike
// a virtual display it has real outputs, with modes, that are switched on and off.
#pragma once

#include "support/XServer.h"

#include <QTemporaryDir>

namespace corvella::test {

class DummyXorg final : public XServer
{
public:
    // A server with one monitor, "DUMMY0", of 640 x 480 pixels. Null where such a server may not be
    // started, as for an ordinary user on some machines.
    [[nodiscard]] static std::unique_ptr<DummyXorg> create();

    // "DUMMY0" to "DUMMY15", of 640 x 480 or 800 x 600 pixels.
    void plugIn(const QString &monitor, const QRect &frame) override;
    void pullOut(const QString &monitor) override;

private:
    DummyXorg() = default;
    [[nodiscard]] bool start();

    QTemporaryDir m_folder;
};

} // namespace corvella::test

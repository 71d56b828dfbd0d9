#include "platform/session/InputLock.h"

#include "platform/session/WaylandGlobals.h"
#include "platform/session/XcbConnection.h"

#include <QGuiApplication>
#include <QTimer>

namespace corvella {

namespace {

// The same answer for ever.
class FixedInputLock final : public InputLock
{
public:
    explicit FixedInputLock(QString obstacle)
        : m_obstacle(std::move(obstacle))
    {
        QTimer::singleShot(0, this, &InputLock::changed);
    }

    QString obstacle() const override { return m_obstacle; }
    void setWalls(const QList<QWindow *> & /*walls*/) override {}

private:
    QString m_obstacle;
};

// There Qt alone reads the devices, and it keeps the console's own keys off.
bool isBareConsole()
{
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("eglfs") || platform == QLatin1String("linuxfb");
}

} // namespace

std::unique_ptr<InputLock> InputLock::create()
{
    if (x11::isX11Session())
        return createInputLockX11();
    if (isBareConsole())
        return std::make_unique<FixedInputLock>(QString());
    if (wayland::isWaylandSession()) {
        if (auto lock = createInputLockWayland())
            return lock;
    }
    return std::make_unique<FixedInputLock>(
        QStringLiteral("nothing here keeps keys and clicks from other programs"));
}

} // namespace corvella

// Keeps the keys and clicks of the session for the walls of this program while it lives. It is
// taken from the event loop, again and again until it is had. Main thread only.
#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <memory>

class QWindow;

namespace corvella {

class InputLock : public QObject
{
    Q_OBJECT

public:
    // Why the lock is not complete, for the log; empty while it is.
    [[nodiscard]] virtual QString obstacle() const = 0;

    // The walls that show now.
    virtual void setWalls(const QList<QWindow *> &walls) = 0;

    // What this session offers; where that is nothing, an obstacle for good.
    [[nodiscard]] static std::unique_ptr<InputLock> create();

Q_SIGNALS:
    // obstacle() has another answer than before.
    void changed();
};

// By grabs of keyboard and pointer.
[[nodiscard]] std::unique_ptr<InputLock> createInputLockX11();
// By asking the compositor for its own keys. Null where it does not give them away.
[[nodiscard]] std::unique_ptr<InputLock> createInputLockWayland();

} // namespace corvella

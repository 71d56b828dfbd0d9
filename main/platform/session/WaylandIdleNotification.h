// Tells when there has been no input for a while and when there is input again, by a Wayland
// compositor. Included by Wayland back-ends only. Main thread only.
#pragma once

#include <QObject>

#include <chrono>
#include <memory>

namespace corvella::wayland {

class IdleNotification : public QObject
{
    Q_OBJECT

public:
    // `idled` comes once there was no input for this long, counted from now on at the earliest.
    // Null where the compositor does not tell.
    [[nodiscard]] static std::unique_ptr<IdleNotification> create(std::chrono::milliseconds after);

    // Whether it tells of input alone. Otherwise nothing comes while something that the compositor
    // shows keeps the display awake.
    [[nodiscard]] virtual bool heedsInputAlone() const = 0;

Q_SIGNALS:
    void idled();
    void resumed(); // only ever after idled()
};

} // namespace corvella::wayland

// Keeps the displays on, and the session from counting as idle, for as long as one is held. What
// holds it in the session ends with this process, too, however that ends. Main thread only.
#pragma once

#include <QString>

#include <memory>

namespace corvella {

class PowerAssertion
{
public:
    PowerAssertion() = default;
    virtual ~PowerAssertion() = default;
    PowerAssertion(const PowerAssertion &) = delete;
    PowerAssertion &operator=(const PowerAssertion &) = delete;

    // Asks everything in this session that can keep a display awake, all at once and without
    // waiting; never null. The reason is for people: some desktops show it. Under some Wayland
    // compositors it holds while a window of ours is visible.
    [[nodiscard]] static std::unique_ptr<PowerAssertion> create(const QString &reason);
};

// The X server's own saver and display power management. Null where it has none.
[[nodiscard]] std::unique_ptr<PowerAssertion> createPowerAssertionX11();

} // namespace corvella

#include "platform/session/IdleClock.h"
#include "platform/session/InputHere.h"

#include <QGuiApplication>

namespace corvella {

namespace {

class IdleClockAlone final : public IdleClock
{
public:
    double secondsIdle() override { return m_input.seconds(); }

private:
    InputHere m_input;
};

} // namespace

std::unique_ptr<IdleClock> createIdleClockAlone()
{
    for (const char *platform : {"eglfs", "linuxfb", "vnc"}) {
        if (QGuiApplication::platformName() == QLatin1String(platform))
            return std::make_unique<IdleClockAlone>();
    }
    return nullptr;
}

} // namespace corvella

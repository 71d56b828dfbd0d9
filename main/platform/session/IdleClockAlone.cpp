#include "platform/session/IdleClock.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QGuiApplication>

namespace corvella {

namespace {

bool isInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletMove:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
        return true;
    default:
        return false;
    }
}

class IdleClockAlone final : public QObject, public IdleClock
{
public:
    IdleClockAlone() { m_sinceInput.start(); }

    double secondsIdle() override
    {
        // With the first question and no sooner: the latest filter comes first, and others use keys
        // up.
        if (!std::exchange(m_watches, true))
            qGuiApp->installEventFilter(this);
        return static_cast<double>(m_sinceInput.elapsed()) / 1000;
    }

    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        if (isInput(event->type()))
            m_sinceInput.restart();
        return false;
    }

private:
    QElapsedTimer m_sinceInput;
    bool m_watches = false;
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

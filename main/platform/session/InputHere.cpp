#include "platform/session/InputHere.h"

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

} // namespace

InputHere::Clock::time_point InputHere::last()
{
    // With the first question and no sooner: the filter that came last is asked first, and others
    // use keys up.
    if (!std::exchange(m_watches, true))
        qGuiApp->installEventFilter(this);
    return m_last;
}

bool InputHere::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (isInput(event->type()))
        restart(Clock::now());
    return false;
}

} // namespace corvella

#include "platform/session/Screens.h"

#include <QGuiApplication>
#include <QScreen>

namespace corvella {

Screens::Screens(QObject *parent)
    : QObject(parent)
{
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        Q_EMIT changed();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &Screens::changed);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &Screens::changed);
}

void Screens::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &Screens::changed);
    connect(screen, &QScreen::physicalDotsPerInchChanged, this, &Screens::changed);
}

QList<Screen> Screens::list() const
{
    QList<Screen> list;
    for (QScreen *screen : QGuiApplication::screens()) {
        // With no display attached Qt offers a placeholder without a size.
        if (!screen->geometry().isEmpty())
            list << Screen{screen, screen->geometry(), screen->devicePixelRatio()};
    }
    return list;
}

} // namespace corvella

// Shows a window, with the argument "awake" one that keeps the display awake, and writes ten times
// a second how long there was no input.
#include "platform/session/IdleClock.h"
#include "platform/session/PowerAssertion.h"

#include <QGuiApplication>
#include <QRasterWindow>
#include <QTimer>

#include <iostream>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QRasterWindow window;
    window.showFullScreen();
    std::unique_ptr<corvella::PowerAssertion> assertion;
    if (QGuiApplication::arguments().contains(QStringLiteral("awake")))
        assertion = corvella::PowerAssertion::create(QStringLiteral("a test"));
    const auto clock = corvella::IdleClock::create();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer,
                     [&clock] { std::cout << clock->secondsIdle() << std::endl; });
    timer.start(std::chrono::milliseconds(100));
    return QGuiApplication::exec();
}

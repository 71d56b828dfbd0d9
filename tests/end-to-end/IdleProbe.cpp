// Shows a window and writes ten times a second how long there was no input. With an argument the
// window keeps the display awake from when that has been so many seconds, with "once" besides until
// there is input.
#include "platform/session/IdleClock.h"
#include "platform/session/PowerAssertion.h"

#include <QGuiApplication>
#include <QRasterWindow>
#include <QTimer>

#include <cstdlib>
#include <iostream>
#include <optional>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QRasterWindow window;
    window.showFullScreen();
    std::unique_ptr<corvella::PowerAssertion> assertion;
    std::optional<double> awakeAfter;
    if (argc > 1)
        awakeAfter = std::atof(argv[1]);
    const bool isOnce = argc > 2;
    const auto clock = corvella::IdleClock::create();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        const double idle = clock->secondsIdle();
        std::cout << idle << std::endl;
        if (!assertion && awakeAfter && idle >= *awakeAfter)
            assertion = corvella::PowerAssertion::create(QStringLiteral("a test"));
        if (assertion && isOnce && idle < *awakeAfter) {
            assertion.reset();
            awakeAfter.reset();
        }
    });
    timer.start(std::chrono::milliseconds(100));
    return QGuiApplication::exec();
}

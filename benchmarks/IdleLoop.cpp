// A program of widgets without a window that wakes as often as Corvella does and then does nothing:
// what waiting costs before any of our own code.
#include <QApplication>
#include <QTimer>

#include <chrono>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [] {});
    tick.start(std::chrono::milliseconds(250));
    return QApplication::exec();
}

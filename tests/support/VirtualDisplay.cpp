#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella::test {

VirtualDisplay::VirtualDisplay(QSize size)
{
    // Without -noreset it forgets its monitors when the last client leaves.
    const QString screen = QStringLiteral("%1x%2x24").arg(size.width()).arg(size.height());
    const bool started =
        startServer({QStringLiteral("Xvfb"),
                     {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                      QStringLiteral("0"), screen, QStringLiteral("-noreset"),
                      QStringLiteral("-nolisten"), QStringLiteral("tcp")},
                     bareEnvironment(),
                     {}});
    EXPECT_TRUE(started) << "Xvfb does not start";
}

void VirtualDisplay::plugIn(const QString &monitor, const QRect &frame)
{
    // WIDTH/MILLIMETRES x HEIGHT/MILLIMETRES + X + Y; the server has one output to give away,
    // "screen".
    const QString place = QStringLiteral("%1/250x%2/250+%3+%4")
                              .arg(frame.width())
                              .arg(frame.height())
                              .arg(frame.x())
                              .arg(frame.y());
    const QString output =
        std::exchange(m_isDivided, true) ? QStringLiteral("none") : QStringLiteral("screen");
    runHere(QStringLiteral("xrandr"), {QStringLiteral("--setmonitor"), monitor, place, output});
}

void VirtualDisplay::pullOut(const QString &monitor)
{
    runHere(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), monitor});
}

} // namespace corvella::test

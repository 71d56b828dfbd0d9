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
    if (m_monitors.contains(monitor))
        pullOut(monitor); // the server moves none that is there
    m_monitors.insert(monitor, frame);
    if (m_holder.isEmpty())
        m_holder = monitor;
    // WIDTH/MILLIMETRES x HEIGHT/MILLIMETRES + X + Y
    const QString place = QStringLiteral("%1/250x%2/250+%3+%4")
                              .arg(frame.width())
                              .arg(frame.height())
                              .arg(frame.x())
                              .arg(frame.y());
    const QString output = monitor == m_holder ? QStringLiteral("screen") : QStringLiteral("none");
    runHere(QStringLiteral("xrandr"), {QStringLiteral("--setmonitor"), monitor, place, output});
}

void VirtualDisplay::pullOut(const QString &monitor)
{
    runHere(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), monitor});
    m_monitors.remove(monitor);
    if (monitor != m_holder)
        return;
    m_holder.clear();
    if (!m_monitors.isEmpty())
        plugIn(m_monitors.firstKey(), QRect(m_monitors.first()));
}

} // namespace corvella::test

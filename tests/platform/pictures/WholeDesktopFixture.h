// A whole desktop of its own display: its programs are started, and its background is looked at.
#pragma once

#include "platform/pictures/PicturesFixture.h"
#include "support/VirtualDisplay.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace corvella::test {

class WholeDesktopFixture : public PicturesFixture
{
protected:
    explicit WholeDesktopFixture(QSize display)
        : m_display(display)
    {
        qputenv("DISPLAY", m_display.display().toLocal8Bit());
    }

    // Returns when the program has the service's name.
    std::unique_ptr<ChildProcess> start(const QString &program, const QString &service) const
    {
        auto process = std::make_unique<ChildProcess>(Command{program, {}, environment(), {}});
        EXPECT_TRUE(becomes([&] {
            return QDBusConnection::sessionBus().interface()->isServiceRegistered(service).value();
        })) << qPrintable(service);
        return process;
    }
    [[nodiscard]] bool shows(const QPoint &where, const QColor &colour)
    {
        QColor seen;
        const bool shows = becomes([&] {
            seen = m_display.client().picture().pixelColor(where);
            return seen == colour;
        });
        EXPECT_TRUE(shows) << "it shows " << qPrintable(seen.name());
        return shows;
    }

    VirtualDisplay m_display;
};

} // namespace corvella::test

// When a downloaded update may be installed.
#pragma once

#include <QDateTime>
#include <QTimeZone>

namespace corvella {

class Updater
{
public:
    // The next moment at or after `after` at which a kiosk may restart: `after` itself between
    // 03:00 and 04:59:59 in this zone, else the next 03:00 (or what the clocks jump to where there
    // is none).
    [[nodiscard]] static QDateTime quietHour(const QDateTime &after, const QTimeZone &zone);
};

} // namespace corvella

// The moment at which the tests of updates live.
#pragma once

#include <QDateTime>

namespace corvella {

inline const QDateTime kNow(QDate(2026, 9, 10), QTime(12, 0), Qt::UTC);

} // namespace corvella

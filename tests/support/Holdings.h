// What a running program holds of its machine, as far as it can be counted from outside.
#pragma once

#include <QMap>
#include <QString>

namespace corvella::test {

class PrivateBus;
class XServer;

// By name, each in the unit that its name tells. What the X server, and the bus, hold for it is
// counted with it.
using Holdings = QMap<QString, double>;

// Of the machine alone. Main thread only, as the other.
[[nodiscard]] Holdings holdingsOf(qint64 process);

// Fails the test when one of them cannot be asked.
[[nodiscard]] Holdings holdingsOf(qint64 process, const XServer &server, const PrivateBus &bus);

// The least by which two readings of one of them can differ without a change that counts: memory is
// counted in pages. 0 for the others.
[[nodiscard]] double resolutionOf(const QString &holding);

} // namespace corvella::test

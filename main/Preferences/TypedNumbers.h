// What is meant by what people type into the number fields. Pure functions; any thread.
#pragma once

#include <QString>

namespace corvella {

// Minutes: 5 for what is no number, and at least 1.
[[nodiscard]] double idleMinutesFrom(const QString &text);

// Loops: 1 for what is no whole number, and at least 1.
[[nodiscard]] int loopsFrom(const QString &text);

} // namespace corvella

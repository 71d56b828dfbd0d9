// Instants as ISO 8601 text, the form in which they are stored and sent. Pure functions; any
// thread.
#pragma once

#include <QDateTime>
#include <QStringView>

#include <optional>

namespace corvella {

// Reads "2025-03-01T09:05:00Z", also with fractional seconds (rounded to the millisecond) or an
// offset in place of the Z. The result is UTC. None for anything else, a text without a zone among
// it: whose time would it be?
[[nodiscard]] std::optional<QDateTime> parseIsoDate(QStringView text);

// Writes a valid instant of the years 0 to 9999 in UTC: whole seconds as above, else with three
// decimals.
[[nodiscard]] QString isoDateText(const QDateTime &instant);

} // namespace corvella

// Links to the product's web site that viewers can open. Any thread.
#pragma once

#include <QJsonObject>
#include <QUrl>

#include <optional>

namespace corvella::Store {

// The page for the clip of one manifest entry: its moment and, for a wavelength, its product. None
// when the store host that is set does not form an address.
[[nodiscard]] std::optional<QUrl> link(const QJsonObject &entry);

} // namespace corvella::Store

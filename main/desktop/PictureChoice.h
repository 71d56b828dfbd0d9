// Which still each screen's desktop picture becomes: pure decisions over the cache's entries. An
// entry is one object of the manifest.
#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvella {

// What a screen is set to show: product ids in order, none listed for every product; nothing for a
// screen that is Off.
using ScreenWish = std::optional<QStringList>;

// The entries that have a still, in their order.
[[nodiscard]] QList<QJsonObject> stillsOf(const QList<QJsonObject> &entries);

// One entry per screen; none for a screen that is Off or has no product with a still. Screen i
// begins at step `counter` + i of its own list, and two screens show the same product only where
// one has nothing else left. The counter is not negative.
[[nodiscard]] QList<std::optional<QJsonObject>>
choosePictures(const QList<QJsonObject> &stills, const QList<ScreenWish> &screens, qint64 counter);

// The name of the file that shows an entry's still: another one for each new still. None for an
// entry without a still or id, or whose id makes no file name.
[[nodiscard]] std::optional<QString> pictureName(const QJsonObject &entry);

} // namespace corvella

// The manifest of the imagery cache as text: a JSON array with one object per product that has a
// clip. Pure functions; any thread.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace corvella {

// A manifest lists a dozen products in a few hundred bytes each; readers on the main thread take no
// more than this.
inline constexpr qint64 kLargestManifestBytes = 1 << 20;

// The entries in a manifest's bytes, in order, whatever they hold; empty unless it is an array of
// objects and of nothing else.
[[nodiscard]] QList<QJsonObject> parseManifest(const QByteArray &bytes);

// The bytes of a manifest, laid out for people to read.
[[nodiscard]] QByteArray serializeManifest(const QList<QJsonObject> &entries);

// Whether a name read from a file can only mean a file of the cache folder itself.
[[nodiscard]] bool isPlainFileName(const QString &name);

} // namespace corvella

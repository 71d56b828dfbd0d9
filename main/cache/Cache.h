// The imagery cache of this process: the one folder that everything which plays or shows imagery
// reads. Any thread, except where a call says otherwise. No call fails loudly: reads give nothing,
// writes leave what was there.
#pragma once

#include "cache/CacheFolder.h"

namespace corvella::Cache {

// The folder, an absolute path without a slash at its end. Worked out on first use, when an old
// cache is moved there and the folder is made; from then on fixed for the life of the process.
[[nodiscard]] const QString &dir();
[[nodiscard]] QString manifestFile();

// See CacheFolder for these.
[[nodiscard]] QList<QJsonObject> entries();
[[nodiscard]] qsizetype count();
[[nodiscard]] bool isPrimed();
void write(const QList<QJsonObject> &entries);

// First-run seeding with the clip that ships with the program. Call before the first wall is built.
void seedIfEmpty();

// Whether the cache is only read and never refreshed; false unless set at start.
[[nodiscard]] bool readOnly();
void setReadOnly(bool readOnly);

// The scheduled refresh. Blocks until it is through; not for the main thread of the running
// application.
void refresh();

} // namespace corvella::Cache

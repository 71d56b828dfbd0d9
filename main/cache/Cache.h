// The imagery cache of this process: the one folder that everything which plays or shows imagery
// reads. Any thread, except where a call says otherwise. No call fails loudly: reads give nothing,
// writes leave what was there.
#pragma once

#include "cache/Refresher.h"

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

// See Refresher for these. They block until they are through; not for the main thread of the
// running application.
void refresh(); // does nothing, and says so, offline or when the cache is only read
std::optional<QDateTime> refreshNow(bool everything, const Refresher::Progress &progress = {});
void pass(bool check, bool everything, bool wait, const Refresher::Progress &progress = {});

// Ends a pass under way soon, and all later ones at once: the program ends. Any thread.
void cancelRefreshing();

} // namespace corvella::Cache

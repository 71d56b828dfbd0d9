// Which product each wall view shows, for the whole process and those that it shares a folder with,
// so that screens do not show the same one. Main thread only.
#pragma once

#include <QSet>
#include <QString>

namespace corvella::OnScreen {

// The view, known by its address, shows this product from now on; its claim before is gone.
void claim(const QString &id, const void *view);

// The view shows nothing any more.
void release(const void *view);

// What all other views show.
[[nodiscard]] QSet<QString> heldElsewhere(const void *view);

// From now on also among the processes that share this folder. Nothing changes where it takes no
// file.
void shareIn(const QString &folder);

} // namespace corvella::OnScreen

// Which threads of this process look at files below a folder: opening, listing, asking about one.
// What the main thread does there, it waits for, however slow the disk is. One at a time.
#pragma once

#include <QString>
#include <QStringList>

namespace corvella::test {

class DiskAccess
{
public:
    // Watches from now on; made on the main thread.
    explicit DiskAccess(const QString &folder);
    ~DiskAccess();
    DiskAccess(const DiskAccess &) = delete;
    DiskAccess &operator=(const DiskAccess &) = delete;

    // What the main thread looked at.
    [[nodiscard]] QStringList byMainThread() const;
    // How often other threads looked at something.
    [[nodiscard]] qsizetype countByOthers() const;
};

} // namespace corvella::test

// How often a file is replaced by another that takes its name, as what is to survive a loss of
// power is written: each time, somebody waits for the disk. Any one thread.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QByteArray>
#include <QString>

namespace corvella::test {

class Replacements
{
public:
    // The file need not be there, but its folder must.
    explicit Replacements(const QString &path);

    // Since this was made.
    [[nodiscard]] int count();

private:
    const QByteArray m_name;
    const FileDescriptor m_events;
    int m_count = 0;
};

} // namespace corvella::test

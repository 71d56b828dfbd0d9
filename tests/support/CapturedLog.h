// Catches the lines that the program writes to standard error while the object lives.
#pragma once

#include <QStringList>
#include <QTemporaryFile>

namespace corvella::test {

class CapturedLog
{
public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog &) = delete;
    CapturedLog &operator=(const CapturedLog &) = delete;

    // The messages so far, in order, without the "corvella: " in front; lines of others are left
    // out.
    [[nodiscard]] QStringList messages();
    [[nodiscard]] bool contains(const QString &message) { return messages().contains(message); }

private:
    QTemporaryFile m_file;
    int m_savedStandardError = -1;
};

} // namespace corvella::test

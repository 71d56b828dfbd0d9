// A home folder that lives as long as the object: HOME and the XDG folders point into it,
// so that a test neither reads nor changes anything of the user's. One at a time per process.
#pragma once

#include <QTemporaryDir>

namespace corvella::test {

class TemporaryHome
{
public:
    TemporaryHome();

    [[nodiscard]] QString path(const QString &relative = {}) const;
    [[nodiscard]] QString config(const QString &file) const
    {
        return path(QStringLiteral(".config/") + file);
    }
    [[nodiscard]] QString cache(const QString &file) const
    {
        return path(QStringLiteral(".cache/") + file);
    }
    [[nodiscard]] QString data(const QString &file) const
    {
        return path(QStringLiteral(".local/share/") + file);
    }

    // Writes a file, making the folders above it; fails the test when it cannot.
    void write(const QString &absolutePath, const QByteArray &bytes) const;
    // The content of a file; empty when it cannot be read.
    [[nodiscard]] static QByteArray read(const QString &absolutePath);

private:
    QTemporaryDir m_dir;
};

} // namespace corvella::test

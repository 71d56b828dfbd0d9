#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace corvella::test {

TemporaryHome::TemporaryHome()
{
    qputenv("HOME", m_dir.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", path(QStringLiteral(".config")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", path(QStringLiteral(".cache")).toLocal8Bit());
    qputenv("XDG_DATA_HOME", path(QStringLiteral(".local/share")).toLocal8Bit());
    qputenv("XDG_CONFIG_DIRS", path(QStringLiteral("etc/xdg")).toLocal8Bit());
}

QString TemporaryHome::path(const QString &relative) const
{
    return relative.isEmpty() ? m_dir.path() : m_dir.filePath(relative);
}

void TemporaryHome::write(const QString &absolutePath, const QByteArray &bytes) const
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(absolutePath).path()));
    QFile file(absolutePath);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray TemporaryHome::read(const QString &absolutePath)
{
    QFile file(absolutePath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace corvella::test

// A real program of which any one system call fails, and what its home looks like before and after.
#pragma once

#include "support/ProgramUnderTest.h"
#include "support/SystemCallFaults.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella {

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class SystemCalls : public testing::Test
{
protected:
    [[nodiscard]] QByteArray settings() const { return bytesOf(m_program.settingsFile()); }
    [[nodiscard]] QMap<QString, QByteArray> content() const
    {
        QMap<QString, QByteArray> content;
        for (const QString &name : m_program.content())
            content.insert(name, bytesOf(QDir(m_program.home()).filePath(name)));
        return content;
    }
    void putBack(const QMap<QString, QByteArray> &content) const
    {
        const QDir home(m_program.home());
        for (const QString &name : m_program.content()) {
            const QString path = home.filePath(name);
            if (!content.contains(name) && !QFile::remove(path))
                QDir(path).removeRecursively();
        }
        for (auto entry = content.begin(); entry != content.end(); ++entry) {
            const QString path = home.filePath(entry.key());
            if (bytesOf(path) == entry.value())
                continue;
            QFile file(path);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(entry.value());
        }
    }
    [[nodiscard]] QByteArray words() const { return m_program.process().errors(); }
    std::optional<int> run(const QStringList &arguments)
    {
        m_program.start(arguments);
        return m_program.process().exitStatus();
    }

    mutable test::ProgramUnderTest m_program;
};

} // namespace corvella

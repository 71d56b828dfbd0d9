// A small copy of the program in a folder of a test, as a bundle installs it: its program is a
// script.
#pragma once

#include "platform/update/Installation.h"
#include "support/TemporaryHome.h"
#include "support/TestBundle.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella::test {

class InstalledCopy
{
public:
    explicit InstalledCopy(const TemporaryHome &home)
        : m_home(home)
    {
        add(1, QStringLiteral("1.0"));
        EXPECT_TRUE(QFile::link(QStringLiteral("1"), path(QStringLiteral("current"))));
        m_home.write(path(QStringLiteral("bin/corvella")), "launcher");
        QFile::setPermissions(path(QStringLiteral("bin/corvella")), kExecutable);
    }

    // Puts a build there beside the first one.
    void add(qint64 build, const QString &version) const
    {
        for (const ArchiveEntry &entry : buildEntries(version, build)) {
            if (entry.kind != ArchiveEntry::Kind::file)
                continue;
            const QString file =
                path(QString::number(build)) + u'/' + QString::fromUtf8(entry.name);
            m_home.write(file, entry.content);
            if (entry.mode == 0755)
                QFile::setPermissions(file, kExecutable);
        }
    }
    [[nodiscard]] QString path(const QString &name = {}) const
    {
        const QString prefix = m_home.path(QStringLiteral("opt/corvella"));
        return name.isEmpty() ? prefix : prefix + u'/' + name;
    }
    [[nodiscard]] QString executable(qint64 build = 1) const
    {
        return path(QString::number(build)) + QStringLiteral("/bin/corvella");
    }
    [[nodiscard]] Installation installation(qint64 build = 1) const
    {
        return Installation(executable(build));
    }
    // Where a link of the copy leads, as it is written.
    [[nodiscard]] QString link(const QString &name) const
    {
        return QFileInfo(QFile::symLinkTarget(path(name))).fileName();
    }
    // All names in the copy's folder.
    [[nodiscard]] QStringList names() const
    {
        return QDir(path()).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

private:
    static constexpr QFile::Permissions kExecutable =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
    const TemporaryHome &m_home;
};

} // namespace corvella::test

// The two builds that tests update from and to, as their makers bundle, install and announce them.
// Main thread only.
#pragma once

#include "support/ProgramUnderTest.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella {

inline const QString kUpdates = QStringLiteral(CORVELLA_UPDATES);
inline const QString kPackaging = QStringLiteral(CORVELLA_PACKAGING);
inline const QString kKey = kUpdates + QStringLiteral("/key.pem");

inline void shell(const test::ProgramUnderTest &program, const QStringList &words)
{
    test::run({words.first(), words.mid(1), program.environment(), program.home()});
}

// Lays the second build into a folder that is served at this address, and announces it there.
inline void announceSecondBuild(const test::ProgramUnderTest &program, const QString &folder,
                                const QString &url)
{
    const QDir made(kUpdates + QStringLiteral("/served-2"));
    const QDir served(folder);
    EXPECT_TRUE(served.mkpath(QStringLiteral(".")));
    for (const QString &name : made.entryList({QStringLiteral("*.tar.gz")}))
        EXPECT_TRUE(QFile::copy(made.filePath(name), served.filePath(name)));
    for (const QString &name : made.entryList({QStringLiteral("*.item")})) {
        QFile from(made.filePath(name));
        QFile to(served.filePath(name));
        EXPECT_TRUE(from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly));
        to.write(from.readAll().replace("https://updates.example", url.toUtf8()));
    }
    shell(program,
          {kPackaging + QStringLiteral("/sign-feed"), QStringLiteral("--key"), kKey,
           QStringLiteral("--out"), folder});
}

// Installs the first build there, from its bundle, and lets the program be started from there.
inline void installFirstBuild(test::ProgramUnderTest &program, const QString &prefix)
{
    const QDir served(kUpdates + QStringLiteral("/served-1"));
    const QString bundle = served.entryList({QStringLiteral("*.tar.gz")}).value(0);
    // As for a user who shares files with a group.
    shell(program,
          {QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("umask 002; exec \"$@\""),
           QStringLiteral("sh"), kPackaging + QStringLiteral("/install-bundle"),
           served.filePath(bundle), prefix});
    program.setExecutable(prefix + QStringLiteral("/bin/corvella"));
}

// The number of the build that starts there.
inline int currentBuild(const QString &prefix)
{
    return QFileInfo(QFile::symLinkTarget(prefix + QStringLiteral("/current"))).fileName().toInt();
}

} // namespace corvella

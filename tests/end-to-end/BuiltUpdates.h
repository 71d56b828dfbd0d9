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

// Bundles a build into a folder that is served at this address, and announces it there.
inline void makeBundle(const test::ProgramUnderTest &program, const QString &tree,
                       const QString &folder, const QString &url)
{
    QFile notes(program.home() + QStringLiteral("/notes"));
    EXPECT_TRUE(notes.open(QIODevice::WriteOnly));
    notes.write("Sharper loops & <more>\n");
    notes.close();
    shell(program,
          {kPackaging + QStringLiteral("/make-update"), QStringLiteral("--tree"), tree,
           QStringLiteral("--key"), kKey, QStringLiteral("--url"), url, QStringLiteral("--out"),
           folder, QStringLiteral("--notes"), notes.fileName()});
}

// Installs the first build there, from its bundle, and lets the program be started from there.
inline void installFirstBuild(test::ProgramUnderTest &program, const QString &prefix)
{
    const QString folder = program.home() + QStringLiteral("/first");
    makeBundle(program, kUpdates + QStringLiteral("/1"), folder,
               QStringLiteral("https://localhost"));
    const QString bundle = QDir(folder).entryList({QStringLiteral("*.tar.gz")}).value(0);
    // As for a user who shares files with a group.
    shell(program,
          {QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("umask 002; exec \"$@\""),
           QStringLiteral("sh"), kPackaging + QStringLiteral("/install-bundle"),
           folder + u'/' + bundle, prefix});
    program.setExecutable(prefix + QStringLiteral("/bin/corvella"));
}

// The number of the build that starts there.
inline int currentBuild(const QString &prefix)
{
    return QFileInfo(QFile::symLinkTarget(prefix + QStringLiteral("/current"))).fileName().toInt();
}

} // namespace corvella

// The builds that tests update from and to, as their makers bundle, install and announce them.
// Main thread only.
#pragma once

#include "support/NginxServer.h"
#include "support/ProgramUnderTest.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
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

// Makes one more build, beside those that are there already.
inline void makeBuild(const test::ProgramUnderTest &program, const QString &folder, int build)
{
    test::ChildProcess maker(
        {QStringLiteral(CORVELLA_MAKE_BUILDS),
         {QStringLiteral(CORVELLA_BUILD_TREE), QStringLiteral(CORVELLA_UPDATABLE), kKey, folder,
          QString::number(build)},
         program.environment(),
         program.home()});
    // It packs as tightly as can be.
    EXPECT_EQ(maker.exitStatus(10 * test::kGenerous), 0) << maker.errors().toStdString();
}

// Lays a build, of which this is what its maker serves, into a folder that is served at this
// address, and announces it there.
inline void announceBuild(const test::ProgramUnderTest &program, const QDir &made,
                          const QString &folder, const QString &url)
{
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

inline void announceSecondBuild(const test::ProgramUnderTest &program, const QString &folder,
                                const QString &url)
{
    announceBuild(program, QDir(kUpdates + QStringLiteral("/served-2")), folder, url);
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

// All files below a folder with what they hold.
inline QMap<QString, QByteArray> contentOf(const QString &folder)
{
    QMap<QString, QByteArray> content;
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(&file);
        content.insert(QDir(folder).relativeFilePath(file.fileName()), hash.result());
    }
    return content;
}

// Whether an installed build holds what was made.
inline void expectWhole(const QString &installed, const QString &made)
{
    QMap<QString, QByteArray> content = contentOf(installed);
    content.remove(QStringLiteral(".signature"));
    EXPECT_EQ(content, contentOf(made));
    EXPECT_GT(content.size(), 5);
}

// The arguments of the process that runs this build of a copy; none when there is none.
inline std::optional<QStringList> running(const QString &prefix, int build)
{
    const QString executable = prefix + QStringLiteral("/%1/bin/corvella").arg(build);
    for (const QString &id :
         QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
        const QString folder = QStringLiteral("/proc/") + id;
        if (QFile::symLinkTarget(folder + QStringLiteral("/exe")) != executable)
            continue;
        QFile file(folder + QStringLiteral("/cmdline"));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QStringList words = QString::fromLocal8Bit(file.readAll()).split(QChar(u'\0'));
        words.removeLast();
        return words.mid(1);
    }
    return std::nullopt;
}

// The first build, installed and looking for updates at a web server of its own, without a screen
// and without imagery from anywhere.
class InstalledCopy : public testing::Test
{
protected:
    InstalledCopy()
    {
        EXPECT_TRUE(QDir().mkpath(m_www));
        m_server = std::make_unique<test::NginxServer>(
            m_authority.issue({QStringLiteral("localhost")}), m_www);
        m_program.setVariable(QStringLiteral("SSL_CERT_FILE"), m_authority.certificate());
        m_program.showOnPlatform(QStringLiteral("offscreen"));
        m_program.configure(
            {{QStringLiteral("imageryHost"), QStringLiteral("localhost:1")},
             {QStringLiteral("updateFeed"), QString(address() + QStringLiteral("/appcast.xml"))}});
        installFirstBuild(m_program, prefix());
    }

    [[nodiscard]] QString prefix() const
    {
        return m_program.home() + QStringLiteral("/opt/corvella");
    }
    [[nodiscard]] QString address() const { return QStringLiteral("https://") + m_server->host(); }
    [[nodiscard]] int current() const { return currentBuild(prefix()); }
    void announce() const { announceSecondBuild(m_program, m_www, address()); }

    test::TestAuthority m_authority;
    test::ProgramUnderTest m_program;
    const QString m_www = m_program.home() + QStringLiteral("/www");
    std::unique_ptr<test::NginxServer> m_server;
};

} // namespace corvella

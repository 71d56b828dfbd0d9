// The screen saver among the user's, on a machine with and without programs that show savers.
#include "Preferences/SaverInstall.h"
#include "platform/session/SaverHost.h"
#include "support/CapturedLog.h"
#include "support/ChildProcess.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class SaverInstall : public testing::Test
{
protected:
    // A machine with no program at all but those that a test puts there.
    SaverInstall() { qputenv("PATH", QFile::encodeName(m_home.path(u"programs"_s))); }

    // A saver of this build. Its program stands still for a minute.
    QString bundle(const QByteArray &build)
    {
        const QString path = m_home.path(u"bundled/Corvella.saver"_s);
        m_home.write(path + u"/Contents/Info.plist"_s,
                     "<plist><dict><key>CFBundleName</key><string>Corvella</string>"
                     "<key>CFBundleVersion</key><string>"
                         + build + "</string></dict></plist>");
        const QString program = path + u"/Contents/bin/corvella-saver"_s;
        QFile::remove(program);
        m_home.write(program, {});
        QFile::remove(program);
        EXPECT_TRUE(QFile::copy(u"/bin/sleep"_s, program));
        m_home.write(path + u"/Contents/lib/corvella/corvella-clips"_s, "of build " + build);
        return path;
    }

    // A host's settings program, which tells that it was opened.
    void putHost(const QString &settingsProgram) const
    {
        const QString path = m_home.path(u"programs/"_s + settingsProgram);
        m_home.write(path, "#!/bin/sh\n: > \"$HOME/opened-" + settingsProgram.toUtf8() + "\"\n");
        QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner);
    }
    [[nodiscard]] bool isOpened(const QString &settingsProgram) const
    {
        return becomes([&] { return QFile::exists(m_home.path(u"opened-"_s + settingsProgram)); });
    }

    [[nodiscard]] QByteArray installed(const QString &file) const
    {
        return m_home.read(m_installed + u"/Contents/"_s + file);
    }

    test::TemporaryHome m_home;
    test::CapturedLog m_log;
    const QString m_installed = m_home.path(u"Library/Screen Savers/Corvella.saver"_s);
};

TEST_F(SaverInstall, CopiesTheWholeSaver)
{
    putHost(u"xscreensaver-settings"_s);
    const QString saver = bundle("14");
    EXPECT_EQ(installSaver(saver),
              u"Installed. In System Settings > Screen Saver, pick Corvella under Other."_s);
    EXPECT_EQ(installedSaver(), m_installed);
    EXPECT_EQ(saverBuild(m_installed), 14);
    EXPECT_EQ(installed(u"lib/corvella/corvella-clips"_s), "of build 14");
    EXPECT_TRUE(QFileInfo(m_installed + u"/Contents/bin/corvella-saver"_s).isExecutable());
    EXPECT_TRUE(isOpened(u"xscreensaver-settings"_s));
}

TEST_F(SaverInstall, ReplacesWhatIsThere)
{
    putHost(u"xscreensaver-settings"_s);
    m_home.write(m_installed + u"/Contents/old"_s, "x");
    ASSERT_TRUE(installSaver(bundle("14")));
    EXPECT_FALSE(QFile::exists(m_installed + u"/Contents/old"_s));
    EXPECT_EQ(QDir(m_home.path(u"Library/Screen Savers"_s))
                  .entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
              QStringList{u"Corvella.saver"_s});
}

TEST_F(SaverInstall, ReplacesALinkAndNotWhatItLeadsTo)
{
    putHost(u"xscreensaver-settings"_s);
    m_home.write(m_home.path(u"elsewhere/precious"_s), "x");
    ASSERT_TRUE(QDir().mkpath(QFileInfo(m_installed).path()));
    ASSERT_TRUE(QFile::link(m_home.path(u"elsewhere"_s), m_installed));
    ASSERT_TRUE(installSaver(bundle("14")));
    EXPECT_EQ(m_home.read(m_home.path(u"elsewhere/precious"_s)), "x");
    EXPECT_EQ(saverBuild(m_installed), 14);
}

TEST_F(SaverInstall, EntersItIntoXScreenSaverOnceBesideWhatTheUserHas)
{
    putHost(u"xscreensaver-settings"_s);
    const QByteArray users =
        "# mine\nmode: one\nselected: 0\nprograms: \\\n  maze --root \\n\\\n\n";
    m_home.write(m_home.path(u".xscreensaver"_s), users);
    ASSERT_TRUE(installSaver(bundle("14")));
    const QByteArray after = m_home.read(m_home.path(u".xscreensaver"_s));
    // A path without a space: its settings window takes one with a space for not installed.
    const QString program = m_home.path(u".local/bin/corvella-saver"_s);
    EXPECT_EQ(after,
              "# mine\nmode: one\nselected: 0\nprograms: \\\n  maze --root \\n\\\n  \"Corvella\"  "
                  + program.toUtf8() + " --root \\n\\\n\n");
    EXPECT_EQ(QFileInfo(program).canonicalFilePath(),
              m_installed + u"/Contents/bin/corvella-saver"_s);
    ASSERT_TRUE(installSaver(bundle("15")));
    EXPECT_EQ(m_home.read(m_home.path(u".xscreensaver"_s)), after);
}

TEST_F(SaverInstall, LeavesAUsersOwnProgramOfThatNameAlone)
{
    putHost(u"xscreensaver-settings"_s);
    m_home.write(m_home.path(u".local/bin/corvella-saver"_s), "mine");
    EXPECT_TRUE(installSaver(bundle("14"))->startsWith(u"Could not install: "_s));
    EXPECT_EQ(m_home.read(m_home.path(u".local/bin/corvella-saver"_s)), "mine");
    EXPECT_FALSE(QFile::exists(m_home.path(u".xscreensaver"_s)));
}

// MATE's runs savers from the system's folder alone.
class MateSaver : public SaverInstall
{
protected:
    MateSaver()
    {
        qputenv("XDG_CURRENT_DESKTOP", "MATE");
        putHost(u"mate-screensaver-preferences"_s);
    }
    const QString m_engine = m_home.path(u"libexec/corvella-saver"_s);
};

TEST_F(MateSaver, IsEnteredByItsEntry)
{
    m_home.write(m_engine, "#!/bin/sh\n");
    QFile::setPermissions(m_engine, QFile::ReadOwner | QFile::ExeOwner);
    const std::unique_ptr<SaverHost> host = createEntryHost(EntryHost::mate, m_engine);
    ASSERT_TRUE(host);
    EXPECT_EQ(host->enter(m_installed), std::nullopt);
    host->openSettings();
    EXPECT_TRUE(isOpened(u"mate-screensaver-preferences"_s));
    const QString entry =
        m_home.data(u"applications/screensavers/space.tarrow.corvella-saver.desktop"_s);
    EXPECT_TRUE(
        QString::fromUtf8(m_home.read(entry)).contains(u"Exec=\""_s + m_engine + u"\" --root\n"_s));
    EXPECT_TRUE(m_home.read(entry).contains("Categories=Screensaver;\n"));
    test::run({u"/usr/bin/desktop-file-validate"_s, {entry}, test::bareEnvironment(), {}});
}

TEST_F(MateSaver, IsNoneWhereTheSystemHasNoModule)
{
    EXPECT_EQ(createEntryHost(EntryHost::mate, m_engine), nullptr);
    m_home.write(m_engine, "not a program");
    EXPECT_EQ(createEntryHost(EntryHost::mate, m_engine), nullptr);
}

TEST_F(SaverInstall, SaysThatNobodyHereShowsIt)
{
    EXPECT_EQ(installSaver(bundle("14")),
              u"Could not install: no program here shows the screen savers of others"_s);
    EXPECT_FALSE(QFile::exists(m_home.path(u"Library"_s)));
}

TEST_F(SaverInstall, SaysWhyItCouldNot)
{
    putHost(u"xscreensaver-settings"_s);
    m_home.write(m_home.path(u"Library"_s), "a file in the way");
    EXPECT_TRUE(installSaver(bundle("14"))->startsWith(u"Could not install: "_s));
    EXPECT_FALSE(QFile::exists(m_home.path(u".xscreensaver"_s)));
    EXPECT_FALSE(QFile::exists(m_home.path(u"opened-xscreensaver-settings"_s)));
}

TEST_F(SaverInstall, DoesNothingWhereThereIsNone)
{
    EXPECT_EQ(installSaver(std::nullopt), std::nullopt);
    EXPECT_FALSE(QFile::exists(m_home.path(u"Library"_s)));
}

TEST(InstalledNote, SpeaksOfWallpaperOnNewerSystems)
{
    const QString wallpaper =
        u"Installed. In System Settings > Wallpaper, click Screen Saver… and pick Corvella under Other."_s;
    const QString screenSaver =
        u"Installed. In System Settings > Screen Saver, pick Corvella under Other."_s;
    EXPECT_EQ(installedNote(15), screenSaver);
    EXPECT_EQ(installedNote(25), screenSaver);
    EXPECT_EQ(installedNote(26), wallpaper);
}

class InstalledSaver : public SaverInstall
{
protected:
    void install(const QByteArray &build)
    {
        putHost(u"xscreensaver-settings"_s);
        ASSERT_TRUE(installSaver(bundle(build)));
    }
};

TEST_F(InstalledSaver, IsReplacedByANewerOne)
{
    install("12");
    refreshInstalledSaver(bundle("14"));
    EXPECT_EQ(saverBuild(m_installed), 14);
    EXPECT_EQ(installed(u"lib/corvella/corvella-clips"_s), "of build 14");
    EXPECT_EQ(m_log.messages(), QStringList{u"screen saver updated from build 12 to 14"_s});
}

TEST_F(InstalledSaver, StaysWhereTheProgramsOwnIsOlderOrTheSame)
{
    install("14");
    for (const char *build : {"12", "14"}) {
        refreshInstalledSaver(bundle(build));
        EXPECT_EQ(saverBuild(m_installed), 14);
        EXPECT_EQ(installed(u"lib/corvella/corvella-clips"_s), "of build 14");
    }
    EXPECT_EQ(m_log.messages(), QStringList());
}

TEST_F(InstalledSaver, CountsAsBuildZeroWhereThatCannotBeTold)
{
    for (const QByteArray plist : {"", "<plist><dict><key>CFBundleVersion</key></dict></plist>",
                                   "<plist><dict><key>CFBundleVersion</key><string>x</string>"
                                   "</dict></plist>"}) {
        m_home.write(m_installed + u"/Contents/Info.plist"_s, plist);
        EXPECT_EQ(saverBuild(m_installed), 0);
    }
    QFile::remove(m_installed + u"/Contents/Info.plist"_s);
    refreshInstalledSaver(bundle("0"));
    EXPECT_EQ(m_log.messages(), QStringList());
    refreshInstalledSaver(bundle("1"));
    EXPECT_EQ(m_log.messages(), QStringList{u"screen saver updated from build 0 to 1"_s});
}

TEST_F(InstalledSaver, IsNeverInstalledByARefresh)
{
    refreshInstalledSaver(bundle("14"));
    EXPECT_FALSE(QFile::exists(m_home.path(u"Library"_s)));
    EXPECT_EQ(m_log.messages(), QStringList());
}

TEST_F(InstalledSaver, StaysWhereTheProgramHasNone)
{
    install("12");
    refreshInstalledSaver(std::nullopt);
    EXPECT_EQ(saverBuild(m_installed), 12);
}

TEST_F(InstalledSaver, IsToldToEndWhereItRuns)
{
    install("12");
    test::ChildProcess saver(
        {m_installed + u"/Contents/bin/corvella-saver"_s, {u"60"_s}, test::bareEnvironment(), {}});
    test::ChildProcess other({u"/bin/sleep"_s, {u"60"_s}, test::bareEnvironment(), {}});
    refreshInstalledSaver(bundle("14"));
    EXPECT_TRUE(becomes([&] { return !saver.isRunning(); }));
    EXPECT_TRUE(other.isRunning());
}

TEST_F(InstalledSaver, IsToldToEndInAHomeThatIsALinkToo)
{
    const QString link = m_home.path() + u"-link"_s;
    ASSERT_TRUE(QFile::link(m_home.path(), link));
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QFile::encodeName(link));
    install("12");
    test::ChildProcess saver(
        {m_installed + u"/Contents/bin/corvella-saver"_s, {u"60"_s}, test::bareEnvironment(), {}});
    refreshInstalledSaver(bundle("14"));
    qputenv("HOME", home);
    QFile::remove(link);
    EXPECT_TRUE(becomes([&] { return !saver.isRunning(); }));
}

TEST_F(InstalledSaver, StaysWholeWhereItCannotBeReplaced)
{
    install("12");
    const QString saver = bundle("14");
    // What cannot be copied.
    QFile::remove(saver + u"/Contents/lib/corvella/corvella-clips"_s);
    ASSERT_TRUE(QFile::link(u"/nonexistent"_s, saver + u"/Contents/lib/corvella/corvella-clips"_s));
    refreshInstalledSaver(saver);
    EXPECT_EQ(saverBuild(m_installed), 12);
    EXPECT_EQ(installed(u"lib/corvella/corvella-clips"_s), "of build 12");
    ASSERT_EQ(m_log.messages().size(), 1);
    EXPECT_TRUE(
        m_log.messages().first().startsWith(u"could not update the installed screen saver: "_s));
}

} // namespace
} // namespace corvella

#include "platform/session/LoginItem.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace corvella {
namespace {

QString executable()
{
    return QStringLiteral("/bin/sh");
}

class LoginItemTest : public testing::Test
{
protected:
    LoginItemTest() { qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME"); }

    void storeEntry(const QByteArray &lines) const
    {
        m_home.write(m_entry, "[Desktop Entry]\n" + lines);
    }

    test::TemporaryHome m_home;
    QString m_entry = m_home.config(QStringLiteral("autostart/space.tarrow.corvella.desktop"));
    QString m_machineEntry =
        m_home.path(QStringLiteral("etc/xdg/autostart/space.tarrow.corvella.desktop"));
    LoginItem m_item{executable()};
};

TEST_F(LoginItemTest, IsOffWithoutAnEntry)
{
    EXPECT_FALSE(m_item.isEnabled());
}

TEST_F(LoginItemTest, IsOnAfterItWasSwitchedOnAndOffAfterThat)
{
    EXPECT_EQ(m_item.setEnabled(true), std::nullopt);
    EXPECT_TRUE(m_item.isEnabled());
    EXPECT_EQ(m_item.setEnabled(true), std::nullopt) << "again";
    EXPECT_EQ(m_item.setEnabled(false), std::nullopt);
    EXPECT_FALSE(m_item.isEnabled());
    EXPECT_FALSE(QFile::exists(m_entry))
        << "off is no entry at all: some sessions know no other off";
    EXPECT_EQ(m_item.setEnabled(false), std::nullopt) << "again";
}

TEST_F(LoginItemTest, WritesAnEntryThatEverybodyMayRead)
{
    ASSERT_EQ(m_item.setEnabled(true), std::nullopt);
    EXPECT_EQ(m_home.read(m_entry),
              QByteArray("[Desktop Entry]\n"
                         "Type=Application\n"
                         "Name=Corvella\n"
                         "Exec=\"/bin/sh\" --login-item\n"
                         "TryExec=/bin/sh\n"
                         "Icon=space.tarrow.corvella\n"
                         "Terminal=false\n"
                         "X-GNOME-Autostart-enabled=true\n"));
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_entry).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
}

TEST_F(LoginItemTest, SwitchesOnWhatAnotherProgramSwitchedOff)
{
    storeEntry("Exec=/bin/sh\nHidden=true\n");
    EXPECT_FALSE(m_item.isEnabled());
    ASSERT_EQ(m_item.setEnabled(true), std::nullopt);
    EXPECT_TRUE(m_item.isEnabled());
}

TEST_F(LoginItemTest, ReadsWhetherTheDesktopWouldStartTheEntry)
{
    const struct
    {
        const char *lines;
        bool enabled;
    } rows[] = {
        {"", true},
        {"Hidden=false\n", true},
        {"Hidden=true\n", false},
        {"Hidden = true\n", false},
        {"#Hidden=true\n", true},
        {"Hidden[de]=true\n", true},
        {"X-GNOME-Autostart-enabled=true\n", true},
        {"X-GNOME-Autostart-enabled=false\n", false},
        {"TryExec=/bin/sh\n", true},
        {"TryExec=sh\n", true},
        {"TryExec=/no/such/program\n", false},
        {"TryExec=/etc/passwd\n", false},
        {"TryExec=/\n", false},
        {"OnlyShowIn=GNOME;\n", true},
        {"OnlyShowIn=KDE;XFCE;\n", false},
        {"OnlyShowIn=\n", false},
        {"NotShowIn=GNOME;\n", false},
        {"NotShowIn=KDE;\n", true},
        {"OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", true},
        {"[Desktop Action again]\nHidden=true\n", true},
        {"[Other]\nHidden=true\n[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n", false},
        {"nonsense\n=true\n\n\xFF\xFE=\n", true},
    };
    for (const auto &row : rows) {
        storeEntry(row.lines);
        EXPECT_EQ(m_item.isEnabled(), row.enabled) << row.lines;
    }
}

TEST_F(LoginItemTest, IsOffWhenTheFileIsNoEntry)
{
    for (const char *content : {"", "not an entry", "[desktop entry]\nExec=x\n", "\0\0\0"}) {
        m_home.write(m_entry, content);
        EXPECT_FALSE(m_item.isEnabled()) << content;
    }
    m_home.write(m_entry, "[Desktop Entry]\n" + QByteArray(1 << 20, '#'));
    EXPECT_FALSE(m_item.isEnabled()) << "far too large";
}

TEST_F(LoginItemTest, CountsAMachineWideEntryThatTheUserDoesNotShadow)
{
    m_home.write(m_machineEntry, "[Desktop Entry]\nExec=/bin/sh\n");
    EXPECT_TRUE(m_item.isEnabled());
    storeEntry("Hidden=true\n");
    EXPECT_FALSE(m_item.isEnabled());
}

TEST_F(LoginItemTest, HidesAMachineWideEntryToSwitchItOff)
{
    m_home.write(m_machineEntry, "[Desktop Entry]\nExec=/bin/sh\n");
    EXPECT_EQ(m_item.setEnabled(false), std::nullopt);
    EXPECT_FALSE(m_item.isEnabled());
    EXPECT_TRUE(QFile::exists(m_machineEntry));
    EXPECT_EQ(m_item.setEnabled(true), std::nullopt);
    EXPECT_TRUE(m_item.isEnabled());
}

TEST_F(LoginItemTest, SaysWhyItCannotSwitchOn)
{
    m_home.write(m_home.config(QStringLiteral("autostart")), "in the way");
    EXPECT_EQ(m_item.setEnabled(true), m_entry + QStringLiteral(": Not a directory"));
    EXPECT_EQ(m_item.setEnabled(false), std::nullopt) << "there is no entry, so it is off";
}

TEST_F(LoginItemTest, SaysWhyItCannotSwitchOff)
{
    ASSERT_TRUE(QDir().mkpath(m_entry + QStringLiteral("/occupied")));
    EXPECT_EQ(m_item.setEnabled(false), m_entry + QStringLiteral(": Directory not empty"));
}

// Paths that exist on somebody's machine, and some that nobody should have.
const struct PathRow
{
    const char *path;
    const char *execArgument;
    const char *tryExec;
} kPathRows[] = {
    {"/usr/bin/corvella", R"("/usr/bin/corvella")", "/usr/bin/corvella"},
    {"/opt/My Sun/corvella", R"("/opt/My Sun/corvella")", "/opt/My Sun/corvella"},
    {"/opt/100%/corvella", R"("/opt/100%%/corvella")", "/opt/100%/corvella"},
    {"/opt/%f/corvella", R"("/opt/%%f/corvella")", "/opt/%f/corvella"},
    {"/opt/$HOME/corvella", R"("/opt/\\$HOME/corvella")", "/opt/$HOME/corvella"},
    {"/opt/a\"b/corvella", R"("/opt/a\\"b/corvella")", "/opt/a\"b/corvella"},
    {"/opt/a`b`/corvella", R"("/opt/a\\`b\\`/corvella")", "/opt/a`b`/corvella"},
    {"/opt/a\\b/corvella", R"("/opt/a\\\\b/corvella")", R"(/opt/a\\b/corvella)"},
    {"/opt/it's/~/a;b#c=d/corvella", R"("/opt/it's/~/a;b#c=d/corvella")",
     "/opt/it's/~/a;b#c=d/corvella"},
    {"/opt/\xC3\x85ngstr\xC3\xB6m/corvella", "\"/opt/\xC3\x85ngstr\xC3\xB6m/corvella\"",
     "/opt/\xC3\x85ngstr\xC3\xB6m/corvella"},
    {"/opt/a\tb/corvella", R"("/opt/a\tb/corvella")", R"(/opt/a\tb/corvella)"},
    {"/opt/a\nb/corvella", R"("/opt/a\nb/corvella")", R"(/opt/a\nb/corvella)"},
};

TEST(AutostartEntryTest, EscapesThePathTwiceForExecAndOnceForTryExec)
{
    for (const PathRow &row : kPathRows) {
        const QString path = QString::fromUtf8(row.path);
        EXPECT_EQ(AutostartEntry::execArgument(path).toUtf8(), QByteArray(row.execArgument));
        const QByteArray exec = "\nExec=" + QByteArray(row.execArgument) + " --login-item\n";
        const QByteArray tryExec = "\nTryExec=" + QByteArray(row.tryExec) + '\n';
        EXPECT_TRUE(AutostartEntry::enabling(path).contains(exec)) << row.path;
        EXPECT_TRUE(AutostartEntry::enabling(path).contains(tryExec)) << row.path;
    }
}

TEST(AutostartEntryTest, ReadsBackThePathThatItWrote)
{
    for (const PathRow &row : kPathRows) {
        const QString path = QString::fromUtf8(row.path);
        EXPECT_EQ(AutostartEntry::parse(AutostartEntry::enabling(path)).tryExec, path) << row.path;
    }
}

TEST(AutostartEntryTest, IsValidWhateverThePath)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("entry.desktop"));
    const auto validate = [&file](const QByteArray &entry) {
        test::TemporaryHome().write(file, entry);
        QProcess validator;
        validator.setProcessChannelMode(QProcess::MergedChannels);
        validator.start(QStringLiteral("desktop-file-validate"), {file});
        EXPECT_TRUE(validator.waitForFinished());
        EXPECT_EQ(validator.exitCode(), 0);
        return validator.readAll();
    };
    for (const PathRow &row : kPathRows)
        EXPECT_EQ(validate(AutostartEntry::enabling(QString::fromUtf8(row.path))), QByteArray())
            << row.path;
    EXPECT_EQ(validate(AutostartEntry::hiding()), QByteArray());
}

TEST(AutostartEntryTest, IsShownByTheFirstDesktopThatDecides)
{
    AutostartEntry::Conditions conditions;
    EXPECT_TRUE(AutostartEntry::isShownIn(conditions, {}));
    conditions.notShowIn = {QStringLiteral("GNOME")};
    EXPECT_TRUE(AutostartEntry::isShownIn(conditions, {}));
    conditions.onlyShowIn = {QStringLiteral("KDE")};
    EXPECT_FALSE(AutostartEntry::isShownIn(conditions, {}));
    EXPECT_TRUE(
        AutostartEntry::isShownIn(conditions, {QStringLiteral("KDE"), QStringLiteral("GNOME")}));
    EXPECT_FALSE(
        AutostartEntry::isShownIn(conditions, {QStringLiteral("GNOME"), QStringLiteral("KDE")}));
    EXPECT_FALSE(AutostartEntry::isShownIn(conditions, {QStringLiteral("kde")}))
        << "names are exact";
}

TEST(LoginItemPathTest, GoesByTheLinkThatMovesOnWithUpdates)
{
    const test::TemporaryHome home;
    const QString build = home.path(QStringLiteral("opt/corvella/12/bin/corvella"));
    const QString other = home.path(QStringLiteral("opt/corvella/11/bin/corvella"));
    home.write(build, "");
    home.write(other, "");
    EXPECT_EQ(LoginItem::stablePath(build), build) << "no link";

    ASSERT_TRUE(
        QFile::link(QStringLiteral("12"), home.path(QStringLiteral("opt/corvella/current"))));
    EXPECT_EQ(LoginItem::stablePath(build),
              home.path(QStringLiteral("opt/corvella/current/bin/corvella")));
    EXPECT_EQ(LoginItem::stablePath(other), other) << "the link names another build";
    const QString launcher = home.path(QStringLiteral("opt/corvella/bin/corvella"));
    home.write(launcher, "");
    ASSERT_TRUE(QFile::setPermissions(launcher, QFile::ReadOwner | QFile::ExeOwner));
    EXPECT_EQ(LoginItem::stablePath(build), launcher);
    EXPECT_EQ(LoginItem::stablePath(other), other);
    EXPECT_EQ(LoginItem::stablePath(QStringLiteral("/usr/bin/corvella")),
              QStringLiteral("/usr/bin/corvella"));
}

} // namespace
} // namespace corvella

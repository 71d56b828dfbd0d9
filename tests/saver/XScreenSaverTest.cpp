// The module as XScreenSaver's daemon shows it, in the settings of a user who added it.
#include "Preferences/SaverInstall.h"
#include "saver/TwoMonitors.h"
#include "support/OrdinaryUserCommand.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

const QByteArray kBefore = "# What I like\n"
                           "mode: one\n"
                           "selected: 1\n"
                           "lock: False\n"
                           "fade: False\n"
                           "unfade: False\n"
                           "programs: \\\n"
                           "- \tmaze --root \\n\\\n"
                           "  \"Ping\" pong --root \\n\\\n"
                           "\n"
                           "splash: False\n";

class XScreenSaver : public TwoMonitors
{
protected:
    XScreenSaver()
    {
        m_display.plugIn(u"L"_s, kLeft);
        m_display.plugIn(u"R"_s, kRight);
        m_display.client().paintRoot(Qt::blue);
        write(m_settings, kBefore);
        install();
        test::handOverToOrdinaryUser(m_program.home());
    }

    void write(const QString &path, const QByteArray &bytes) const
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    [[nodiscard]] QByteArray settings() const
    {
        QFile file(m_settings);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // As the button in the settings window does it. What that opens is not of interest here.
    void install() const
    {
        const QByteArray path = qgetenv("PATH");
        const QString settingsProgram = m_program.home() + u"/xscreensaver-settings"_s;
        write(settingsProgram, "#!/bin/sh\n");
        QFile::setPermissions(settingsProgram, QFile::ReadOwner | QFile::ExeOwner);
        qputenv("HOME", QFile::encodeName(m_program.home()));
        qputenv("PATH", QFile::encodeName(m_program.home()));
        ASSERT_TRUE(installSaver().value_or(QString()).startsWith(u"Installed."_s));
        qputenv("PATH", path);
    }

    [[nodiscard]] test::Command command(const QString &program, const QStringList &arguments) const
    {
        return test::asOrdinaryUser({program, arguments, m_program.environment(), {}});
    }
    // The window by which the daemon is told comes a little after it is there.
    [[nodiscard]] bool isTold(const QString &what) const
    {
        return becomes([&] {
            test::ChildProcess teller(command(u"xscreensaver-command"_s, {what}));
            return teller.exitStatus() == 0;
        });
    }

    // The processes of this display whose names begin so.
    [[nodiscard]] QList<pid_t> processes(const QByteArray &name) const
    {
        const QByteArray display = "DISPLAY=" + m_display.display().toLatin1();
        QList<pid_t> processes;
        for (const QString &id : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
            QFile is(u"/proc/%1/comm"_s.arg(id));
            QFile environment(u"/proc/%1/environ"_s.arg(id));
            if (!is.open(QIODevice::ReadOnly) || !is.readAll().startsWith(name)
                || !environment.open(QIODevice::ReadOnly))
                continue;
            const QList<QByteArray> variables = environment.readAll().split('\0');
            if (variables.contains(display) || variables.contains(display + ".0"))
                processes << id.toInt();
        }
        return processes;
    }
    [[nodiscard]] qsizetype modules() const { return processes("corvella-saver").size(); }

    void choose() const { write(m_settings, settings().replace("selected: 1", "selected: 2")); }
    // Starts the daemon and waits until ours is on both monitors, with another clip on each.
    void show()
    {
        m_daemon.emplace(command(u"xscreensaver"_s, {u"--no-splash"_s, u"--verbose"_s}));
        ASSERT_TRUE(becomes([this] { return m_daemon->errors().contains("running in process"); }));
        ASSERT_TRUE(isTold(u"-activate"_s)) << m_daemon->errors().toStdString();
        ASSERT_TRUE(becomes([this] { return clipOn(kLeft) + clipOn(kRight) == 1 + 2; }))
            << m_daemon->errors().toStdString();
    }

    const QString m_settings = m_program.home() + u"/.xscreensaver"_s;
    std::optional<test::ChildProcess> m_daemon;
};

TEST_F(XScreenSaver, ShowsTheInstalledModuleOnEveryScreenAndLetsItGoOnInput)
{
    QByteArray withoutOurs = settings();
    const QByteArray ours = "  \"Corvella\"  " + QFile::encodeName(m_program.home())
        + "/.local/bin/corvella-saver --root \\n\\\n";
    withoutOurs.replace(ours, QByteArray());
    EXPECT_EQ(withoutOurs, kBefore);

    choose();
    const QByteArray chosen = settings();
    ASSERT_NO_FATAL_FAILURE(show());

    // Right after it was told to show, the daemon takes no notice of input.
    EXPECT_TRUE(becomes(
        [&] {
            m_display.input({u"key"_s, u"a"_s});
            return test::isFilledWith(m_display.client().picture(), {0, 0, 800, 300}, Qt::blue);
        },
        test::kGenerous, std::chrono::milliseconds(200)))
        << m_daemon->errors().toStdString();
    EXPECT_EQ(settings(), chosen);
}

// Nothing of it is left over its screens, and one that is started anew shows it again.
TEST_F(XScreenSaver, LeavesNoModuleBehindWhenItIsKilled)
{
    choose();
    ASSERT_NO_FATAL_FAILURE(show());
    EXPECT_EQ(modules(), 2);
    // Itself, and what it has its windows from, which would take ten seconds to notice.
    for (const pid_t process : processes("xscreensaver"))
        ::kill(process, SIGKILL);
    EXPECT_TRUE(becomes([this] { return modules() == 0; }));
    EXPECT_TRUE(becomes([this] {
        return test::isFilledWith(m_display.client().picture(), {0, 0, 800, 300}, Qt::blue);
    }));
    ASSERT_NO_FATAL_FAILURE(show());
    EXPECT_EQ(modules(), 2);
}

} // namespace
} // namespace corvella

#include "defaults/DefaultsCommand.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

namespace corvella {
namespace {

struct Result
{
    ExitStatus status;
    QString output;
    QString errors;
};

class DefaultsCommandTest : public testing::Test
{
protected:
    Result run(const QString &command) { return run(command.split(u' ')); }

    Result run(const QStringList &arguments)
    {
        Result result = {};
        QTextStream output(&result.output);
        QTextStream errors(&result.errors);
        result.status = runDefaultsCommand(arguments, m_defaults, output, errors);
        return result;
    }

    QByteArray file() const { return m_home.read(m_defaults.filePath()); }

    test::TemporaryHome m_home;
    UserDefaults m_defaults{QStringLiteral("space.tarrow.corvella")};
};

TEST_F(DefaultsCommandTest, FailsWhereItsAnswerCannotBeWritten)
{
    QFile full(QStringLiteral("/dev/full"));
    ASSERT_TRUE(full.open(QIODevice::WriteOnly));
    QTextStream output(&full);
    QString complaints;
    QTextStream errors(&complaints);
    EXPECT_EQ(runDefaultsCommand({QStringLiteral("read")}, m_defaults, output, errors),
              ExitStatus::failed);
    EXPECT_EQ(complaints, QStringLiteral("corvella-defaults: the answer could not be written\n"));
}

TEST_F(DefaultsCommandTest, WritesEachTypeAndReadsItBack)
{
    const struct
    {
        QStringList arguments;
        const char *json;
        QString read;
    } rows[] = {
        {{QStringLiteral("plain text")}, R"("plain text")", QStringLiteral("plain text")},
        {{QStringLiteral("true")}, R"("true")", QStringLiteral("true")},
        {{QStringLiteral("-3")}, R"("-3")", QStringLiteral("-3")},
        {{QStringLiteral("-string"), QStringLiteral("-int")}, R"("-int")", QStringLiteral("-int")},
        {{QStringLiteral("-bool"), QStringLiteral("yes")}, "true", QStringLiteral("true")},
        {{QStringLiteral("-bool"), QStringLiteral("TRUE")}, "true", QStringLiteral("true")},
        {{QStringLiteral("-bool"), QStringLiteral("1")}, "true", QStringLiteral("true")},
        {{QStringLiteral("-bool"), QStringLiteral("no")}, "false", QStringLiteral("false")},
        {{QStringLiteral("-bool"), QStringLiteral("false")}, "false", QStringLiteral("false")},
        {{QStringLiteral("-bool"), QStringLiteral("0")}, "false", QStringLiteral("false")},
        {{QStringLiteral("-int"), QStringLiteral("-3")}, "-3", QStringLiteral("-3")},
        {{QStringLiteral("-float"), QStringLiteral("7.5")}, "7.5", QStringLiteral("7.5")},
        {{QStringLiteral("-date"), QStringLiteral("2025-03-01T10:05:00+01:00")},
         R"("2025-03-01T09:05:00Z")",
         QStringLiteral("2025-03-01T09:05:00Z")},
        {{QStringLiteral("-array"), QStringLiteral("171"), QStringLiteral("off")},
         R"(["171", "off"])",
         QStringLiteral(R"(["171","off"])")},
        {{QStringLiteral("-array")}, "[]", QStringLiteral("[]")},
    };
    for (const auto &row : rows) {
        const Result written =
            run(QStringList{QStringLiteral("write"), QStringLiteral("key")} + row.arguments);
        EXPECT_EQ(written.status, ExitStatus::done) << row.json;
        EXPECT_EQ(written.output + written.errors, QString()) << row.json;
        EXPECT_EQ(parseDefaults(file()), parseDefaults("{\"key\": " + QByteArray(row.json) + "}"));
        EXPECT_EQ(run(QStringLiteral("read key")).output, row.read + u'\n');
    }
}

TEST_F(DefaultsCommandTest, RefusesAValueThatIsNoneOfItsType)
{
    const QString commands[] = {
        QStringLiteral("write key -bool maybe"),
        QStringLiteral("write key -int 2.5"),
        QStringLiteral("write key -int 99999999999999999999"),
        QStringLiteral("write key -int three"),
        QStringLiteral("write key -float nan"),
        QStringLiteral("write key -float inf"),
        QStringLiteral("write key -float 1e999"),
        QStringLiteral("write key -date yesterday"),
        QStringLiteral("write key -date 2025-03-01"),
    };
    for (const QString &command : commands) {
        const Result result = run(command);
        EXPECT_EQ(result.status, ExitStatus::usage) << qPrintable(command);
        EXPECT_EQ(result.errors.count(u'\n'), 1) << qPrintable(command);
    }
    EXPECT_TRUE(m_defaults.values().isEmpty());
    EXPECT_EQ(run(QStringLiteral("write key -bool maybe")).errors,
              QStringLiteral("corvella-defaults: \"maybe\" is not true, false, yes, no, 1 or 0\n"));
}

TEST_F(DefaultsCommandTest, ExplainsWhatItDoesNotUnderstand)
{
    const QString commands[] = {
        QString(),
        QStringLiteral("defaults"),
        QStringLiteral("read one two"),
        QStringLiteral("write"),
        QStringLiteral("write key"),
        QStringLiteral("write key -int"),
        QStringLiteral("write key one two"),
        QStringLiteral("write key -string one two"),
        QStringLiteral("write key -unknown 3"),
        QStringLiteral("delete"),
        QStringLiteral("delete one two"),
    };
    for (const QString &command : commands) {
        const Result result = run(command);
        EXPECT_EQ(result.status, ExitStatus::usage) << qPrintable(command);
        EXPECT_TRUE(result.errors.startsWith(u"corvella-defaults: ")) << qPrintable(command);
        EXPECT_TRUE(result.errors.endsWith(u"; see --help\n")) << qPrintable(command);
    }
    EXPECT_EQ(run(QStringList()).status, ExitStatus::usage);
    EXPECT_TRUE(m_defaults.values().isEmpty());
}

TEST_F(DefaultsCommandTest, ReadsAllSettingsInForceAsOneObject)
{
    EXPECT_EQ(run(QStringLiteral("read")).output, QStringLiteral("{\n}\n"));
    m_home.write(m_home.path(QStringLiteral("etc/xdg/space.tarrow.corvella.json")),
                 R"({"a": 1, "b": 2})");
    m_defaults.setInteger(QStringLiteral("b"), 3);
    EXPECT_EQ(run(QStringLiteral("read")).output,
              QStringLiteral("{\n    \"a\": 1,\n    \"b\": 3\n}\n"));
    EXPECT_EQ(run(QStringLiteral("read a")).output, QStringLiteral("1\n"));
}

TEST_F(DefaultsCommandTest, SaysThatThereIsNoSuchSetting)
{
    for (const QString &command :
         {QStringLiteral("read absent"), QStringLiteral("delete absent")}) {
        const Result result = run(command);
        EXPECT_EQ(result.status, ExitStatus::failed);
        EXPECT_EQ(result.output, QString());
        EXPECT_EQ(result.errors, QStringLiteral("corvella-defaults: no setting \"absent\"\n"));
    }
}

TEST_F(DefaultsCommandTest, DeletesASetting)
{
    m_defaults.setInteger(QStringLiteral("key"), 5);
    EXPECT_EQ(run(QStringLiteral("delete key")).status, ExitStatus::done);
    EXPECT_FALSE(m_defaults.contains(QStringLiteral("key")));
}

TEST_F(DefaultsCommandTest, HelpsOnOutput)
{
    const Result result = run(QStringLiteral("--help"));
    EXPECT_EQ(result.status, ExitStatus::done);
    EXPECT_TRUE(result.output.startsWith(u"Usage: corvella-defaults read [KEY]\n"));
    EXPECT_EQ(result.errors, QString());
}

class DefaultsProgramTest : public testing::Test
{
protected:
    // Runs the program as a script would, with neither a display nor a session.
    int run(const QStringList &arguments)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *variable :
             {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR"})
            environment.remove(QString::fromLatin1(variable));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(CORVELLA_DEFAULTS), arguments);
        EXPECT_TRUE(process.waitForFinished());
        m_output = QString::fromUtf8(process.readAllStandardOutput());
        m_errors = QString::fromUtf8(process.readAllStandardError());
        return process.exitCode();
    }

    test::TemporaryHome m_home;
    QString m_output;
    QString m_errors;
};

TEST_F(DefaultsProgramTest, ChangesTheSettingsOfTheProgram)
{
    EXPECT_EQ(run({QStringLiteral("write"), QStringLiteral("mode"), QStringLiteral("w\u00E5ll")}),
              0);
    EXPECT_EQ(UserDefaults(QStringLiteral("space.tarrow.corvella")).string(QStringLiteral("mode")),
              QStringLiteral("w\u00E5ll"));
    EXPECT_EQ(run({QStringLiteral("read"), QStringLiteral("mode")}), 0);
    EXPECT_EQ(m_output, QStringLiteral("w\u00E5ll\n"));
}

TEST_F(DefaultsProgramTest, ExitsWithOneForAnAbsentKeyAndTwoForMisuse)
{
    EXPECT_EQ(run({QStringLiteral("read"), QStringLiteral("absent")}), 1);
    EXPECT_EQ(m_errors, QStringLiteral("corvella-defaults: no setting \"absent\"\n"));
    EXPECT_EQ(run({}), 2);
}

TEST_F(DefaultsProgramTest, ExitsWithOneAndOneLineWhenTheSettingCannotBeSaved)
{
    ASSERT_TRUE(QDir().mkpath(m_home.config(QStringLiteral("space.tarrow.corvella.json"))));
    EXPECT_EQ(run({QStringLiteral("write"), QStringLiteral("key"), QStringLiteral("value")}), 1);
    EXPECT_EQ(m_errors.count(u'\n'), 1);
    EXPECT_TRUE(m_errors.startsWith(u"corvella: settings: could not save "));
}

} // namespace
} // namespace corvella

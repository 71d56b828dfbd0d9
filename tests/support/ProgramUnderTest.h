// The program itself, as a user would start it, in a home folder of its own that holds the settings
// and the imagery that a test lays there. It has neither a bus nor a display until a test gives it
// one, and ends with the object. Main thread only.
#pragma once

#include "support/ChildProcess.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>

namespace corvella::test {

class AlteredMachine;
class HeadlessSway;
class PrivateBus;
class XServer;

class ProgramUnderTest
{
public:
    // A home without settings and imagery.
    ProgramUnderTest();
    // Shows what it wrote when the test has failed.
    ~ProgramUnderTest();
    ProgramUnderTest(const ProgramUnderTest &) = delete;
    ProgramUnderTest &operator=(const ProgramUnderTest &) = delete;
    // The program's own file, as it was built.
    [[nodiscard]] static QString executable();

    // Starts another file from now on, as an installed copy has it.
    void setExecutable(const QString &path) { m_executable = path; }

    // Where it is to be seen. One of them, before it starts.
    void showOn(const XServer &server);
    void showOn(const HeadlessSway &compositor);
    void showOnPlatform(const QString &plugin); // one of Qt's own: "offscreen", "vnc:port=5901"
    void setSessionBus(const PrivateBus &bus);
    // Starts it there from now on; the machine must outlive the next start.
    void setMachine(const AlteredMachine &machine) { m_machine = &machine; }
    // Lets it take this machine's processor for a graphics one, whose driver it would not have.
    void drawByOpenGl(AlteredMachine &machine);
    // Where its messages go from the next start on; only captured ones can be asked for.
    void setStandardError(StandardError standardError) { m_standardError = standardError; }
    // A variable of its environment, absent for a null value.
    void setVariable(const QString &name, const QString &value);
    // One more option in a variable that lists some between colons; the last of a name counts.
    void addOption(const QString &variable, const QString &option);

    [[nodiscard]] const QProcessEnvironment &environment() const { return m_environment; }

    // Stores these settings beside those that are stored already, as the program or its user does.
    void configure(const QJsonObject &settings) const;
    // Has been through the settings window, stays off the network, plays all there is, cuts from
    // clip to clip: where tests of a wall start from.
    void configureWall() const;

    // Changes them from a shell, in the words of corvella-defaults; the program may run meanwhile.
    void changeSettings(const QStringList &arguments) const;

    // Lays a clip into the cache, under its product's id, at the end of the manifest. The number is
    // for seenPattern() to find.
    void addClip(const QString &id, int number, int frames = 150);
    // Gives the latest product a still of one colour, as high as it is wide.
    void addStill(const QColor &colour);
    // Lays any bytes there under that name. The product's file either way.
    QString addFile(const QString &id, const QByteArray &bytes);
    [[nodiscard]] QString clipPath(const QString &id) const;

    [[nodiscard]] QString home() const { return m_home.path(); }
    [[nodiscard]] QString cacheFolder() const;
    [[nodiscard]] QString settingsFile() const;
    // All that lies below the home, relative to it.
    [[nodiscard]] QStringList content() const;

    // Starts it; what still runs is ended first.
    void start(const QStringList &arguments = {});
    [[nodiscard]] ChildProcess &process() { return *m_process; }

    // The messages that it logged since it was started.
    [[nodiscard]] QStringList messages();
    // Waits until it has logged a message that many times.
    [[nodiscard]] bool logs(const QString &message, int times = 1);

private:
    void enterIntoManifest(const QString &id);
    void writeManifest() const;

    QTemporaryDir m_home;
    QProcessEnvironment m_environment;
    QString m_executable = executable();
    const AlteredMachine *m_machine = nullptr;
    StandardError m_standardError = StandardError::captured;
    QJsonArray m_manifest;
    std::unique_ptr<ChildProcess> m_process;
};

} // namespace corvella::test

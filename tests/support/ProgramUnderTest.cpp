#include "support/ProgramUnderTest.h"

#include "support/AlteredMachine.h"
#include "support/HeadlessSway.h"
#include "support/PrivateBus.h"
#include "support/TestPattern.h"
#include "support/XServer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <iostream>

namespace corvella::test {

namespace {

void writeFile(const QString &path, const QByteArray &bytes)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QJsonObject readObject(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

} // namespace

ProgramUnderTest::ProgramUnderTest()
    : m_environment(bareEnvironment())
{
    const struct
    {
        const char *variable;
        QString folder;
    } folders[] = {
        {"HOME", QString()},
        {"XDG_CONFIG_HOME", QStringLiteral(".config")},
        {"XDG_CACHE_HOME", QStringLiteral(".cache")},
        {"XDG_DATA_HOME", QStringLiteral(".local/share")},
        {"XDG_CONFIG_DIRS", QStringLiteral("etc/xdg")},
        {"XDG_RUNTIME_DIR", QStringLiteral("run")},
    };
    for (const auto &[variable, folder] : folders)
        m_environment.insert(QString::fromLatin1(variable), QDir(m_home.path()).filePath(folder));
    addOption(QStringLiteral("LSAN_OPTIONS"),
              QStringLiteral("suppressions=" CORVELLA_LIBRARY_LEAKS ":print_suppressions=0"));
    const QString runtime = m_environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    EXPECT_TRUE(QDir().mkpath(runtime));
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    // Without an address the library would start a bus of its own.
    for (const char *variable : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
        setVariable(QString::fromLatin1(variable),
                    QStringLiteral("unix:path=%1/no-bus").arg(runtime));
}

ProgramUnderTest::~ProgramUnderTest()
{
    if (m_process && testing::Test::HasFailure())
        std::cerr << "The program wrote:\n" << m_process->errors().toStdString() << std::endl;
}

QString ProgramUnderTest::executable()
{
    return QStringLiteral(CORVELLA_EXECUTABLE);
}

void ProgramUnderTest::showOn(const XServer &server)
{
    m_environment.insert(QStringLiteral("DISPLAY"), server.display());
}

void ProgramUnderTest::showOn(const HeadlessSway &compositor)
{
    m_environment.insert(QStringLiteral("WAYLAND_DISPLAY"), compositor.socket());
    // Whole stacks show the leak checker which library a leak comes from.
    addOption(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("fast_unwind_on_malloc=0"));
}

void ProgramUnderTest::drawByOpenGl(AlteredMachine &machine)
{
    machine.pretendGraphicsProcessor();
    setMachine(machine);
    setVariable(QStringLiteral("force_gl_renderer"), QStringLiteral("a graphics processor"));
}

void ProgramUnderTest::addOption(const QString &variable, const QString &option)
{
    const QString options = m_environment.value(variable);
    m_environment.insert(variable, options.isEmpty() ? option : options + u':' + option);
}

void ProgramUnderTest::showOnPlatform(const QString &plugin)
{
    m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), plugin);
}

void ProgramUnderTest::setSessionBus(const PrivateBus &bus)
{
    setVariable(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
}

void ProgramUnderTest::setVariable(const QString &name, const QString &value)
{
    if (value.isNull())
        m_environment.remove(name);
    else
        m_environment.insert(name, value);
}

void ProgramUnderTest::configure(const QJsonObject &settings) const
{
    QJsonObject all = readObject(settingsFile());
    for (auto setting = settings.begin(); setting != settings.end(); ++setting)
        all.insert(setting.key(), setting.value());
    writeFile(settingsFile(), QJsonDocument(all).toJson());
}

void ProgramUnderTest::configureWall() const
{
    configure({{QStringLiteral("mode"), QStringLiteral("wall")},
               {QStringLiteral("configured"), true},
               {QStringLiteral("offline"), true},
               {QStringLiteral("products"), QJsonArray{QStringLiteral("all")}},
               {QStringLiteral("transition"), QStringLiteral("blink")}});
}

void ProgramUnderTest::changeSettings(const QStringList &arguments) const
{
    run({QStringLiteral(CORVELLA_DEFAULTS), arguments, m_environment, home()});
}

void ProgramUnderTest::addClip(const QString &id, int number, int frames)
{
    EXPECT_TRUE(QDir().mkpath(cacheFolder()));
    writeTestPattern(clipPath(id), number, frames);
    enterIntoManifest(id);
}

QString ProgramUnderTest::addFile(const QString &id, const QByteArray &bytes)
{
    writeFile(clipPath(id), bytes);
    enterIntoManifest(id);
    return clipPath(id);
}

void ProgramUnderTest::enterIntoManifest(const QString &id)
{
    m_manifest << QJsonObject{{QStringLiteral("id"), id},
                              {QStringLiteral("label"), QStringLiteral("Product %1").arg(id)},
                              {QStringLiteral("video"), QFileInfo(clipPath(id)).fileName()},
                              {QStringLiteral("updated"), QStringLiteral("2025-03-01T09:05:00Z")}};
    writeManifest();
}

void ProgramUnderTest::writeManifest() const
{
    writeFile(QDir(cacheFolder()).filePath(QStringLiteral("manifest.json")),
              QJsonDocument(m_manifest).toJson());
}

void ProgramUnderTest::addStill(const QColor &colour)
{
    QJsonObject entry = m_manifest.last().toObject();
    const QString name = entry[u"id"].toString() + QStringLiteral(".png");
    QImage still(100, 100, QImage::Format_RGB32);
    still.fill(colour);
    EXPECT_TRUE(still.save(QDir(cacheFolder()).filePath(name)));
    entry[u"still"] = name;
    entry[u"stillUpdated"] = QStringLiteral("2025-03-01T09:00:00Z");
    m_manifest.replace(m_manifest.size() - 1, entry);
    writeManifest();
}

QString ProgramUnderTest::clipPath(const QString &id) const
{
    return QDir(cacheFolder()).filePath(id + QStringLiteral(".mp4"));
}

QString ProgramUnderTest::cacheFolder() const
{
    return QDir(home()).filePath(QStringLiteral(".cache/Corvella"));
}

QString ProgramUnderTest::settingsFile() const
{
    return QDir(home()).filePath(QStringLiteral(".config/space.tarrow.corvella.json"));
}

QStringList ProgramUnderTest::content() const
{
    QStringList content;
    QDirIterator all(home(), QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext())
        content << QDir(home()).relativeFilePath(all.next());
    content.sort();
    return content;
}

void ProgramUnderTest::start(const QStringList &arguments)
{
    m_process.reset();
    const Command command{m_executable, arguments, m_environment, home(), m_standardError};
    m_process = std::make_unique<ChildProcess>(m_machine ? m_machine->around(command) : command);
}

QStringList ProgramUnderTest::messages()
{
    const QString prefix = QStringLiteral("corvella: ");
    QStringList messages;
    for (const QString &line : m_process->errorLines()) {
        if (line.startsWith(prefix))
            messages << line.mid(prefix.size());
    }
    return messages;
}

bool ProgramUnderTest::logs(const QString &message, int times)
{
    return becomes([&] { return messages().count(message) >= times; });
}

} // namespace corvella::test

#include "support/HeadlessSway.h"

#include "support/OrdinaryUserCommand.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace corvella::test {

namespace {

QString nameOf(int output)
{
    return QStringLiteral("HEADLESS-%1").arg(output + 1);
}

} // namespace

HeadlessSway::HeadlessSway(const QList<QRect> &outputs, const QString &configuration)
{
    writeConfiguration(outputs, configuration);
    QProcessEnvironment environment = bareEnvironment();
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    start(configurationFile(), outputs.size(), environment);
}

HeadlessSway::HeadlessSway(const QString &configurationFile, int outputs,
                           const QProcessEnvironment &environment)
{
    handOverToOrdinaryUser(environment.value(QStringLiteral("HOME")));
    start(configurationFile, outputs, environment);
}

HeadlessSway::HeadlessSway(const HeadlessSway &outer, const QString &configuration)
{
    writeConfiguration({}, configuration);
    QProcessEnvironment environment = bareEnvironment();
    environment.insert(QStringLiteral("HOME"), m_folder.path());
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), outer.socket());
    start(configurationFile(), 0, environment);
}

QString HeadlessSway::configurationFile() const
{
    return m_folder.filePath(QStringLiteral("config"));
}

void HeadlessSway::writeConfiguration(const QList<QRect> &outputs, const QString &more)
{
    QFile file(configurationFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    QTextStream text(&file);
    text << "xwayland disable\n";
    for (int i = 0; i < outputs.size(); ++i) {
        const QRect &frame = outputs[i];
        text << "output " << nameOf(i) << " resolution " << frame.width() << 'x' << frame.height()
             << " position " << frame.x() << ' ' << frame.y() << '\n';
    }
    text << more;
}

void HeadlessSway::start(const QString &configurationFile, qsizetype outputs,
                         QProcessEnvironment environment)
{
    handOverToOrdinaryUser(m_folder.path());
    const bool isNested = environment.contains(QStringLiteral("WAYLAND_DISPLAY"));
    const struct
    {
        const char *name;
        QString value;
    } variables[] = {
        {"XDG_RUNTIME_DIR", m_folder.path()},
        {"WLR_BACKENDS", isNested ? QStringLiteral("wayland") : QStringLiteral("headless")},
        {"WLR_HEADLESS_OUTPUTS", QString::number(outputs)},
        {"WLR_LIBINPUT_NO_DEVICES", QStringLiteral("1")},
        {"WLR_RENDERER", QStringLiteral("pixman")},
    };
    for (const auto &variable : variables)
        environment.insert(QString::fromLatin1(variable.name), variable.value);

    m_compositor = std::make_unique<ChildProcess>(asOrdinaryUser(
        {QStringLiteral("sway"), {QStringLiteral("-c"), configurationFile}, environment, {}}));
    EXPECT_TRUE(becomes([this] { return findSocket(); }))
        << "sway does not start: " << m_compositor->errors().toStdString();
    const QString forEver = QStringLiteral("2000000000"); // milliseconds
    m_keyboard = std::make_unique<ChildProcess>(
        commandHere(QStringLiteral("wtype"), {QStringLiteral("-s"), forEver}));
}

bool HeadlessSway::findSocket()
{
    const QStringList names =
        QDir(m_folder.path()).entryList({QStringLiteral("wayland-?")}, QDir::System);
    // The compositor listens to the one before it makes the one for its commands.
    if (names.isEmpty() || commandSockets().isEmpty())
        return false;
    m_socket = m_folder.filePath(names.first());
    return true;
}

QStringList HeadlessSway::commandSockets() const
{
    return QDir(m_folder.path()).entryList({QStringLiteral("sway-ipc.*")}, QDir::System);
}

Command HeadlessSway::commandHere(const QString &program, const QStringList &arguments) const
{
    QProcessEnvironment environment = bareEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtimeFolder());
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), socket());
    return {program, arguments, environment, {}};
}

QByteArray HeadlessSway::runHere(const QString &program, const QStringList &arguments) const
{
    return run(commandHere(program, arguments));
}

void HeadlessSway::typeKey(const QString &key, const QStringList &modifiers) const
{
    // A key that comes together with its keyboard is lost.
    const QString aMoment = QStringLiteral("200");
    QStringList words{QStringLiteral("-s"), aMoment};
    for (const QString &modifier : modifiers)
        words << QStringLiteral("-M") << modifier;
    words << QStringLiteral("-k") << key;
    for (const QString &modifier : modifiers)
        words << QStringLiteral("-m") << modifier;
    runHere(QStringLiteral("wtype"), words << QStringLiteral("-s") << aMoment);
}

void HeadlessSway::hammer(const QString &key, const QString &modifier, int times) const
{
    QStringList words{QStringLiteral("-s"), QStringLiteral("200"), QStringLiteral("-M"), modifier};
    for (int i = 0; i < times; ++i)
        words << QStringLiteral("-k") << key << QStringLiteral("-s") << QStringLiteral("10");
    runHere(QStringLiteral("wtype"), words);
}

QImage HeadlessSway::picture(int output) const
{
    return QImage::fromData(runHere(QStringLiteral("grim"),
                                    {QStringLiteral("-o"), nameOf(output), QStringLiteral("-t"),
                                     QStringLiteral("ppm"), QStringLiteral("-")}));
}

Command HeadlessSway::commandToTell(const QStringList &words) const
{
    const QStringList control = commandSockets();
    EXPECT_EQ(control.size(), 1);
    return commandHere(QStringLiteral("swaymsg"),
                       QStringList{QStringLiteral("--socket"), m_folder.filePath(control.value(0))}
                           + words);
}

QByteArray HeadlessSway::tell(const QStringList &words) const
{
    return run(commandToTell(words));
}

Command HeadlessSway::commandForEvents(const QStringList &kinds) const
{
    return commandToTell({QStringLiteral("-m"), QStringLiteral("-t"), QStringLiteral("subscribe"),
                          u"[\"" + kinds.join(QStringLiteral("\",\"")) + u"\"]"});
}

void HeadlessSway::change(int output, QSize resolution, int scale) const
{
    const QString mode = QStringLiteral("%1x%2").arg(resolution.width()).arg(resolution.height());
    tell({QStringLiteral("--"), QStringLiteral("output"), nameOf(output), QStringLiteral("mode"),
          QStringLiteral("--custom"), mode, QStringLiteral("scale"), QString::number(scale)});
}

} // namespace corvella::test

#include "platform/pictures/RunningSwaybg.h"

#include <QDir>
#include <QFile>

namespace corvella {

namespace {

struct Output
{
    QString name;
    QString file;
    QString mode;
    QString colour;
};

SwayBackground backgroundOf(const Output &output)
{
    if (output.file.isEmpty())
        return output.colour.isEmpty()
            ? SwayBackground()
            : SwayBackground{output.colour, QStringLiteral("solid_color")};
    SwayBackground background{output.file, output.mode};
    if (!output.colour.isEmpty())
        background << output.colour;
    return background;
}

// Texts that end with a null byte each.
QStringList textsIn(const QString &file)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly))
        return {};
    QStringList texts;
    for (const QByteArray &text : source.readAll().split('\0'))
        texts << QFile::decodeName(text);
    return texts;
}

} // namespace

QMap<QString, SwayBackground> backgroundsIn(const QStringList &arguments)
{
    QList<Output> outputs;
    for (qsizetype i = 1; i + 1 < arguments.size(); i += 2) {
        const QString &option = arguments[i];
        const QString &value = arguments[i + 1];
        if (option == u"-o" || outputs.isEmpty())
            outputs << Output{QStringLiteral("*"), {}, QStringLiteral("stretch"), {}};
        if (option == u"-o")
            outputs.last().name = value;
        else if (option == u"-i")
            outputs.last().file = value;
        else if (option == u"-m")
            outputs.last().mode = value;
        else if (option == u"-c")
            outputs.last().colour = value;
    }
    QMap<QString, SwayBackground> backgrounds;
    for (const Output &output : outputs)
        backgrounds[output.name] = backgroundOf(output);
    return backgrounds;
}

QMap<QString, SwayBackground> backgroundsOf(const QString &swayAddress)
{
    const QDir processes(QStringLiteral("/proc"));
    const QStringList ids = processes.entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString &id : ids) {
        const QStringList arguments = textsIn(processes.filePath(id + QStringLiteral("/cmdline")));
        if (!arguments.value(0).endsWith(QStringLiteral("swaybg")))
            continue;
        // One that the user started is no concern of sway's; its own have a connection handed down.
        const QStringList environment =
            textsIn(processes.filePath(id + QStringLiteral("/environ")));
        if (environment.contains(QStringLiteral("SWAYSOCK=") + swayAddress)
            && !environment.filter(QStringLiteral("WAYLAND_SOCKET=")).isEmpty())
            return backgroundsIn(arguments);
    }
    return {};
}

} // namespace corvella

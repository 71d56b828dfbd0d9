#include "defaults/DefaultsCommand.h"

#include "platform/storage/IsoDate.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <array>
#include <cmath>

namespace corvella {

namespace {

constexpr QStringView kHelp = uR"(Usage: corvella-defaults read [KEY]
       corvella-defaults write KEY [TYPE] VALUE...
       corvella-defaults delete KEY

Reads and changes the settings of Corvella, also while it runs.

  read         prints all settings that are set as one JSON object
  read KEY     prints one: text and dates bare, anything else as JSON
  write        sets one; without a TYPE the value is text
  delete       removes one, so that its default applies again

Types:
  -string VALUE     text
  -bool VALUE       true, false, yes, no, 1 or 0
  -int VALUE        a whole number
  -float VALUE      a number
  -date VALUE       an ISO 8601 instant with its zone: 2026-01-01T09:05:00Z
  -array VALUE...   a list of text, empty without a VALUE

The settings are the file $XDG_CONFIG_HOME/space.tarrow.corvella.json (~/.config
where that is not set), and below it, for keys it lacks, the files of that name
in $XDG_CONFIG_DIRS (/etc/xdg), which read shows and write and delete leave alone.

Exit status: 0 done; 1 no such key, or the change or the answer could not be
written; 2 usage, or a value that is none of its type.
)";

struct Command
{
    UserDefaults &defaults;
    QTextStream &output;
    QTextStream &errors;
};

ExitStatus complain(const Command &command, ExitStatus status, const QString &line)
{
    command.errors << "corvella-defaults: " << line << '\n';
    return status;
}

ExitStatus usage(const Command &command, const QString &line)
{
    return complain(command, ExitStatus::usage, line + QStringLiteral("; see --help"));
}

ExitStatus absent(const Command &command, const QString &key)
{
    return complain(command, ExitStatus::failed, QStringLiteral("no setting \"%1\"").arg(key));
}

ExitStatus notThisType(const Command &command, const QString &value, const QString &type)
{
    return complain(command, ExitStatus::usage,
                    QStringLiteral("\"%1\" is not %2").arg(value, type));
}

// What went wrong has been logged by the store.
ExitStatus saved(bool isSaved)
{
    return isSaved ? ExitStatus::done : ExitStatus::failed;
}

// JSON on one line, whatever the value is; a document alone can only be an array or object.
QByteArray jsonText(const QJsonValue &value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

ExitStatus read(const Command &command, const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        command.output << QJsonDocument(command.defaults.values()).toJson();
        return ExitStatus::done;
    }
    if (arguments.size() > 1)
        return usage(command, QStringLiteral("read takes one key"));
    const QJsonValue value = command.defaults.value(arguments.first());
    if (value.isUndefined())
        return absent(command, arguments.first());
    command.output << (value.isString() ? value.toString() : QString::fromUtf8(jsonText(value)))
                   << '\n';
    return ExitStatus::done;
}

ExitStatus writeString(const Command &command, const QString &key, const QStringList &values)
{
    return saved(command.defaults.setString(key, values.first()));
}

ExitStatus writeBoolean(const Command &command, const QString &key, const QStringList &values)
{
    const QString value = values.first().toLower();
    if (value == u"true" || value == u"yes" || value == u"1")
        return saved(command.defaults.setBoolean(key, true));
    if (value == u"false" || value == u"no" || value == u"0")
        return saved(command.defaults.setBoolean(key, false));
    return notThisType(command, values.first(), QStringLiteral("true, false, yes, no, 1 or 0"));
}

ExitStatus writeInteger(const Command &command, const QString &key, const QStringList &values)
{
    bool isNumber = false;
    const qint64 value = values.first().toLongLong(&isNumber);
    if (!isNumber)
        return notThisType(command, values.first(), QStringLiteral("a whole number"));
    return saved(command.defaults.setInteger(key, value));
}

ExitStatus writeNumber(const Command &command, const QString &key, const QStringList &values)
{
    bool isNumber = false;
    const double value = values.first().toDouble(&isNumber);
    if (!isNumber || !std::isfinite(value))
        return notThisType(command, values.first(), QStringLiteral("a number"));
    return saved(command.defaults.setNumber(key, value));
}

ExitStatus writeDate(const Command &command, const QString &key, const QStringList &values)
{
    const std::optional<QDateTime> value = parseIsoDate(values.first());
    if (!value)
        return notThisType(command, values.first(),
                           QStringLiteral("an ISO 8601 instant with its zone"));
    return saved(command.defaults.setDate(key, *value));
}

ExitStatus writeArray(const Command &command, const QString &key, const QStringList &values)
{
    return saved(command.defaults.setStringList(key, values));
}

struct Type
{
    QStringView flag;
    bool isList;
    ExitStatus (*write)(const Command &command, const QString &key, const QStringList &values);
};

// The first one holds when no type is given.
constexpr std::array<Type, 6> kTypes{{
    {u"-string", false, writeString},
    {u"-bool", false, writeBoolean},
    {u"-int", false, writeInteger},
    {u"-float", false, writeNumber},
    {u"-date", false, writeDate},
    {u"-array", true, writeArray},
}};

ExitStatus write(const Command &command, QStringList arguments)
{
    if (arguments.isEmpty() || arguments.first().isEmpty())
        return usage(command, QStringLiteral("write needs a key"));
    const QString key = arguments.takeFirst();
    const auto flagged = std::find_if(kTypes.begin(), kTypes.end(), [&arguments](const Type &type) {
        return type.flag == arguments.value(0);
    });
    const bool hasFlag = flagged != kTypes.end();
    const Type &type = hasFlag ? *flagged : kTypes.front();
    const QStringList values = arguments.mid(hasFlag ? 1 : 0);
    if (!type.isList && values.size() != 1)
        return usage(command, QStringLiteral("write needs one value"));
    return type.write(command, key, values);
}

ExitStatus remove(const Command &command, const QStringList &arguments)
{
    if (arguments.size() != 1)
        return usage(command, QStringLiteral("delete takes one key"));
    if (!command.defaults.contains(arguments.first()))
        return absent(command, arguments.first());
    return saved(command.defaults.remove(arguments.first()));
}

ExitStatus carryOut(const Command &command, const QStringList &arguments)
{
    const QString verb = arguments.value(0);
    if (verb == u"read")
        return read(command, arguments.mid(1));
    if (verb == u"write")
        return write(command, arguments.mid(1));
    if (verb == u"delete")
        return remove(command, arguments.mid(1));
    if (verb != u"--help" && verb != u"-h")
        return usage(command,
                     verb.isEmpty() ? QStringLiteral("no command")
                                    : QStringLiteral("no command \"%1\"").arg(verb));
    command.output << kHelp;
    return ExitStatus::done;
}

} // namespace

ExitStatus runDefaultsCommand(const QStringList &arguments, UserDefaults &defaults,
                              QTextStream &output, QTextStream &errors)
{
    const Command command{defaults, output, errors};
    const ExitStatus status = carryOut(command, arguments);
    output.flush();
    if (output.status() != QTextStream::Ok)
        return complain(command, ExitStatus::failed,
                        QStringLiteral("the answer could not be written"));
    return status;
}

} // namespace corvella

#include "platform/session/LoginItem.h"

#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstdio>

namespace corvella {

namespace {

// Entries are a few hundred bytes, with translations a few thousand.
constexpr qint64 kLargestEntryBytes = 1 << 18;

QString entryIn(const QString &configFolder)
{
    return configFolder + QStringLiteral("/autostart/space.tarrow.corvella.desktop");
}

QString userEntry()
{
    return entryIn(StandardFolders::config());
}

bool isStarted(const BoundedRead &entry)
{
    const AutostartEntry::Conditions conditions = AutostartEntry::parse(entry.bytes);
    const QStringList desktops =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    const bool canRun = conditions.tryExec.isEmpty()
        || !QStandardPaths::findExecutable(conditions.tryExec).isEmpty();
    return conditions.isEntry && !conditions.hidden && conditions.enabled && canRun
        && AutostartEntry::isShownIn(conditions, desktops);
}

// The first entry of this name decides, whatever the ones behind it say.
bool isStartedFrom(const QStringList &configFolders)
{
    for (const QString &folder : configFolders) {
        const BoundedRead entry = readBounded(entryIn(folder), kLargestEntryBytes);
        if (entry.status != ReadStatus::missing)
            return isStarted(entry);
    }
    return false;
}

QString failed(const QString &path, const QString &reason)
{
    return path + QStringLiteral(": ") + reason;
}

} // namespace

LoginItem::LoginItem(QString executablePath)
    : m_executablePath(std::move(executablePath))
{
}

bool LoginItem::isEnabled() const
{
    return isStartedFrom(QStringList{StandardFolders::config()} + StandardFolders::machineConfig());
}

std::optional<QString> LoginItem::setEnabled(bool enabled) const
{
    if (enabled)
        return write(AutostartEntry::enabling(m_executablePath));
    // Not all sessions honour the entry's own off switch, so off is no entry at all; only a
    // machine-wide one, which the user cannot delete, has to be hidden.
    if (isStartedFrom(StandardFolders::machineConfig()))
        return write(AutostartEntry::hiding());
    return remove();
}

std::optional<QString> LoginItem::write(const QByteArray &entry) const
{
    const QString path = userEntry();
    const FileResult folder = StandardFolders::make(QFileInfo(path).path());
    if (!folder.isOk())
        return failed(path, folder.reason);
    const FileResult result = DurableFile::write(path, entry);
    if (!result.isOk())
        return failed(path, result.reason);
    QFile::setPermissions(
        path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    return std::nullopt;
}

std::optional<QString> LoginItem::remove() const
{
    const QString path = userEntry();
    if (std::remove(QFile::encodeName(path).constData()) == 0 || errno == ENOENT
        || errno == ENOTDIR)
        return std::nullopt;
    return failed(path, qt_error_string(errno));
}

QString LoginItem::stablePath(const QString &executablePath)
{
    const QFileInfo executable(executablePath);
    // PREFIX/BUILD/bin/corvella, started by PREFIX/bin/corvella or reached as
    // PREFIX/current/bin/corvella
    const QDir bin = executable.dir();
    const QString build = QFileInfo(bin.path()).path();
    const QFileInfo current(QFileInfo(build).path() + QStringLiteral("/current"));
    if (!current.isSymLink() || current.canonicalFilePath() != QFileInfo(build).canonicalFilePath())
        return executablePath;
    const QString name = u'/' + bin.dirName() + u'/' + executable.fileName();
    const QString launcher = current.path() + name;
    return QFileInfo(launcher).isExecutable() ? launcher : current.filePath() + name;
}

namespace AutostartEntry {

namespace {

// A value of type "string" in a desktop entry: the escapes that the key-file format itself knows.
QString escapedText(QString text)
{
    text.replace(u'\\', QStringLiteral("\\\\"));
    text.replace(u'\n', QStringLiteral("\\n"));
    text.replace(u'\t', QStringLiteral("\\t"));
    text.replace(u'\r', QStringLiteral("\\r"));
    if (text.startsWith(u' '))
        text.replace(0, 1, QStringLiteral("\\s"));
    return text;
}

QString unescapedText(QStringView text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const QChar escaped = text[++i];
        if (escaped == u's')
            result += u' ';
        else if (escaped == u'n')
            result += u'\n';
        else if (escaped == u't')
            result += u'\t';
        else if (escaped == u'r')
            result += u'\r';
        else
            result += escaped;
    }
    return result;
}

QStringList listOf(const QString &value)
{
    return value.split(u';', Qt::SkipEmptyParts);
}

void take(Conditions &conditions, QStringView key, const QString &value)
{
    if (key == u"Hidden")
        conditions.hidden = value == u"true";
    else if (key == u"X-GNOME-Autostart-enabled")
        conditions.enabled = value != u"false";
    else if (key == u"TryExec")
        conditions.tryExec = unescapedText(value);
    else if (key == u"OnlyShowIn")
        conditions.onlyShowIn = listOf(value);
    else if (key == u"NotShowIn")
        conditions.notShowIn = listOf(value);
}

} // namespace

QString execArgument(const QString &path)
{
    QString quoted;
    for (const QChar character : path) {
        if (QStringView(u"\"`$\\").contains(character))
            quoted += u'\\';
        quoted += character;
        if (character == u'%')
            quoted += u'%';
    }
    return u'"' + escapedText(quoted) + u'"';
}

QByteArray enabling(const QString &executablePath)
{
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Corvella\n"
                                         "Exec=")
        + execArgument(executablePath)
        + QStringLiteral(" --login-item\n"
                         "TryExec=")
        + escapedText(executablePath)
        + QStringLiteral("\n"
                         "Icon=space.tarrow.corvella\n"
                         "Terminal=false\n"
                         "X-GNOME-Autostart-enabled=true\n");
    return entry.toUtf8();
}

QByteArray hiding()
{
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Corvella\n"
           "Exec=true\n"
           "Hidden=true\n"
           "X-GNOME-Autostart-enabled=false\n";
}

Conditions parse(const QByteArray &entry)
{
    Conditions conditions;
    bool inGroup = false;
    for (const QByteArray &rawLine : entry.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.startsWith(u'['))
            inGroup = line == u"[Desktop Entry]";
        const qsizetype equals = line.indexOf(u'=');
        if (inGroup && equals > 0 && !line.startsWith(u'#'))
            take(conditions, QStringView(line).left(equals).trimmed(),
                 line.mid(equals + 1).trimmed());
        conditions.isEntry = conditions.isEntry || inGroup;
    }
    return conditions;
}

bool isShownIn(const Conditions &conditions, const QStringList &desktops)
{
    for (const QString &desktop : desktops) {
        if (conditions.onlyShowIn && conditions.onlyShowIn->contains(desktop))
            return true;
        if (conditions.notShowIn.contains(desktop))
            return false;
    }
    return !conditions.onlyShowIn;
}

} // namespace AutostartEntry

} // namespace corvella

// The program as an item that the desktop session starts at login: an XDG autostart entry of the
// user's,
// `$XDG_CONFIG_HOME/autostart/space.tarrow.corvella.desktop`
// (https://specifications.freedesktop.org/autostart-spec/latest/). Any thread; reads and writes the
// disk, keeps nothing in memory. Sessions without an autostart service (a bare window manager)
// never look at the entry.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace corvella {

class LoginItem
{
public:
    // The absolute path that is started at login. It should survive an update: see stablePath.
    explicit LoginItem(QString executablePath);

    // Whether this desktop would start the entry: the user's, or a machine-wide one that the user's
    // does not shadow.
    [[nodiscard]] bool isEnabled() const;

    // Registers or unregisters the program. None when that worked, else what went wrong, in words.
    [[nodiscard]] std::optional<QString> setEnabled(bool enabled) const;

    // An installed update lies in a folder of its own with a link "current" beside it that moves on
    // with the next one. For an executable inside the folder that "current" names, what starts the
    // builds there, or else the same file by way of that link; for any other, the path itself.
    [[nodiscard]] static QString stablePath(const QString &executablePath);

private:
    [[nodiscard]] std::optional<QString> write(const QByteArray &entry) const;
    [[nodiscard]] std::optional<QString> remove() const;

    QString m_executablePath;
};

// The pure rules of such an entry.
namespace AutostartEntry {

// The text of an entry that starts the executable at an absolute path.
[[nodiscard]] QByteArray enabling(const QString &executablePath);

// The text of an entry that only hides a machine-wide one of the same name.
[[nodiscard]] QByteArray hiding();

// The path as a quoted argument of the Exec key, escaped twice: for the command line's quoting,
// then as a text.
[[nodiscard]] QString execArgument(const QString &path);

// What an entry's text demands; the defaults are those of an entry that says nothing.
struct Conditions
{
    bool isEntry = false; // there is a [Desktop Entry] group at all
    bool hidden = false;
    bool enabled = true;
    QString tryExec;
    std::optional<QStringList> onlyShowIn;
    QStringList notShowIn;

    bool operator==(const Conditions &) const = default;
};

// Reads any bytes.
[[nodiscard]] Conditions parse(const QByteArray &entry);

// Whether the desktops, the most specific first (as $XDG_CURRENT_DESKTOP lists them), include an
// entry's.
[[nodiscard]] bool isShownIn(const Conditions &conditions, const QStringList &desktops);

} // namespace AutostartEntry

} // namespace corvella

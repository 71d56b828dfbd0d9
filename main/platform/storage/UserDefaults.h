// A domain's typed settings, shared with every other process of the user: the JSON object
// `$XDG_CONFIG_HOME/DOMAIN.json`, and below it, as defaults for keys it lacks, `DOMAIN.json` in
// each of $XDG_CONFIG_DIRS (a fleet of kiosks is set up there).
//
// Every getter looks at the disk, so an edit by hand or by another process shows at once; every
// setter changes its one key in the file under a lock that all processes honour (DOMAIN.json.lock),
// replaces the file whole and waits until it is on disk. Any thread. A JSON null counts as no
// value.
//
// Nothing here fails loudly. A user's file that is not a JSON object, and that nobody has written
// for five seconds, is set aside as "DOMAIN.json.unreadable-TIME" and logged; until then what was
// read before holds. A file that cannot be read gives no values of the user's and is never
// overwritten; a change that cannot be saved is logged and leaves the old file whole.
#pragma once

#include "platform/storage/DefaultsFile.h"

#include <QDateTime>
#include <QHash>
#include <QJsonValue>
#include <QStringList>

#include <array>

namespace corvella {

class UserDefaults
{
public:
    // Lets some time pass before a change is saved to a file that somebody may be in the middle of
    // writing. Called up to twenty times, until the file is whole or left alone; 50 ms each.
    using Pause = std::function<void()>;

    // `whenUnknown` holds instead of the user's values while these cannot be read, and is left in
    // the place of a file that was set aside; but for what the machine's files say.
    explicit UserDefaults(QString domain, QJsonObject whenUnknown = {}, Pause pause = briefPause,
                          DefaultsReader::Clock nowNs = DefaultsReader::systemClock);

    // The user's file, by the environment of this moment.
    [[nodiscard]] QString filePath() const;
    // Whether the user's file is missing or whole; false means that its values are unknown, not
    // absent. Unlike reading a value, asking never sets a damaged file aside.
    [[nodiscard]] bool isReadable() const;

    // The value in force, the user's before the machine's; undefined when there is none.
    [[nodiscard]] QJsonValue value(const QString &key) const;
    // All values in force.
    [[nodiscard]] QJsonObject values() const;
    [[nodiscard]] bool contains(const QString &key) const;
    // Over every file that values may come from, by the environment of this moment.
    [[nodiscard]] DefaultsWatch watch() const;

    // Typed looks at value(): none when it is absent or of another type. A wrongly typed value of
    // the user's still hides the machine's.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;
    // true and false, and the numbers 1 and 0.
    [[nodiscard]] std::optional<bool> boolean(const QString &key) const;
    // Always finite: JSON has no other numbers.
    [[nodiscard]] std::optional<double> number(const QString &key) const;
    // A number without its fraction, brought into the range of 64 bits.
    [[nodiscard]] std::optional<qint64> integer(const QString &key) const;
    // UTC; stored as the text of an instant with its zone (see parseIsoDate).
    [[nodiscard]] std::optional<QDateTime> date(const QString &key) const;
    // An array of text and nothing else.
    [[nodiscard]] std::optional<QStringList> stringList(const QString &key) const;

    // True when the value is on disk. A number that is not finite cannot be stored and removes the
    // key.
    bool setString(const QString &key, const QString &value);
    bool setBoolean(const QString &key, bool value);
    bool setNumber(const QString &key, double value);
    bool setInteger(const QString &key, qint64 value);
    bool setDate(const QString &key, const QDateTime &value);
    bool setStringList(const QString &key, const QStringList &value);
    // Removes the user's value; the machine's, if there is one, then shows again.
    bool remove(const QString &key);

    // Runs `changes`; what they set and remove on this thread is saved after them in one piece, for
    // the price of one change. Until then this thread alone sees it. True when it is on disk;
    // within another one, which then saves it, always.
    bool saveTogether(const std::function<void()> &changes);

private:
    using Changes = QHash<QString, QJsonValue>; // undefined: the key goes

    // Where the files are, and the environment that says so.
    struct Paths
    {
        std::array<QByteArray, 3> environment;
        QString user;
        QStringList machine; // the most important first
    };

    // A file that is of no use as it stands.
    struct Complaint
    {
        DefaultsState state = DefaultsState::missing;
        FileStamp stamp;
        bool operator==(const Complaint &) const = default;
    };

    static void briefPause();

    // What this thread has changed and not saved yet; null while it saves each change by itself.
    [[nodiscard]] Changes *gathered() const;
    bool change(const QString &key, const QJsonValue &value);
    bool save(const Changes &changes);
    [[nodiscard]] Paths paths() const;
    [[nodiscard]] QJsonObject userSettings() const;
    [[nodiscard]] QJsonObject unknownSettings() const;
    [[nodiscard]] QJsonObject machineSettings(const QString &path) const;
    [[nodiscard]] DefaultsContent read(const QString &path) const;
    [[nodiscard]] DefaultsContent readOrSetAside(const QString &path) const;
    [[nodiscard]] bool isKnown(const QString &path, const DefaultsContent &content) const;
    [[nodiscard]] std::optional<QJsonObject> settingsBy(const QString &path,
                                                        const DefaultsContent &content) const;

    QString m_domain;
    QJsonObject m_whenUnknown;
    Pause m_pause;
    DefaultsReader::Clock m_nowNs;
    mutable DefaultsReader m_reader;
    mutable std::mutex m_mutex;
    // Guarded by m_mutex: what was logged and has not changed since.
    mutable QHash<QString, Complaint> m_complaints;
    // Guarded by m_mutex: what was last known to be in each file, or not to be there.
    mutable QHash<QString, QJsonObject> m_known;
    // Guarded by m_mutex: where the files were at the last look. Settings are looked at many times
    // a second, and the environment changes once in a program's life, if ever.
    mutable std::optional<Paths> m_paths;
};

} // namespace corvella

#include "platform/storage/UserDefaults.h"

#include "log.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/FileLock.h"
#include "platform/storage/IsoDate.h"
#include "platform/storage/StandardFolders.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <thread>
#include <unistd.h>

namespace corvella {

namespace {

// Editors, shells and copies over a network empty a file before they write it again. So one that
// looks damaged is judged only when nobody has written it for a while.
constexpr qint64 kLeftAloneNs = 5'000'000'000;

// Meanwhile a change waits to be saved, but not for long: it may be the main thread's.
constexpr std::chrono::milliseconds kPauseBeforeSaving{50};
constexpr int kMostPauses = 20;

QString lockPath(const QString &path)
{
    return path + QStringLiteral(".lock");
}

// "PATH.unreadable-20260101T000000Z", with a number behind it when that second has had one already.
QString freeNameFor(const QString &path)
{
    const QString time =
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    const QString name = path + QStringLiteral(".unreadable-") + time;
    QString candidate = name;
    for (int number = 2; QFileInfo(candidate).isSymLink() || QFileInfo::exists(candidate); ++number)
        candidate = name + u'-' + QString::number(number);
    return candidate;
}

bool notSaved(const QString &path, const QString &reason)
{
    log(QStringLiteral("settings: could not save %1 (%2)").arg(path, reason));
    return false;
}

bool write(const QString &path, const QJsonObject &settings)
{
    const QByteArray bytes = serializeDefaults(settings);
    // A file that the next reader would refuse must not be written in the first place.
    if (bytes.size() > kLargestDefaultsBytes)
        return notSaved(path, qt_error_string(EFBIG));
    const FileResult result = DurableFile::write(path, bytes);
    return result.isOk() || notSaved(path, result.reason);
}

// Only one store at a time: whoever changes two in one breath pays for two.
struct Gathering
{
    const UserDefaults *store = nullptr;
    QHash<QString, QJsonValue> changes;
};
thread_local Gathering gathering;

QJsonObject changed(QJsonObject settings, const QHash<QString, QJsonValue> &changes)
{
    for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
        if (change.value().isUndefined())
            settings.remove(change.key());
        else
            settings.insert(change.key(), change.value());
    }
    return settings;
}

QJsonObject withoutNulls(QJsonObject settings)
{
    for (auto entry = settings.begin(); entry != settings.end();)
        entry = entry.value().isNull() ? settings.erase(entry) : std::next(entry);
    return settings;
}

} // namespace

UserDefaults::UserDefaults(QString domain, QJsonObject whenUnknown, Pause pause,
                           DefaultsReader::Clock nowNs)
    : m_domain(std::move(domain))
    , m_whenUnknown(std::move(whenUnknown))
    , m_pause(std::move(pause))
    , m_nowNs(std::move(nowNs))
{
}

void UserDefaults::briefPause()
{
    std::this_thread::sleep_for(kPauseBeforeSaving);
}

QString UserDefaults::filePath() const
{
    return paths().user;
}

UserDefaults::Paths UserDefaults::paths() const
{
    const std::array environment{qgetenv("HOME"), qgetenv("XDG_CONFIG_HOME"),
                                 qgetenv("XDG_CONFIG_DIRS")};
    const std::lock_guard guard(m_mutex);
    if (m_paths && m_paths->environment == environment)
        return *m_paths;
    const QString name = u'/' + m_domain + QStringLiteral(".json");
    Paths paths{
        .environment = environment, .user = StandardFolders::config() + name, .machine = {}};
    for (const QString &folder : StandardFolders::machineConfig())
        paths.machine << folder + name;
    m_paths = paths;
    return paths;
}

bool UserDefaults::isReadable() const
{
    const DefaultsState state = m_reader.read(filePath()).state;
    return state == DefaultsState::missing || state == DefaultsState::whole;
}

QJsonValue UserDefaults::value(const QString &key) const
{
    QJsonValue users = userSettings().value(key);
    if (!users.isUndefined() && !users.isNull())
        return users;
    for (const QString &path : paths().machine) {
        QJsonValue machines = machineSettings(path).value(key);
        if (!machines.isUndefined() && !machines.isNull())
            return machines;
    }
    return QJsonValue(QJsonValue::Undefined);
}

QJsonObject UserDefaults::values() const
{
    QJsonObject all = withoutNulls(userSettings());
    for (const QString &path : paths().machine) {
        const QJsonObject below = withoutNulls(machineSettings(path));
        for (auto entry = below.begin(); entry != below.end(); ++entry) {
            if (!all.contains(entry.key()))
                all.insert(entry.key(), entry.value());
        }
    }
    return all;
}

bool UserDefaults::contains(const QString &key) const
{
    return !value(key).isUndefined();
}

DefaultsWatch UserDefaults::watch() const
{
    const Paths paths = this->paths();
    return {m_reader, QStringList{paths.user} + paths.machine};
}

std::optional<QString> UserDefaults::string(const QString &key) const
{
    const QJsonValue stored = value(key);
    return stored.isString() ? std::optional(stored.toString()) : std::nullopt;
}

std::optional<bool> UserDefaults::boolean(const QString &key) const
{
    const QJsonValue stored = value(key);
    if (stored.isBool())
        return stored.toBool();
    if (stored == QJsonValue(1) || stored == QJsonValue(0))
        return stored == QJsonValue(1);
    return std::nullopt;
}

std::optional<double> UserDefaults::number(const QString &key) const
{
    const QJsonValue stored = value(key);
    return stored.isDouble() ? std::optional(stored.toDouble()) : std::nullopt;
}

std::optional<qint64> UserDefaults::integer(const QString &key) const
{
    const QJsonValue stored = value(key);
    if (!stored.isDouble())
        return std::nullopt;
    constexpr double kBeyond = 9223372036854775808.0; // two to the power of 63
    const double number = stored.toDouble();
    if (number >= kBeyond)
        return std::numeric_limits<qint64>::max();
    if (number < -kBeyond)
        return std::numeric_limits<qint64>::min();
    // A whole number keeps the digits that a double has no room for.
    return stored.toInteger(qint64(number));
}

std::optional<QDateTime> UserDefaults::date(const QString &key) const
{
    const std::optional<QString> text = string(key);
    return text ? parseIsoDate(*text) : std::nullopt;
}

std::optional<QStringList> UserDefaults::stringList(const QString &key) const
{
    const QJsonValue stored = value(key);
    const QJsonArray array = stored.toArray();
    const bool allText = std::all_of(array.begin(), array.end(),
                                     [](const QJsonValue &item) { return item.isString(); });
    if (!stored.isArray() || !allText)
        return std::nullopt;
    QStringList list;
    for (const auto &item : array)
        list << item.toString();
    return list;
}

bool UserDefaults::setString(const QString &key, const QString &value)
{
    return change(key, value);
}

bool UserDefaults::setBoolean(const QString &key, bool value)
{
    return change(key, value);
}

bool UserDefaults::setNumber(const QString &key, double value)
{
    return std::isfinite(value) ? change(key, value) : remove(key);
}

bool UserDefaults::setInteger(const QString &key, qint64 value)
{
    return change(key, value);
}

bool UserDefaults::setDate(const QString &key, const QDateTime &value)
{
    return change(key, isoDateText(value));
}

bool UserDefaults::setStringList(const QString &key, const QStringList &value)
{
    return change(key, QJsonArray::fromStringList(value));
}

bool UserDefaults::remove(const QString &key)
{
    return change(key, QJsonValue(QJsonValue::Undefined));
}

bool UserDefaults::saveTogether(const std::function<void()> &changes)
{
    if (gathering.store) {
        changes();
        return true;
    }
    gathering.store = this;
    changes();
    return save(std::exchange(gathering, {}).changes);
}

UserDefaults::Changes *UserDefaults::gathered() const
{
    return gathering.store == this ? &gathering.changes : nullptr;
}

bool UserDefaults::change(const QString &key, const QJsonValue &value)
{
    Changes *const together = gathered();
    if (!together)
        return save({{key, value}});
    together->insert(key, value);
    return true;
}

// All else stays as the file has it by now.
bool UserDefaults::save(const Changes &changes)
{
    const QString path = filePath();
    const FileResult folder = StandardFolders::make(QFileInfo(path).path());
    if (!folder.isOk())
        return notSaved(path, folder.reason);
    const std::optional<FileLock> lock = FileLock::acquire(lockPath(path));
    if (!lock)
        return notSaved(path, qt_error_string(errno));

    DefaultsContent before = readOrSetAside(path);
    for (int i = 0; before.state == DefaultsState::unfinished && i < kMostPauses; ++i) {
        m_pause();
        before = readOrSetAside(path);
    }
    if (before.state != DefaultsState::missing && before.state != DefaultsState::whole)
        return notSaved(path, before.reason);
    const QJsonObject after = changed(before.settings, changes);
    return after == before.settings || write(path, after);
}

QJsonObject UserDefaults::userSettings() const
{
    const QString path = filePath();
    DefaultsContent content = read(path);
    if (content.state == DefaultsState::damaged && !isKnown(path, content)) {
        const std::optional<FileLock> lock = FileLock::acquire(lockPath(path));
        content = lock ? readOrSetAside(path) : content;
    }
    const std::optional<QJsonObject> known = settingsBy(path, content);
    const QJsonObject settings = known ? *known : unknownSettings();
    const Changes *const together = gathered();
    return together ? changed(settings, *together) : settings;
}

QJsonObject UserDefaults::unknownSettings() const
{
    QJsonObject settings = m_whenUnknown;
    for (const QString &path : paths().machine) {
        for (const QString &key : machineSettings(path).keys())
            settings.remove(key);
    }
    return settings;
}

QJsonObject UserDefaults::machineSettings(const QString &path) const
{
    return settingsBy(path, read(path)).value_or(QJsonObject());
}

// A file from the future is nobody's work of this moment, but a server's clock may be ahead a bit.
DefaultsContent UserDefaults::read(const QString &path) const
{
    DefaultsContent content = m_reader.read(path);
    if (content.state == DefaultsState::damaged
        && std::abs(m_nowNs() - content.stamp.modifiedNs) < kLeftAloneNs) {
        content.state = DefaultsState::unfinished;
        content.reason = QStringLiteral("another program is writing it");
    }
    return content;
}

// The file's content; a damaged file is moved out of the way, and has what holds without it in its
// place. Call with the lock held.
DefaultsContent UserDefaults::readOrSetAside(const QString &path) const
{
    DefaultsContent content = read(path);
    if (content.state != DefaultsState::damaged)
        return content;
    const QJsonObject settings = unknownSettings();
    const QString name = freeNameFor(path);
    // Where something holds without the file, it takes the file's place in one step: the file, not
    // a symbolic link that points to it, has a second name by then, if the file system knows such.
    const bool isLinked = !settings.isEmpty()
        && ::linkat(AT_FDCWD, QFile::encodeName(path).constData(), AT_FDCWD,
                    QFile::encodeName(name).constData(), AT_SYMLINK_FOLLOW)
            == 0;
    QFile file(path);
    if (!isLinked && !file.rename(name)) {
        content.reason += QStringLiteral(" and cannot be set aside: ") + file.errorString();
        return content;
    }
    if (!settings.isEmpty() && !write(path, settings)) { // better ignored than forgotten
        if (isLinked)
            QFile::remove(name);
        else
            file.rename(path);
        content.stamp = stampOf(path); // a second name, too, changes that
        return content;
    }
    log(QStringLiteral("settings: set %1 aside as %2 (%3)")
            .arg(path, QFileInfo(name).fileName(), content.reason));
    return settings.isEmpty() ? DefaultsContent{} : m_reader.read(path);
}

bool UserDefaults::isKnown(const QString &path, const DefaultsContent &content) const
{
    const std::lock_guard guard(m_mutex);
    return m_complaints.value(path) == Complaint{content.state, content.stamp};
}

// What holds by a file with this content; none where nobody knows. Settings are read many times a
// second; what is wrong with a file is worth one line until it changes.
std::optional<QJsonObject> UserDefaults::settingsBy(const QString &path,
                                                    const DefaultsContent &content) const
{
    const Complaint complaint{content.state, content.stamp};
    const std::lock_guard guard(m_mutex);
    switch (content.state) {
    case DefaultsState::missing:
    case DefaultsState::whole:
        m_complaints.remove(path);
        m_known.insert(path, content.settings);
        return content.settings;
    case DefaultsState::unfinished:
        return m_known.contains(path) ? std::optional(m_known.value(path)) : std::nullopt;
    case DefaultsState::damaged:
    case DefaultsState::unreadable:
        break;
    }
    if (m_complaints.value(path) != complaint) {
        m_complaints.insert(path, complaint);
        log(QStringLiteral("settings: ignoring %1 (%2)").arg(path, content.reason));
    }
    return std::nullopt;
}

} // namespace corvella

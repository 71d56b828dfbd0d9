#include "platform/storage/DefaultsFile.h"

#include <QFile>
#include <QJsonDocument>

#include <chrono>

namespace corvella {

namespace {

DefaultsContent damaged(const BoundedRead &read, const QString &reason)
{
    return {.state = DefaultsState::damaged, .settings = {}, .stamp = read.stamp, .reason = reason};
}

DefaultsContent contentOf(const BoundedRead &read)
{
    switch (read.status) {
    case ReadStatus::missing:
        return {};
    case ReadStatus::failed:
        return {
            .state = DefaultsState::unreadable, .settings = {}, .stamp = {}, .reason = read.reason};
    case ReadStatus::tooLarge:
        return damaged(read, QStringLiteral("too large for settings"));
    case ReadStatus::ok:
        break;
    }
    const std::optional<QJsonObject> settings = parseDefaults(read.bytes);
    if (!settings)
        return damaged(read, QStringLiteral("not a JSON object"));
    return {
        .state = DefaultsState::whole, .settings = *settings, .stamp = read.stamp, .reason = {}};
}

} // namespace

std::optional<QJsonObject> parseDefaults(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

QByteArray serializeDefaults(const QJsonObject &settings)
{
    return QJsonDocument(settings).toJson(QJsonDocument::Indented);
}

DefaultsReader::DefaultsReader(Clock nowNs)
    : m_nowNs(std::move(nowNs))
{
}

qint64 DefaultsReader::systemClock()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

DefaultsContent DefaultsReader::read(const QString &path)
{
    const FileStamp stamp = stampOf(path);
    {
        const std::lock_guard guard(m_mutex);
        const auto known = m_settled.constFind(path);
        if (known != m_settled.constEnd() && known->stamp == stamp)
            return *known;
    }

    // Whether the stamp can be trusted is judged by the time before reading: a later change then
    // must show in it.
    const qint64 beforeNs = m_nowNs();
    DefaultsContent content = contentOf(readBounded(path, kLargestDefaultsBytes));
    // A disk that fails once, or no descriptor for a moment: defaults are not what the user chose.
    if (content.state == DefaultsState::unreadable)
        content = contentOf(readBounded(path, kLargestDefaultsBytes));
    const bool provable =
        content.state != DefaultsState::unreadable && content.stamp.wasSettledAt(beforeNs);
    const std::lock_guard guard(m_mutex);
    if (provable)
        m_settled.insert(path, content);
    else
        m_settled.remove(path);
    return content;
}

bool DefaultsReader::isSettled(const QString &path, const FileStamp &stamp)
{
    const std::lock_guard guard(m_mutex);
    const auto known = m_settled.constFind(path);
    return known != m_settled.constEnd() && known->stamp == stamp;
}

DefaultsWatch::DefaultsWatch(DefaultsReader &reader, const QStringList &paths)
    : m_reader(reader)
{
    for (const QString &path : paths)
        m_files.push_back({.path = path, .nativePath = QFile::encodeName(path), .stamp = {}});
}

bool DefaultsWatch::mayHaveChanged()
{
    bool mayHave = false;
    for (Watched &file : m_files) {
        const FileStamp stamp = stampOf(file.nativePath.constData());
        if (file.isSettled && stamp == file.stamp)
            continue;
        // What is read from now on is what is read here, or comes with another stamp.
        (void)m_reader.read(file.path);
        file.isSettled = m_reader.isSettled(file.path, stamp);
        file.stamp = stamp;
        mayHave = true;
    }
    return mayHave;
}

} // namespace corvella

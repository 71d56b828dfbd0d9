// One settings file: a JSON object on disk that people, tools and other processes may change at any
// time. Logs nothing and never writes; what to do about a damaged file is decided above.
#pragma once

#include "platform/storage/BoundedFile.h"

#include <QHash>
#include <QJsonObject>

#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace corvella {

// A settings file is a few KiB. It is read on the main thread, so one that grew past this is
// somebody's mistake and must not stall the walls.
inline constexpr qint64 kLargestDefaultsBytes = 1 << 20;

// The settings in a file's bytes; none when they are not one JSON object.
[[nodiscard]] std::optional<QJsonObject> parseDefaults(const QByteArray &bytes);

// The bytes of a settings file, laid out for people to edit.
[[nodiscard]] QByteArray serializeDefaults(const QJsonObject &settings);

enum class DefaultsState {
    missing,    // no file: no settings, and nothing in the way of writing them
    whole,      // a JSON object
    damaged,    // readable, but not a JSON object or far too large
    unfinished, // as damaged, but written so lately that it may be in the making
    unreadable, // there, but it cannot be read, so it must not be overwritten either
};

struct DefaultsContent
{
    DefaultsState state = DefaultsState::missing;
    QJsonObject settings; // empty unless whole
    FileStamp stamp;
    QString reason; // what is wrong with it; empty when missing or whole
};

// Reads settings files and parses each again only when it changed. Any thread.
class DefaultsReader
{
public:
    // Nanoseconds since 1970, by the clock that stamps files.
    using Clock = std::function<qint64()>;

    explicit DefaultsReader(Clock nowNs = systemClock);

    static qint64 systemClock();

    // The content at this moment: a change by anybody, finished before the call, is seen. Whether
    // what is damaged is unfinished is for the caller to say.
    [[nodiscard]] DefaultsContent read(const QString &path);

    // Whether read() gives what it gave last for as long as the file has this stamp.
    [[nodiscard]] bool isSettled(const QString &path, const FileStamp &stamp);

private:
    Clock m_nowNs;
    std::mutex m_mutex;
    // Guarded by m_mutex: only what its stamp proves unchanged.
    QHash<QString, DefaultsContent> m_settled;
};

// Tells whether files may have changed to who would read them several times a second, for the price
// of a look at each on the disk. One thread.
class DefaultsWatch
{
public:
    // `reader`, with which the files are read, outlives the watch.
    DefaultsWatch(DefaultsReader &reader, const QStringList &paths);

    // Whether what is read from now on may differ from what was read after the last call. True at
    // the first call, and for as long as nothing proves that it does not.
    [[nodiscard]] bool mayHaveChanged();

private:
    struct Watched
    {
        QString path;
        QByteArray nativePath;
        FileStamp stamp;        // at the last look
        bool isSettled = false; // what was read then holds for as long as the stamp stays
    };

    DefaultsReader &m_reader;
    std::vector<Watched> m_files;
};

} // namespace corvella

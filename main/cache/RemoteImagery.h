// The cache's only contact with the network: where imagery is asked for, and downloads that never
// go back to an older clip. Every call blocks until it is through or out of time and must not be
// made on the main thread. No call fails loudly; what a server did wrong is logged in a line, not
// again as long as it is the same.
#pragma once

#include "cache/Remote.h"
#include "platform/net/HttpSession.h"
#include "platform/storage/DurableFile.h"

#include <deque>
#include <future>

namespace corvella::Cache {

enum class Fetched {
    changed,   // a new file was stored
    unchanged, // the server has nothing newer, or offers something older than what is here
    failed,    // no usable answer
};

// The limits of one kind of download.
struct DownloadLimits
{
    std::chrono::milliseconds idle; // the longest silence
    std::chrono::milliseconds total;
    qint64 largest; // bytes
};

// An index of twelve products takes a few KiB. It is held and parsed in memory, and a stranger may
// send anything: this much is no burden.
inline constexpr qint64 kLargestDocument = qint64{16} << 20;
// A clip of 48 hours takes 10 to 40 MB, also in 4K well under 1 GiB. More is a mistake that must
// not fill the disk.
inline constexpr qint64 kLargestFile = qint64{4} << 30;

struct NetworkLimits
{
    DownloadLimits document{std::chrono::seconds(20), std::chrono::seconds(120), kLargestDocument};
    DownloadLimits file{std::chrono::seconds(60), std::chrono::seconds(600), kLargestFile};
};

// What is to be known of a new file besides, in a file of the same folder.
struct Note
{
    QString name;
    QByteArray text;
};

class RemoteImagery
{
public:
    // What is fetched goes into `folder`, which lies there already. The session must outlive this.
    RemoteImagery(QString folder, HttpSession &session, const NetworkLimits &limits = {});

    // Asks the origin instead of the imagery host. Both are bare host names, perhaps with a port.
    void setOnOrigin(bool onOrigin);
    // The imagery host that is set is a front for the origin and not the origin itself.
    [[nodiscard]] static bool hasFront();
    // No answer is awaited any more: the program ends.
    [[nodiscard]] bool isCancelled() const { return m_session.isCancelled(); }

    // The body of a remote path's document; none unless the server gives it with status 200.
    [[nodiscard]] std::optional<QByteArray> get(const QString &path);

    // Brings the file `name` of the folder up to date with the remote path, unless that is not
    // newer than what the file came from. Beside the file lie NAME.etag and NAME.src, the server's
    // tag and the remote path it came from; they are its whole memory, and deleting them makes the
    // next call download. A note takes its place together with a new file, when both are on the
    // disk. What cannot be stored leaves the old file and all that is known of it, with a log line.
    // Between the two steps a crash may leave a new file with the old note, which the next call
    // mends; never an old file with the new note, nor a file of which nothing is known.
    //
    // A changed file other than a document takes its place on another thread, a few at once: while
    // the disk is waited for the network is not idle. finish() waits for them.
    Fetched fetch(const QString &path, const QString &name,
                  const std::optional<Note> &note = std::nullopt);

    // Waits until all that was fetched lies in its place, on the disk. The names of what could not
    // be put there since the last time: fetch() called them changed too early.
    QStringList finish();

    struct ProductList
    {
        std::optional<QList<Remote>> list; // in the server's order; none: there is no usable index
        bool reached = false;              // the server answered, or was not asked
    };
    // The products on offer: by the index, kept as "index.json" in the folder; from an origin
    // without one, by their single records. `revalidate` false is content with the index at hand.
    [[nodiscard]] ProductList remoteProducts(bool revalidate);

    // When the index at hand was made; none when it does not say.
    [[nodiscard]] std::optional<QDateTime> indexGenerated() const;

private:
    [[nodiscard]] static QString url(const QString &host, const QString &path);
    [[nodiscard]] QString host() const;
    [[nodiscard]] QString file(const QString &name) const { return m_folder + u'/' + name; }
    [[nodiscard]] ProductIndex index() const;
    [[nodiscard]] QList<Remote> singleRecords();
    void complain(const QString &url, const QString &reason);
    void complain(const QString &url, const HttpAnswer &answer);

    QString m_folder;
    HttpSession &m_session;
    NetworkLimits m_limits;
    bool m_onOrigin = false;
    QString m_lastComplaint;

    // A file on its way into place.
    struct Filing
    {
        QString name;
        QString address; // it came from
        std::future<FileResult> result;
    };
    void finishOldest();
    void finishAll();
    QStringList m_notStored;
    std::deque<Filing> m_filings; // the oldest in front
};

// Reads a side file: a line of text. None when it is missing or no such thing.
[[nodiscard]] std::optional<QString> readSideFile(const QString &path);

} // namespace corvella::Cache

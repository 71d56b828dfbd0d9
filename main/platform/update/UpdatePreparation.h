// The part of an update that waits for the network and the disk: the feed is fetched and judged, a
// bundle is downloaded, verified, unpacked beside the running build and made to prove itself. For a
// thread that can wait; logs nothing.
#pragma once

#include "platform/net/HttpSession.h"
#include "platform/update/Installation.h"
#include "platform/update/UpdateChoice.h"
#include "platform/update/UpdateState.h"

#include <atomic>
#include <functional>

namespace corvella {

// Why there is no update, as far as a person has to be told.
enum class UpdateFault {
    none,
    notDue,      // an automatic check, and the last one was less than a day ago
    unreachable, // the feed or the bundle cannot be fetched; what is there of it is kept
    feedNotTrusted,
    feedOlder,
    feedExpired,
    clockWrong,
    bundleNotTrusted, // damaged, signed by somebody else, or not what the feed calls it
    noSpace,
    cannotWrite,
    doesNotRun, // the new build fails its own test on this machine
    busy,       // another process is at it
    superseded, // a newer build is installed and starts after us
    packageManager,
    loose,
    noKey, // this build trusts nobody with updates
    cancelled,
};

struct UpdateSetup
{
    Installation installation;
    PublicKey key;
    QString feedUrl;
    QStringList channels = {};      // beside the one for everybody
    QVersionNumber system;          // of the C library
    qint64 failingBuild = 0;        // that an automatic check passes over; 0: none
    std::function<QDateTime()> now; // any thread
};

class UpdatePreparation
{
public:
    struct Result
    {
        UpdateFault fault = UpdateFault::none;
        QString reason = {}; // for a log line; empty without a fault
    };
    struct Finding
    {
        Result result = {};
        std::optional<AppcastItem> item = {}; // none without a fault: nothing is newer
    };
    // The bytes that are there, and those that there will be.
    using Progress = std::function<void(qint64 done, qint64 total)>;

    explicit UpdatePreparation(UpdateSetup setup);

    // Fetches the feed and chooses. An automatic check only when one is due, or a download is to go
    // on, unless `atOnce`; where it finds something, it counts as one with prepare().
    [[nodiscard]] Finding find(CheckKind kind, bool atOnce);
    // Has that update lie beside the running build, whole and tried, for Installation::switchTo().
    [[nodiscard]] Result prepare(const AppcastItem &item, const Progress &progress);
    // Ends both soon, from any thread.
    void cancel();

private:
    [[nodiscard]] QString partOf(const AppcastItem &item) const;
    Result fetchFeed(QByteArray &bytes);
    Result takeWorkFolder(std::optional<FileLock> &lock) const;
    // The next automatic check is due in a day.
    Result countCheck() const;
    [[nodiscard]] bool isPublished(const AppcastItem &item) const;
    Result download(const AppcastItem &item, const FileDescriptor &part, const Progress &progress);
    Result unpackVerified(const AppcastItem &item, const FileDescriptor &part);
    [[nodiscard]] std::optional<QByteArray> wordsOf(const QString &path,
                                                    const QStringList &arguments) const;
    Result prove(const AppcastItem &item) const;
    Result unpackAndProve(const AppcastItem &item, const FileDescriptor &part);
    // What is there of downloads that broke off.
    [[nodiscard]] QStringList parts() const;
    void dropPartsBut(const QString &kept) const;

    const UpdateSetup m_setup;
    HttpSession m_session;
    std::atomic_bool m_cancelled = false;
};

} // namespace corvella

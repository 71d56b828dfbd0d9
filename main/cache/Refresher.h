// Brings the cache in line with what the imagery host offers: drops what no screen shows any more,
// downloads what is new, and lists in the manifest what is really there. Blocks while it downloads:
// not for the main thread of a running application; otherwise any thread. At most one pass at a
// time works on a folder, also among processes.
#pragma once

#include "cache/CacheFolder.h"
#include "cache/RemoteImagery.h"
#include "platform/storage/FileLock.h"

#include <functional>
#include <mutex>

namespace corvella::Cache {

class Refresher
{
public:
    // How many of the records on offer are through. Called on the thread of the pass.
    using Progress = std::function<void(int done, int total)>;
    using Clock = std::function<QDateTime()>; // UTC

    // The session must outlive the Refresher.
    Refresher(CacheFolder folder, HttpSession &session, Clock now,
              const NetworkLimits &limits = {});

    // The scheduled refresh: asks the server for news when that is due, else fills gaps. Gives way
    // to a pass that is under way.
    void refresh();

    // The refresh that a user asks for, of what the screens need or of everything. None when it is
    // through; or, when the last one was less than manualSpacing ago, the date from which on the
    // next is allowed, and nothing was done.
    std::optional<QDateTime> refreshNow(bool everything, const Progress &progress = {});

    // One pass. `check` asks the server about every product that is needed; otherwise only what is
    // missing is fetched. `everything` needs all products and drops none. `wait` lets a pass under
    // way end first; otherwise this one does not take place.
    void pass(bool check, bool everything, bool wait, const Progress &progress = {});

    // Lists the clips that are on disk, under the labels of the given products.
    void rewriteManifest(const std::optional<QList<Remote>> &remote);

private:
    struct Wanted
    {
        QStringList ids; // in catalogue order
        int dropped = 0; // products that were on disk and are needed no more
    };

    [[nodiscard]] std::optional<FileLock> lockFolder(bool wait, bool &busy) const;
    void runPass(bool check, bool everything, const Progress &progress);
    [[nodiscard]] bool isListed(const QStringList &ids) const;
    [[nodiscard]] Wanted dropUnwanted(bool everything);
    void forgetLostFiles();
    [[nodiscard]] std::optional<QList<Remote>> productList(bool check);
    [[nodiscard]] int update(const QList<Remote> &list, const QStringList &wanted, bool check,
                             const Progress &progress);
    [[nodiscard]] bool updateFile(const QStringList &paths, const QString &name,
                                  const QString &stampName, const QString &stamp);
    [[nodiscard]] std::optional<QString> readStamp(const QString &name) const;
    [[nodiscard]] std::optional<QJsonObject> manifestEntry(const QString &id,
                                                           const QString &catalogueLabel,
                                                           const std::optional<QString> &label,
                                                           const QJsonObject &previous) const;
    [[nodiscard]] QString file(const QString &name) const { return m_folder.path() + u'/' + name; }
    [[nodiscard]] bool has(const QString &name) const;

    CacheFolder m_folder;
    RemoteImagery m_remote;
    Clock m_now;
    std::mutex m_running;
};

} // namespace corvella::Cache

#include "cache/Refresher.h"

#include "cache/RefreshRules.h"
#include "log.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/FileLock.h"
#include "platform/storage/StandardFolders.h"
#include "settings/Products.h"
#include "settings/Settings.h"

#include <QFile>

#include <cerrno>
#include <thread>

namespace corvella::Cache {

namespace {

constexpr std::chrono::milliseconds kLookAgain{200}; // whether another process is through

QList<Product> imageryProducts()
{
    QList<Product> catalogue = products();
    catalogue.removeIf([](const Product &product) { return product.id == u"all"; });
    return catalogue;
}

QString clipName(const QString &id)
{
    return id + QStringLiteral(".mp4");
}

QString clipStampName(const QString &id)
{
    return id + QStringLiteral(".stamp");
}

QString stillName(const QString &id)
{
    return id + QStringLiteral(".png");
}

QString stillStampName(const QString &id)
{
    return id + QStringLiteral(".png.stamp");
}

QStringList sideNames(const QString &name)
{
    return {name + QStringLiteral(".etag"), name + QStringLiteral(".src")};
}

// The clip comes last: as long as it is there, an interrupted drop is done again.
QStringList allNames(const QString &id)
{
    return sideNames(clipName(id)) + sideNames(stillName(id))
        + QStringList{clipStampName(id), stillStampName(id), stillName(id), clipName(id)};
}

} // namespace

Refresher::Refresher(CacheFolder folder, HttpSession &session, Clock now,
                     const NetworkLimits &limits)
    : m_folder(std::move(folder))
    , m_remote(m_folder.path(), session, limits)
    , m_now(std::move(now))
{
}

bool Refresher::has(const QString &name) const
{
    return !isMissing(file(name));
}

void Refresher::refresh()
{
    const QDateTime now = m_now();
    const QDateTime last = Settings::lastCheck();
    const auto every = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double, std::ratio<60>>(Settings::refreshMinutes()));
    pass(isDue(last, every, now) || isFromAnotherTime(last, every, now), false, false);
}

std::optional<QDateTime> Refresher::refreshNow(bool everything, const Progress &progress)
{
    const QDateTime now = m_now();
    const QDateTime last = Settings::lastManual();
    if (!isDue(last, manualSpacing, now) && !isFromAnotherTime(last, manualSpacing, now))
        return last.addSecs(manualSpacing.count());
    Settings::setLastManual(now);
    pass(true, everything, true, progress);
    return std::nullopt;
}

void Refresher::pass(bool check, bool everything, bool wait, const Progress &progress)
{
    std::unique_lock running(m_running, std::defer_lock);
    if (wait)
        running.lock();
    bool busy = !running.owns_lock() && !running.try_lock();
    // Whoever clears the caches does not ask whether we run. A failure shows itself in the lock.
    (void)StandardFolders::make(m_folder.path());
    const std::optional<FileLock> lock = busy ? std::nullopt : lockFolder(wait, busy);
    if (busy) {
        log(QStringLiteral("a refresh is already running"));
        return;
    }
    runPass(check, everything, progress);
    m_remote.setOnOrigin(false);
}

// None where the lock cannot be had; `busy` then tells whether another process is at work.
std::optional<FileLock> Refresher::lockFolder(bool wait, bool &busy) const
{
    const QString path = file(QStringLiteral("refresh.lock"));
    std::optional<FileLock> lock = FileLock::acquire(path, std::chrono::milliseconds(0));
    const int error = lock ? lock->error() : errno;
    busy = !lock && error == EWOULDBLOCK;
    if (error != 0 && !busy)
        log(QStringLiteral("the cache cannot be locked (%1), refreshing it all the same")
                .arg(qt_error_string(error)));
    if (!busy || !wait)
        return lock;
    log(QStringLiteral("another process is refreshing the cache, waiting for it"));
    while (busy && !m_remote.isCancelled()) {
        std::this_thread::sleep_for(kLookAgain);
        lock = FileLock::acquire(path, std::chrono::milliseconds(0));
        busy = !lock && errno == EWOULDBLOCK;
    }
    return lock;
}

void Refresher::runPass(bool check, bool everything, const Progress &progress)
{
    DurableFile::removeAbandoned(m_folder.path());
    const Wanted wanted = dropUnwanted(everything);
    const bool isComplete = std::all_of(wanted.ids.cbegin(), wanted.ids.cend(),
                                        [this](const QString &id) { return has(clipName(id)); });
    if (!check && isComplete) {
        if (wanted.dropped > 0 || !isListed(wanted.ids))
            rewriteManifest(std::nullopt);
        return;
    }
    forgetLostFiles();
    const std::optional<QList<Remote>> list = productList(check);
    if (m_remote.isCancelled())
        return;
    if (!list) {
        log(QStringLiteral("no product list from the server; keeping the cache"));
        return;
    }
    const int moved = update(*list, wanted.ids, check, progress);
    if (m_remote.isCancelled()) {
        // What is on disk is whole, and the next start finds out what is missing.
        if (moved > 0)
            rewriteManifest(list);
        return;
    }
    if (check)
        Settings::setLastCheck(m_now());
    rewriteManifest(list);
    log(QStringLiteral("pass: %1, %2 clips moved, %3 products dropped")
            .arg(check ? QStringLiteral("checked") : QStringLiteral("filled missing"))
            .arg(moved)
            .arg(wanted.dropped));
}

// Whether the manifest names every clip that it could. A pass that was killed leaves one that does
// not.
bool Refresher::isListed(const QStringList &ids) const
{
    QSet<QString> listed;
    for (const QJsonObject &entry : m_folder.entries())
        listed << entry.value(QLatin1String("video")).toString();
    return std::all_of(ids.cbegin(), ids.cend(), [&](const QString &id) {
        return listed.contains(clipName(id)) || !readSideFile(file(clipStampName(id)));
    });
}

Refresher::Wanted Refresher::dropUnwanted(bool everything)
{
    // What is read in between is what was chosen only where it could be read before and after.
    const bool wereKnown = Settings::areProductsKnown();
    const std::optional<QSet<QString>> inUse =
        everything ? std::nullopt : Settings::productsInUse();
    const bool isOffline = Settings::offline();
    const bool mayDrop = wereKnown && Settings::areProductsKnown() && !isOffline;
    Wanted wanted;
    for (const Product &product : imageryProducts()) {
        if (!inUse || inUse->contains(product.id)) {
            wanted.ids << product.id;
        } else if (mayDrop && has(clipName(product.id))) {
            for (const QString &name : allNames(product.id))
                QFile::remove(file(name));
            ++wanted.dropped;
        }
    }
    return wanted;
}

// Somebody, or a crash, may have removed a file and left what is known of it: without the file
// that would keep it from being downloaded again. So would an index that is damaged.
void Refresher::forgetLostFiles()
{
    const QString index = QStringLiteral("index.json");
    const BoundedRead read = readBounded(file(index), kLargestDocument);
    if (read.status == ReadStatus::ok && !parseProductIndex(read.bytes).products)
        QFile::remove(file(index));
    QStringList names{index};
    for (const Product &product : imageryProducts())
        names << clipName(product.id) << stillName(product.id);
    for (const QString &name : names) {
        if (has(name))
            continue;
        for (const QString &side : sideNames(name))
            QFile::remove(file(side));
    }
}

std::optional<QList<Remote>> Refresher::productList(bool check)
{
    const RemoteImagery::ProductList offered = m_remote.remoteProducts(check);
    if (!RemoteImagery::hasFront() || m_remote.isCancelled())
        return offered.list;
    const std::optional<QDateTime> generated = check ? m_remote.indexGenerated() : std::nullopt;
    if (!shouldUseOrigin(offered.reached, generated, m_now()))
        return offered.list;
    log(QStringLiteral("imagery host %1; using the origin for this pass")
            .arg(offered.reached ? QStringLiteral("has stopped updating")
                                 : QStringLiteral("did not answer")));
    m_remote.setOnOrigin(true);
    return m_remote.remoteProducts(true).list;
}

int Refresher::update(const QList<Remote> &list, const QStringList &wanted, bool check,
                      const Progress &progress)
{
    const int total = static_cast<int>(list.size());
    // A stranger's list may name one product thousands of times: the last record counts.
    QHash<QString, int> places;
    for (int i = 0; i < total; ++i)
        places.insert(list[i].id, i);
    QSet<QString> moved;
    for (int i = 0; i < total && !m_remote.isCancelled(); ++i) {
        const Remote &offer = list[i];
        if (!wanted.contains(offer.id))
            continue;
        if (progress)
            progress(i, total);
        if (places.value(offer.id) != i)
            continue;
        const QString clip = clipName(offer.id);
        const QString still = stillName(offer.id);
        if ((check || !has(clip))
            && updateFile(offer.videos, clip, clipStampName(offer.id),
                          offer.through.value_or(offer.updated)))
            moved << clip;
        if (check || !has(still))
            (void)updateFile(offer.stills, still, stillStampName(offer.id), offer.updated);
    }
    for (const QString &name : m_remote.finish())
        moved.remove(name);
    if (progress && !m_remote.isCancelled())
        progress(total, total);
    return int(moved.size());
}

// Whether the file was replaced, by the first of the remote paths that gives a usable answer.
bool Refresher::updateFile(const QStringList &paths, const QString &name, const QString &stampName,
                           const QString &stamp)
{
    for (const QString &path : paths) {
        const Fetched fetched = m_remote.fetch(path, name, Note{stampName, stamp.toUtf8()});
        if (fetched != Fetched::failed)
            return fetched == Fetched::changed;
    }
    return false;
}

void Refresher::rewriteManifest(const std::optional<QList<Remote>> &remote)
{
    QHash<QString, QString> labels;
    for (const Remote &offer : remote.value_or(QList<Remote>()))
        labels.insert(offer.id, offer.label);
    QHash<QString, QJsonObject> previous;
    for (const QJsonObject &entry : m_folder.entries())
        previous.insert(entry.value(QLatin1String("id")).toString(), entry);

    QList<QJsonObject> entries;
    for (const Product &product : imageryProducts()) {
        const std::optional<QString> label =
            labels.contains(product.id) ? std::optional(labels.value(product.id)) : std::nullopt;
        if (const auto entry =
                manifestEntry(product.id, product.label, label, previous.value(product.id)))
            entries << *entry;
    }
    if (entries.isEmpty())
        log(QStringLiteral("nothing on disk to list; keeping the existing manifest"));
    else
        m_folder.write(entries);
}

std::optional<QString> Refresher::readStamp(const QString &name) const
{
    std::optional<QString> stamp = readSideFile(file(name));
    if (!stamp && has(name))
        log(QStringLiteral("the date in %1 cannot be read; the next refresh tries again")
                .arg(name));
    return stamp;
}

std::optional<QJsonObject> Refresher::manifestEntry(const QString &id,
                                                    const QString &catalogueLabel,
                                                    const std::optional<QString> &label,
                                                    const QJsonObject &previous) const
{
    if (!has(clipName(id)))
        return std::nullopt;
    std::optional<QString> updated = readStamp(clipStampName(id));
    const QJsonValue before = previous.value(QLatin1String("updated"));
    if (!updated && before.isString())
        updated = before.toString();
    if (!updated)
        return std::nullopt;

    QJsonObject entry{
        {QStringLiteral("id"), id},
        {QStringLiteral("label"),
         label.value_or(previous.value(QLatin1String("label")).toString(catalogueLabel))},
        {QStringLiteral("video"), clipName(id)},
        {QStringLiteral("updated"), *updated}};
    if (has(stillName(id))) {
        entry.insert(QStringLiteral("still"), stillName(id));
        entry.insert(QStringLiteral("stillUpdated"),
                     readStamp(stillStampName(id)).value_or(*updated));
    }
    return entry;
}

} // namespace corvella::Cache

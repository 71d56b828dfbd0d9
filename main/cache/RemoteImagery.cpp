#include "cache/RemoteImagery.h"

#include "cache/Address.h"
#include "cache/RefreshRules.h"
#include "log.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"
#include "settings/Hosts.h"
#include "settings/Products.h"
#include "settings/Settings.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace corvella::Cache {

namespace {

constexpr qint64 kLargestSideFile = 4096; // bytes; an entity tag or a remote path
// A journal takes the flushes of several files at once for little more than that of one.
constexpr size_t kMostFilings = 4;
constexpr int kOk = 200;
constexpr int kNotModified = 304;

const QString kSourceSuffix = QStringLiteral(".src");
const QString kTagSuffix = QStringLiteral(".etag");
const QString kIndexName = QStringLiteral("index.json");
const QString kIndexPath = QStringLiteral("manifest/index.json");

bool isDocument(const QString &path)
{
    return path.endsWith(u".json");
}

void writeSideFile(const QString &path, const QByteArray &text)
{
    // Lost or empty, it costs one download.
    (void)DurableFile::write(path, text, Flush::later);
}

// Gives two files that are on the disk their names. What a crash leaves between the two steps must
// be no lie: an old note is none about a new file, which is asked for again; a note alone is none.
FileResult putInPlace(PendingFile &file, const QString &target, PendingFile *note)
{
    const bool isNew = !QFileInfo::exists(target);
    if (note && isNew) {
        if (FileResult result = note->commit(Flush::later); !result.isOk())
            return result;
    }
    if (FileResult result = file.commit(Flush::later); !result.isOk())
        return result;
    return note && !isNew ? note->commit(Flush::later) : FileResult();
}

// The last steps of a download, on a thread of its own. All that needs room comes first.
FileResult store(const std::shared_ptr<PendingFile> &download, const QString &target,
                 const QString &path, const std::optional<QByteArray> &etag,
                 const std::optional<Note> &note)
{
    const QString folder = QFileInfo(target).path();
    std::unique_ptr<PendingFile> notes;
    FileResult result = download->settle();
    if (result.isOk() && note) {
        notes = std::make_unique<PendingFile>(folder + u'/' + note->name);
        (void)notes->append(note->text.constData(),
                            size_t(note->text.size())); // settle() repeats its failure
        result = notes->settle();
    }
    if (!result.isOk())
        return result;
    // From here to the last side file, nothing claims to know where the file came from.
    const QString source = target + kSourceSuffix;
    const QString tag = target + kTagSuffix;
    const std::optional<QString> oldSource = readSideFile(source);
    const std::optional<QString> oldTag = readSideFile(tag);
    QFile::remove(source);
    QFile::remove(tag);
    result = putInPlace(*download, target, notes.get());
    if (!result.isOk()) {
        if (oldTag)
            writeSideFile(tag, oldTag->toUtf8());
        if (oldSource)
            writeSideFile(source, oldSource->toUtf8());
        return result;
    }
    if (FileResult flushed = flushFolder(folder); !flushed.isOk())
        return flushed;
    if (etag)
        writeSideFile(tag, *etag);
    writeSideFile(source, path.toUtf8());
    return {};
}

} // namespace

std::optional<QString> readSideFile(const QString &path)
{
    const BoundedRead read = readBounded(path, kLargestSideFile);
    if (read.status != ReadStatus::ok || !QUtf8StringView(read.bytes).isValidUtf8())
        return std::nullopt;
    return QString::fromUtf8(read.bytes);
}

RemoteImagery::RemoteImagery(QString folder, HttpSession &session, const NetworkLimits &limits)
    : m_folder(std::move(folder))
    , m_session(session)
    , m_limits(limits)
{
}

bool RemoteImagery::hasFront()
{
    return Settings::imageryHost() != Hosts::origin();
}

QString RemoteImagery::host() const
{
    return m_onOrigin ? Hosts::origin() : Settings::imageryHost();
}

void RemoteImagery::complain(const QString &url, const QString &reason)
{
    if (m_session.isCancelled() || m_lastComplaint == reason)
        return; // nobody waits for it any more; or a host that is down, asked for one file more
    m_lastComplaint = reason;
    log(url + u": " + reason);
}

void RemoteImagery::complain(const QString &url, const HttpAnswer &answer)
{
    complain(url,
             answer.status == 0 ? answer.reason : QStringLiteral("status %1").arg(answer.status));
}

void RemoteImagery::setOnOrigin(bool onOrigin)
{
    m_onOrigin = onOrigin;
    m_lastComplaint.clear();
}

// Empty when the parts do not form an address.
QString RemoteImagery::url(const QString &host, const QString &path)
{
    const std::optional<QUrl> url = address(host, path);
    return url ? QString::fromLatin1(url->toEncoded()) : QString();
}

std::optional<QByteArray> RemoteImagery::get(const QString &path)
{
    const QString address = url(host(), path);
    if (address.isEmpty())
        return std::nullopt;
    QByteArray body;
    const HttpAnswer answer = m_session.get({.url = address,
                                             .compressed = true,
                                             .idle = m_limits.document.idle,
                                             .total = m_limits.document.total,
                                             .largestBody = m_limits.document.largest},
                                            [&body](const char *bytes, size_t count) {
                                                body.append(bytes, qsizetype(count));
                                                return true;
                                            });
    if (answer.status == kOk)
        return body;
    complain(address, answer);
    return std::nullopt;
}

Fetched RemoteImagery::fetch(const QString &path, const QString &name,
                             const std::optional<Note> &note)
{
    const QString target = file(name);
    const QString source = target + kSourceSuffix;
    const QString tag = target + kTagSuffix;
    if (std::any_of(m_filings.begin(), m_filings.end(),
                    [&name](const Filing &filing) { return filing.name == name; }))
        finishAll(); // asked for twice: what is known of it is being written
    if (!isNewer(path, readSideFile(source)))
        return Fetched::unchanged;
    const QString address = url(host(), path);
    if (address.isEmpty())
        return Fetched::failed;

    HttpRequest request{.url = address,
                        .compressed = isDocument(path),
                        .idle = m_limits.file.idle,
                        .total = m_limits.file.total,
                        .largestBody =
                            isDocument(path) ? m_limits.document.largest : m_limits.file.largest};
    if (const std::optional<QString> known = readSideFile(tag))
        request.ifNoneMatch = known->toUtf8();
    std::shared_ptr<PendingFile> download; // opened by the first byte: most answers have none
    FileResult writing;
    const HttpAnswer answer = m_session.get(request, [&](const char *bytes, size_t count) {
        if (!download)
            download = std::make_shared<PendingFile>(target);
        writing = download->append(bytes, count);
        return writing.isOk();
    });
    if (!writing.isOk()) {
        complain(address, QStringLiteral("not stored: ") + writing.reason);
        return Fetched::failed;
    }
    if (answer.status == kNotModified) {
        writeSideFile(source, path.toUtf8());
        return Fetched::unchanged;
    }
    if (answer.status != kOk) {
        complain(address, answer);
        return Fetched::failed;
    }

    if (!download)
        download = std::make_shared<PendingFile>(target); // an empty body
    if (m_filings.size() == kMostFilings)
        finishOldest();
    // Where there is no thread for it, finish() does it.
    constexpr auto kWherePossible = std::launch::async | std::launch::deferred;
    m_filings.push_back(
        {name, address,
         std::async(kWherePossible, store, download, target, path, answer.etag, note)});
    if (isDocument(path))
        finishAll();
    return Fetched::changed;
}

QStringList RemoteImagery::finish()
{
    finishAll();
    return std::exchange(m_notStored, {});
}

void RemoteImagery::finishAll()
{
    while (!m_filings.empty())
        finishOldest();
}

void RemoteImagery::finishOldest()
{
    Filing filing = std::move(m_filings.front());
    m_filings.pop_front();
    if (const FileResult result = filing.result.get(); !result.isOk()) {
        complain(filing.address, QStringLiteral("not stored: ") + result.reason);
        m_notStored << filing.name;
    }
}

RemoteImagery::ProductList RemoteImagery::remoteProducts(bool revalidate)
{
    const bool hasIndex = QFileInfo::exists(file(kIndexName));
    bool reached = true;
    if (revalidate || !hasIndex) {
        reached = fetch(kIndexPath, kIndexName) != Fetched::failed;
        const bool atOrigin = m_onOrigin || !hasFront();
        if (!reached && !hasIndex) {
            const QList<Remote> records = atOrigin ? singleRecords() : QList<Remote>();
            if (records.isEmpty())
                return {.list = std::nullopt, .reached = false};
            return {.list = records, .reached = true};
        }
    }
    return {.list = index().products, .reached = reached};
}

QList<Remote> RemoteImagery::singleRecords()
{
    QList<Remote> records;
    for (const Product &product : products()) {
        if (product.id == u"all")
            continue;
        const std::optional<QByteArray> body =
            get(QStringLiteral("manifest/") + product.id + QStringLiteral(".json"));
        const QJsonObject record = parseRemoteObject(body.value_or(QByteArray()));
        if (const std::optional<Remote> offer = remote(record))
            records << *offer;
    }
    return records;
}

ProductIndex RemoteImagery::index() const
{
    return parseProductIndex(readBounded(file(kIndexName), kLargestDocument).bytes);
}

std::optional<QDateTime> RemoteImagery::indexGenerated() const
{
    return index().generated;
}

} // namespace corvella::Cache

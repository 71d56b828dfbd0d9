#include "platform/update/UpdatePreparation.h"

#include "platform/storage/BoundedFile.h"
#include "platform/update/Bundle.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace corvella {

namespace {

using Result = UpdatePreparation::Result;
using namespace std::chrono_literals;

constexpr qint64 kLargestFeed = 1 << 20; // bytes
constexpr auto kLongestFeedTime = 60s;
constexpr auto kLongestDownload = 12h; // a slow line has the night
constexpr auto kLongestSelfTest = 60s; // it takes less than one
constexpr auto kCancelCheck = 100ms;
constexpr int kRangeNotSatisfiable = 416; // a status of HTTP
const QString kPartSuffix = QStringLiteral(".part");

Result fault(UpdateFault kind, const QString &reason)
{
    return {.fault = kind, .reason = reason};
}

bool isOk(const Result &result)
{
    return result.fault == UpdateFault::none;
}

Result fromFile(const FileResult &result)
{
    if (result.isOk())
        return {};
    const bool noSpace = result.status == FileStatus::noSpace;
    return fault(noSpace ? UpdateFault::noSpace : UpdateFault::cannotWrite, result.reason);
}

Result lastSystemError()
{
    return fromFile(FileResult::lastError());
}

Result fromVerdict(FeedVerdict verdict)
{
    switch (verdict) {
    case FeedVerdict::believed:
        return {};
    case FeedVerdict::notSigned:
        return fault(UpdateFault::feedNotTrusted,
                     QStringLiteral("the feed's signature is not ours"));
    case FeedVerdict::notAFeed:
        return fault(UpdateFault::feedNotTrusted, QStringLiteral("the feed cannot be read"));
    case FeedVerdict::replaced:
        return fault(UpdateFault::feedNotTrusted, QStringLiteral("two feeds have the same date"));
    case FeedVerdict::older:
        return fault(UpdateFault::feedOlder, QStringLiteral("the feed is older than the last one"));
    case FeedVerdict::expired:
        return fault(UpdateFault::feedExpired, QStringLiteral("the feed has expired"));
    case FeedVerdict::fromTheFuture:
        return fault(UpdateFault::clockWrong, QStringLiteral("the feed is from the future"));
    }
    return {};
}

Result fromUnpacking(const Unpacking &unpacking)
{
    switch (unpacking.status) {
    case Unpacking::Status::ok:
        return {};
    case Unpacking::Status::refused:
        return fault(UpdateFault::bundleNotTrusted,
                     QStringLiteral("the bundle holds what none has: ") + unpacking.reason);
    case Unpacking::Status::noSpace:
        return fault(UpdateFault::noSpace, unpacking.reason);
    case Unpacking::Status::failed:
        return fault(UpdateFault::cannotWrite, unpacking.reason);
    case Unpacking::Status::cancelled:
        return fault(UpdateFault::cancelled, unpacking.reason);
    }
    return {};
}

// A file's bytes, mapped while the object lives.
class Mapping
{
public:
    Mapping(const FileDescriptor &file, size_t size)
        : m_size(size)
        , m_bytes(::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0))
    {
    }
    ~Mapping()
    {
        if (isMapped())
            ::munmap(m_bytes, m_size);
    }
    Mapping(const Mapping &) = delete;
    Mapping &operator=(const Mapping &) = delete;

    [[nodiscard]] bool isMapped() const { return m_bytes != MAP_FAILED; }
    [[nodiscard]] std::span<const unsigned char> bytes() const
    {
        return {static_cast<const unsigned char *>(m_bytes), m_size};
    }

private:
    const size_t m_size;
    void *const m_bytes;
};

qint64 sizeOf(const FileDescriptor &file)
{
    struct stat status = {};
    return ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

QString signatureFile(const QString &folder)
{
    return folder + QStringLiteral("/.signature");
}

QByteArray textOf(const Signature &signature)
{
    return QByteArray(reinterpret_cast<const char *>(signature.data()), qsizetype(signature.size()))
        .toBase64();
}

} // namespace

UpdatePreparation::UpdatePreparation(UpdateSetup setup)
    : m_setup(std::move(setup))
{
}

void UpdatePreparation::cancel()
{
    m_cancelled = true;
    m_session.cancel();
}

// Named after what is to come into it: a bundle that is announced anew is another one.
QString UpdatePreparation::partOf(const AppcastItem &item) const
{
    const QByteArray digest =
        QCryptographicHash::hash(textOf(item.signature), QCryptographicHash::Sha256);
    return m_setup.installation.workFolder() + u'/' + QString::fromLatin1(digest.toHex().left(16))
        + kPartSuffix;
}

Result UpdatePreparation::takeWorkFolder(std::optional<FileLock> &lock) const
{
    if (!m_setup.installation.isCurrent())
        return fault(UpdateFault::superseded, QStringLiteral("another build is installed already"));
    if (Result made = fromFile(m_setup.installation.makeWorkFolder()); !isOk(made))
        return made;
    lock = m_setup.installation.lock();
    if (lock)
        return {};
    return errno == EWOULDBLOCK
        ? fault(UpdateFault::busy, QStringLiteral("another process is updating"))
        : lastSystemError();
}

Result UpdatePreparation::fetchFeed(QByteArray &bytes)
{
    const HttpAnswer answer = m_session.get({.url = m_setup.feedUrl,
                                             .compressed = true,
                                             .total = kLongestFeedTime,
                                             .largestBody = kLargestFeed},
                                            [&bytes](const char *part, size_t count) {
                                                bytes.append(part, qsizetype(count));
                                                return true;
                                            });
    if (m_cancelled)
        return fault(UpdateFault::cancelled, QStringLiteral("cancelled"));
    if (answer.status == 200)
        return {};
    const QString reason = answer.status == 0 ? answer.reason : QString::number(answer.status);
    return fault(UpdateFault::unreachable, m_setup.feedUrl + QStringLiteral(": ") + reason);
}

UpdatePreparation::Finding UpdatePreparation::find(CheckKind kind, bool atOnce)
{
    std::optional<FileLock> lock;
    if (Result taken = takeWorkFolder(lock); !isOk(taken))
        return {.result = taken};
    const QString folder = m_setup.installation.workFolder();
    UpdateState state = UpdateState::read(folder);
    const QDateTime now = m_setup.now();
    // A download that broke off does not wait for tomorrow.
    if (kind == CheckKind::automatic && !atOnce && !isCheckDue(state.lastCheck, now)
        && parts().isEmpty())
        return {.result =
                    fault(UpdateFault::notDue, QStringLiteral("checked less than a day ago"))};
    QByteArray bytes;
    if (Result fetched = fetchFeed(bytes); !isOk(fetched))
        return {.result = fetched};
    const FeedReading reading = readSignedFeed(bytes, m_setup.key, state.seen, now);
    if (Result judged = fromVerdict(reading.verdict); !isOk(judged))
        return {.result = judged};

    state.seen = reading.seen;
    if (state.phase < 0)
        state.phase = QRandomGenerator::system()->bounded(kPhases);
    const BuildIdentity &ours = *m_setup.installation.identity();
    const UpdateFacts facts{.runningBuild = ours.build,
                            .failedBuild = m_setup.installation.failedBuild(),
                            .machine = ours.machine,
                            .system = m_setup.system,
                            .channels = m_setup.channels,
                            .phase = state.phase,
                            .now = now};
    std::optional<AppcastItem> item = chooseUpdate(reading.feed.items, facts, kind);
    if (item && item->build == m_setup.failingBuild && kind == CheckKind::automatic)
        item.reset();
    // A download that is not gone on with would have the feed asked at each look.
    dropPartsBut(item ? partOf(*item) : QString());
    if (!item || kind == CheckKind::byHand)
        state.lastCheck = now.toUTC();
    // What is not remembered could be played back: it is not acted on either.
    if (Result kept = fromFile(state.write(folder)); !isOk(kept))
        return {.result = kept};
    return {.item = item};
}

Result UpdatePreparation::countCheck() const
{
    const QString folder = m_setup.installation.workFolder();
    UpdateState state = UpdateState::read(folder);
    if (!state.seen)
        return {}; // cannot be read for once: find() has written it, and it is to stay
    state.lastCheck = m_setup.now().toUTC();
    return fromFile(state.write(folder));
}

Result UpdatePreparation::prepare(const AppcastItem &item, const Progress &progress)
{
    std::optional<FileLock> lock;
    if (Result taken = takeWorkFolder(lock); !isOk(taken))
        return taken;
    if (isPublished(item)) {
        dropPartsBut({}); // a power cut may have brought it back
        return countCheck();
    }
    const QString path = partOf(item);
    dropPartsBut(path);
    const FileDescriptor part(::open(QFile::encodeName(path).constData(),
                                     O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!part.isOpen())
        return lastSystemError();
    // Where the power goes before the file is sure to be there, the check was none.
    Result result = fromFile(flushFolder(m_setup.installation.workFolder()));
    if (isOk(result))
        result = countCheck();
    if (isOk(result))
        result = download(item, part, progress);
    if (isOk(result))
        result = unpackAndProve(item, part);
    // Half a download is worth keeping, and a whole one of a program that has to end now. A disk
    // that is full needs the room.
    if (result.fault != UpdateFault::unreachable && result.fault != UpdateFault::cancelled)
        QFile::remove(path);
    return result;
}

// Published builds were verified and tried before they got their name.
bool UpdatePreparation::isPublished(const AppcastItem &item) const
{
    const QByteArray signature = textOf(item.signature);
    const QString file = signatureFile(m_setup.installation.folderOf(item.build));
    return readBounded(file, signature.size()).bytes == signature;
}

QStringList UpdatePreparation::parts() const
{
    const QString folder = m_setup.installation.workFolder();
    QStringList paths;
    for (const QString &name : QDir(folder).entryList({u'*' + kPartSuffix}, QDir::Files))
        paths << folder + u'/' + name;
    return paths;
}

void UpdatePreparation::dropPartsBut(const QString &kept) const
{
    for (const QString &part : parts()) {
        if (part != kept)
            QFile::remove(part);
    }
}

Result UpdatePreparation::download(const AppcastItem &item, const FileDescriptor &part,
                                   const Progress &progress)
{
    qint64 size = sizeOf(part);
    if (size > item.length && ::ftruncate(part.get(), 0) == 0)
        size = 0;
    if (size < 0 || ::lseek(part.get(), size, SEEK_SET) < 0)
        return lastSystemError();
    if (size == item.length) {
        progress(size, item.length);
        return {};
    }
    Result taken;
    const HttpAnswer answer = m_session.get(
        {.url = item.url, .total = kLongestDownload, .largestBody = kLargestBundle, .from = size},
        [&](const char *bytes, size_t count) {
            if (qint64(count) > item.length - size)
                taken = fault(UpdateFault::bundleNotTrusted,
                              item.url + QStringLiteral(": longer than the feed says"));
            else
                taken = fromFile(writeAll(part.get(), bytes, count));
            if (!isOk(taken))
                return false;
            size += qint64(count);
            progress(size, item.length);
            return true;
        });
    if (m_cancelled)
        return fault(UpdateFault::cancelled, QStringLiteral("cancelled"));
    if (!isOk(taken))
        return taken;
    // What is there of it is more than the server has: it is of another file.
    if (answer.status == kRangeNotSatisfiable)
        return fault(UpdateFault::bundleNotTrusted,
                     item.url + QStringLiteral(": shorter than what is there of it"));
    if (answer.status != 200 && answer.status != 206) {
        const QString reason = answer.status == 0 ? answer.reason : QString::number(answer.status);
        return fault(UpdateFault::unreachable, item.url + QStringLiteral(": ") + reason);
    }
    if (size != item.length)
        return fault(
            UpdateFault::bundleNotTrusted,
            QStringLiteral("%1: %2 bytes in place of %3").arg(item.url).arg(size).arg(item.length));
    return {};
}

// The very file that was verified is the one that is unpacked.
Result UpdatePreparation::unpackVerified(const AppcastItem &item, const FileDescriptor &part)
{
    {
        const Mapping mapping(part, size_t(item.length));
        if (!mapping.isMapped())
            return lastSystemError();
        if (sizeOf(part) != item.length || !m_setup.key.verifies(item.signature, mapping.bytes()))
            return fault(UpdateFault::bundleNotTrusted,
                         item.url + QStringLiteral(": its signature is not ours"));
    }
    const QString staging = m_setup.installation.stagingFolderOf(item.build);
    QDir(staging).removeRecursively();
    if (::mkdir(QFile::encodeName(staging).constData(), 0755) != 0)
        return lastSystemError();
    return fromUnpacking(unpackBundle(part, staging, m_cancelled));
}

// What a program says that runs to a good end.
std::optional<QByteArray> UpdatePreparation::wordsOf(const QString &path,
                                                     const QStringList &arguments) const
{
    QProcess program;
    program.setStandardInputFile(QProcess::nullDevice());
    program.setStandardErrorFile(QProcess::nullDevice());
    program.start(path, arguments);
    const QDeadlineTimer limit(kLongestSelfTest);
    while (program.state() != QProcess::NotRunning
           && !program.waitForFinished(std::chrono::milliseconds(kCancelCheck).count())) {
        if (m_cancelled || limit.hasExpired()) {
            program.kill();
            program.waitForFinished();
        }
    }
    if (program.error() == QProcess::FailedToStart || program.exitStatus() != QProcess::NormalExit
        || program.exitCode() != 0)
        return std::nullopt;
    return program.readAllStandardOutput();
}

// An old bundle has a signature as good as a new one's: what it says of itself must agree.
Result UpdatePreparation::prove(const AppcastItem &item) const
{
    const QString staging = m_setup.installation.stagingFolderOf(item.build);
    const BuildIdentity expected{.version = item.version,
                                 .build = item.build,
                                 .machine = m_setup.installation.identity()->machine};
    if (BuildIdentity::read(staging) != expected)
        return fault(UpdateFault::bundleNotTrusted,
                     QStringLiteral("the bundle is not the build that the feed calls it"));
    const std::optional<QByteArray> words =
        wordsOf(staging + QStringLiteral("/bin/corvella"), {QStringLiteral("--selftest")});
    std::optional<QString> failure;
    if (!words || words->isEmpty())
        failure = QStringLiteral("build %1 fails its own test").arg(item.build);
    // What reads clips has libraries of its own, without which walls stay dark. It ends at once
    // where nobody asks it for anything.
    const QDir libraries(staging + QStringLiteral("/lib/corvella"));
    for (const QString &reader : libraries.entryList({QStringLiteral("corvella-clips-*")})) {
        if (!failure && !wordsOf(libraries.filePath(reader), {}))
            failure = QStringLiteral("build %1 can read no clips here").arg(item.build);
    }
    if (m_cancelled)
        return fault(UpdateFault::cancelled, QStringLiteral("cancelled"));
    return failure ? fault(UpdateFault::doesNotRun, *failure) : Result();
}

Result UpdatePreparation::unpackAndProve(const AppcastItem &item, const FileDescriptor &part)
{
    const QString staging = m_setup.installation.stagingFolderOf(item.build);
    Result result = unpackVerified(item, part);
    if (isOk(result))
        result = prove(item);
    if (isOk(result))
        result = fromFile(DurableFile::write(signatureFile(staging), textOf(item.signature)));
    if (isOk(result))
        result = fromFile(m_setup.installation.publish(item.build));
    if (isOk(result))
        return result;
    QDir(staging).removeRecursively();
    return result;
}

} // namespace corvella

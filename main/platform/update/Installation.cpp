#include "platform/update/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace corvella {

namespace {

const QString kCurrent = QStringLiteral("current");
const QString kPrevious = QStringLiteral("previous");
const QString kStaging = QStringLiteral(".new-");
const QString kTrial = QStringLiteral("trial-");
const QString kFailed = QStringLiteral("failed-");
constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

// The number behind a prefix in a file's name; 0 for any other name.
qint64 buildIn(const QString &name, const QString &prefix = {})
{
    bool isNumber = false;
    const qint64 build =
        name.startsWith(prefix) ? name.mid(prefix.size()).toLongLong(&isNumber) : 0;
    return isNumber && prefix + QString::number(build) == name ? std::max<qint64>(build, 0) : 0;
}

bool isMarkedByPackageManager(const QString &folder)
{
    return QFile::exists(folder + QStringLiteral("/share/corvella/package-manager"))
        || folder == u"/usr" || folder.startsWith(u"/usr/lib/") || folder == u"/app";
}

// Others who can write to a folder could exchange what we have verified.
FileResult refuseForeign(const QString &folder)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(folder).constData(), &status) != 0)
        return FileResult::lastError();
    if (status.st_uid != ::geteuid() || (status.st_mode & kWritableByOthers) != 0)
        return {.status = FileStatus::failed,
                .reason = QStringLiteral("others can write to ") + folder};
    return {};
}

} // namespace

Installation::Installation(const QString &executable)
    : m_folder(QFileInfo(QFileInfo(executable).path()).path())
    , m_prefix(QFileInfo(m_folder).path())
{
    look();
    // A disk that fails once: a copy that is taken for a loose one learns of no update any more.
    if (m_kind == Kind::loose)
        look();
}

void Installation::look()
{
    m_identity = BuildIdentity::read(m_folder);
    const QFileInfo current(m_prefix + u'/' + kCurrent);
    if (isMarkedByPackageManager(m_folder))
        m_kind = Kind::packageManager;
    else if (m_identity && current.isSymLink()
             && buildIn(QFileInfo(m_folder).fileName()) == m_identity->build)
        m_kind = Kind::fromBundle;
}

QString Installation::folderOf(qint64 build) const
{
    return m_prefix + u'/' + QString::number(build);
}

QString Installation::stagingFolderOf(qint64 build) const
{
    return m_prefix + u'/' + kStaging + QString::number(build);
}

QString Installation::trialOf(qint64 build) const
{
    return workFolder() + u'/' + kTrial + QString::number(build);
}

bool Installation::isCurrent() const
{
    const QString target = QFile::symLinkTarget(m_prefix + u'/' + kCurrent);
    return QFileInfo(target).fileName() == QFileInfo(m_folder).fileName();
}

FileResult Installation::makeWorkFolder() const
{
    if (FileResult ours = refuseForeign(m_prefix); !ours.isOk())
        return ours;
    if (::mkdir(QFile::encodeName(workFolder()).constData(), 0700) != 0 && errno != EEXIST)
        return FileResult::lastError();
    if (FileResult ours = refuseForeign(workFolder()); !ours.isOk())
        return ours;
    // A look at the bits would miss a disk that is mounted read-only.
    if (::access(QFile::encodeName(m_prefix).constData(), W_OK) != 0)
        return FileResult::lastError();
    return {};
}

bool Installation::hasSuccessor() const
{
    const QStringList names = QDir(m_prefix).entryList(QDir::Dirs | QDir::NoSymLinks);
    const qint64 last = std::max(m_identity->build, failedBuild());
    return std::any_of(names.begin(), names.end(),
                       [last](const QString &name) { return buildIn(name) > last; });
}

FileResult Installation::publish(qint64 build) const
{
    QDir(folderOf(build)).removeRecursively();
    if (FileResult moved = renameTo(stagingFolderOf(build), folderOf(build)); !moved.isOk())
        return moved;
    return flushFolder(m_prefix);
}

FileResult Installation::link(const QString &name, qint64 build) const
{
    const QString temporary = m_prefix + u"/." + name + QStringLiteral(".tmp");
    const QByteArray target = QByteArray::number(build);
    ::unlink(QFile::encodeName(temporary).constData());
    if (::symlink(target.constData(), QFile::encodeName(temporary).constData()) != 0)
        return FileResult::lastError();
    return renameTo(temporary, m_prefix + u'/' + name);
}

// Whatever the last step is before the power goes, what "current" names is whole, and what is there
// beside it does no harm.
FileResult Installation::switchTo(qint64 build) const
{
    // Another process may have been quicker.
    if (!isCurrent() || !QFile::exists(folderOf(build) + QStringLiteral("/bin/corvella")))
        return {.status = FileStatus::failed,
                .reason = QStringLiteral("another build was installed")};
    if (FileResult trial = DurableFile::write(trialOf(build), {}); !trial.isOk())
        return trial;
    if (FileResult previous = link(kPrevious, m_identity->build); !previous.isOk())
        return previous;
    if (FileResult current = link(kCurrent, build); !current.isOk())
        return current;
    return flushFolder(m_prefix);
}

void Installation::endTrial() const
{
    QFile::remove(trialOf(m_identity->build));
}

std::optional<FileLock> Installation::lock() const
{
    std::optional<FileLock> lock =
        FileLock::acquire(workFolder() + QStringLiteral("/lock"), std::chrono::milliseconds(0));
    // A program that is not updated is better than one that two processes put together.
    if (const int error = lock ? lock->error() : 0; error != 0) {
        lock.reset();
        errno = error;
    }
    return lock;
}

void Installation::clearUp() const
{
    (void)flushFolder(workFolder()); // where it cannot be, a power cut may bring a trial back
    const std::optional<FileLock> alone = lock();
    if (!alone)
        return; // nothing was ever installed here, or another process is about to
    const QString link = m_prefix + u'/' + kPrevious;
    const qint64 previous = buildIn(QFileInfo(QFile::symLinkTarget(link)).fileName());
    const QDir prefix(m_prefix);
    for (const QString &name :
         prefix.entryList(QDir::Dirs | QDir::Hidden | QDir::NoSymLinks | QDir::NoDotAndDotDot)) {
        const qint64 build = buildIn(name);
        const bool isOld = build > 0 && build < m_identity->build && build != previous;
        const bool hasFailed = build > m_identity->build && build <= failedBuild();
        if (isOld || hasFailed || buildIn(name, kStaging) > 0)
            QDir(prefix.filePath(name)).removeRecursively();
    }
    refreshLauncher();
}

// What starts the builds lies outside of them, so that it starts also when they do not. It follows
// the build that has just proven itself.
void Installation::refreshLauncher() const
{
    const QString shipped = m_folder + QStringLiteral("/share/corvella/launcher");
    QFile ours(shipped);
    QFile installed(launcher());
    if (!ours.open(QIODevice::ReadOnly) || !installed.open(QIODevice::ReadOnly))
        return;
    const QByteArray text = ours.readAll();
    if (!text.isEmpty() && text != installed.readAll())
        (void)DurableFile::write(launcher(), text);
}

qint64 Installation::failedBuild() const
{
    qint64 highest = 0;
    for (const QString &name : QDir(workFolder()).entryList(QDir::Files))
        highest = std::max(highest, buildIn(name, kFailed));
    return highest;
}

} // namespace corvella

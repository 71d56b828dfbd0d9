#include "platform/update/Bundle.h"

#include <QFile>
#include <QSet>
#include <QStringList>

#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace corvella {

namespace {

using Status = Unpacking::Status;

constexpr qint64 kMostBytes = qint64{2} << 30; // unpacked; ten times what a build has
constexpr int kMostEntries = 2'000;
constexpr qsizetype kLongestName = 200;
constexpr qsizetype kDeepest = 8;  // folders
constexpr size_t kBlock = 1 << 16; // bytes to read at once
constexpr mode_t kSetIdAndSticky = S_ISUID | S_ISGID | S_ISVTX;

struct CloseArchive
{
    void operator()(archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, CloseArchive>;

Unpacking refused(const QString &why)
{
    return {.status = Status::refused, .reason = why};
}

Unpacking diskFailure()
{
    const FileResult result = FileResult::fromErrno(errno);
    const bool noSpace = result.status == FileStatus::noSpace;
    return {.status = noSpace ? Status::noSpace : Status::failed, .reason = result.reason};
}

bool isPlainCharacter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
        || QStringView(u"._+-@").contains(c);
}

bool isPlainName(const QString &part)
{
    return !part.isEmpty() && part != u"." && part != u".."
        && std::all_of(part.cbegin(), part.cend(), isPlainCharacter);
}

// The parts of an entry's name; empty for the archive's own root, none for a name that could lead
// anywhere else.
std::optional<QStringList> partsOf(const char *pathname)
{
    QString name = QString::fromUtf8(pathname ? pathname : "/");
    if (name.size() > kLongestName)
        return std::nullopt;
    if (name.endsWith(u'/') && name.size() > 1)
        name.chop(1);
    if (name == u".")
        return QStringList();
    if (name.startsWith(u"./"))
        name.remove(0, 2);
    const QStringList parts = name.split(u'/');
    if (parts.size() > kDeepest || !std::all_of(parts.cbegin(), parts.cend(), isPlainName))
        return std::nullopt;
    return parts;
}

class Unpacker
{
public:
    Unpacker(int root, const std::atomic_bool &cancelled)
        : m_root(root)
        , m_cancelled(cancelled)
    {
    }

    Unpacking unpack(archive *reader);

private:
    Unpacking take(archive *reader, archive_entry *entry);
    Unpacking makeFolders(const QStringList &parts);
    Unpacking writeFile(archive *reader, archive_entry *entry, const QString &path);
    Unpacking writeBlocks(archive *reader, int file, qint64 size) const;
    [[nodiscard]] Unpacking flushFolders() const;

    const int m_root;
    const std::atomic_bool &m_cancelled;
    QSet<QString> m_folders{QStringLiteral(".")}; // made so far, relative to the root
    qint64 m_bytes = 0;
};

Unpacking Unpacker::unpack(archive *reader)
{
    for (int entries = 0; entries <= kMostEntries; ++entries) {
        if (m_cancelled)
            return {.status = Status::cancelled, .reason = QStringLiteral("cancelled")};
        archive_entry *entry = nullptr;
        const int result = archive_read_next_header(reader, &entry);
        if (result == ARCHIVE_EOF)
            return entries > 0 ? flushFolders() : refused(QStringLiteral("it is empty"));
        if (result != ARCHIVE_OK)
            return refused(QString::fromUtf8(archive_error_string(reader)));
        if (Unpacking taken = take(reader, entry); taken.status != Status::ok)
            return taken;
    }
    return refused(QStringLiteral("more than %1 files").arg(kMostEntries));
}

Unpacking Unpacker::take(archive *reader, archive_entry *entry)
{
    const std::optional<QStringList> parts = partsOf(archive_entry_pathname(entry));
    const QString name = QString::fromUtf8(archive_entry_pathname(entry)).left(kLongestName);
    if (!parts)
        return refused(QStringLiteral("the name \"%1\"").arg(name));
    const mode_t type = archive_entry_filetype(entry);
    if ((type != AE_IFDIR && type != AE_IFREG) || archive_entry_hardlink(entry))
        return refused(QStringLiteral("\"%1\" is neither a file nor a folder").arg(name));
    if (archive_entry_perm(entry) & kSetIdAndSticky)
        return refused(QStringLiteral("\"%1\" would run with the rights of others").arg(name));
    if (type == AE_IFDIR)
        return makeFolders(*parts);
    if (parts->isEmpty())
        return refused(QStringLiteral("a file without a name"));
    const qint64 size = archive_entry_size(entry);
    if (size < 0 || size > kMostBytes - m_bytes)
        return refused(QStringLiteral("more than %1 bytes").arg(kMostBytes));
    m_bytes += size;
    if (Unpacking made = makeFolders(parts->first(parts->size() - 1)); made.status != Status::ok)
        return made;
    return writeFile(reader, entry, parts->join(u'/'));
}

// No component is a link: everything below the root was made here.
Unpacking Unpacker::makeFolders(const QStringList &parts)
{
    QString path;
    for (const QString &part : parts) {
        path += path.isEmpty() ? part : QString(u'/' + part);
        if (m_folders.contains(path))
            continue;
        if (::mkdirat(m_root, QFile::encodeName(path).constData(), 0755) != 0)
            return errno == EEXIST ? refused(QStringLiteral("a file and a folder of one name"))
                                   : diskFailure();
        m_folders << path;
    }
    return {};
}

Unpacking Unpacker::writeFile(archive *reader, archive_entry *entry, const QString &path)
{
    const mode_t mode = archive_entry_perm(entry) & S_IXUSR ? 0755 : 0644;
    const FileDescriptor file(::openat(m_root, QFile::encodeName(path).constData(),
                                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isOpen())
        return errno == EEXIST ? refused(QStringLiteral("two files of one name")) : diskFailure();
    const qint64 size = archive_entry_size(entry);
    if (Unpacking written = writeBlocks(reader, file.get(), size); written.status != Status::ok)
        return written;
    if (::ftruncate(file.get(), size) != 0 || ::fchmod(file.get(), mode) != 0
        || ::fsync(file.get()) != 0)
        return diskFailure();
    return {};
}

Unpacking Unpacker::writeBlocks(archive *reader, int file, qint64 size) const
{
    while (!m_cancelled) {
        const void *bytes = nullptr;
        size_t count = 0;
        la_int64_t offset = 0;
        const int result = archive_read_data_block(reader, &bytes, &count, &offset);
        if (result == ARCHIVE_EOF)
            return {};
        if (result != ARCHIVE_OK)
            return refused(QString::fromUtf8(archive_error_string(reader)));
        if (offset < 0 || offset > size || qint64(count) > size - offset)
            return refused(QStringLiteral("a file is longer than it says"));
        const char *from = static_cast<const char *>(bytes);
        while (count > 0) {
            const ssize_t written = ::pwrite(file, from, count, offset);
            if (written < 0 && errno != EINTR)
                return diskFailure();
            const auto done = size_t(std::max<ssize_t>(written, 0));
            from += done;
            count -= done;
            offset += la_int64_t(done);
        }
    }
    return {.status = Status::cancelled, .reason = QStringLiteral("cancelled")};
}

Unpacking Unpacker::flushFolders() const
{
    for (const QString &path : std::as_const(m_folders)) {
        const FileDescriptor folder(::openat(m_root, QFile::encodeName(path).constData(),
                                             O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder.isOpen() || ::fsync(folder.get()) != 0)
            return diskFailure();
    }
    return {};
}

} // namespace

Unpacking unpackBundle(const FileDescriptor &bundle, const QString &folder,
                       const std::atomic_bool &cancelled)
{
    const FileDescriptor root(
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root.isOpen() || ::lseek(bundle.get(), 0, SEEK_SET) != 0)
        return diskFailure();
    const Reader reader(archive_read_new());
    if (!reader)
        return {.status = Status::failed, .reason = QStringLiteral("out of memory")};
    archive_read_support_format_tar(reader.get());
    archive_read_support_filter_gzip(reader.get());
    if (archive_read_open_fd(reader.get(), bundle.get(), kBlock) != ARCHIVE_OK)
        return refused(QString::fromUtf8(archive_error_string(reader.get())));
    return Unpacker(root.get(), cancelled).unpack(reader.get());
}

} // namespace corvella

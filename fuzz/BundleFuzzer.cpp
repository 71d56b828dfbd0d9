// Bundles of any content: whatever is in one, nothing of it appears outside of its folder, and what
// is inside is plain files and folders. Also without gzip around it, which nothing that is changed
// at random would get through.
#include "platform/update/Bundle.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <numeric>

namespace {

// The parts of a tar's header, in bytes.
constexpr qsizetype kHeader = 512;
constexpr qsizetype kSizeAt = 124;
constexpr qsizetype kSizeDigits = 11;
constexpr qsizetype kChecksumAt = 148;
constexpr qsizetype kChecksumLength = 8;

// As whoever means harm would: else a header that has been changed is not looked at.
void setChecksums(QByteArray &tar)
{
    for (qsizetype at = 0; at + kHeader <= tar.size();) {
        char *const header = tar.data() + at;
        std::fill_n(header + kChecksumAt, kChecksumLength, ' ');
        const unsigned sum =
            std::accumulate(header, header + kHeader, 0U, [](unsigned before, char c) {
                return before + static_cast<unsigned char>(c);
            });
        // A block of zeros ends the archive, and is to stay one.
        if (sum == kChecksumLength * unsigned{' '}) {
            std::fill_n(header + kChecksumAt, kChecksumLength, '\0');
            at += kHeader;
            continue;
        }
        std::snprintf(header + kChecksumAt, kChecksumLength, "%06o", sum);
        bool isOctal = false;
        const qint64 size = QByteArray(header + kSizeAt, kSizeDigits).toLongLong(&isOctal, 8);
        if (!isOctal || size < 0 || size > tar.size())
            return;
        at += kHeader + (size + kHeader - 1) / kHeader * kHeader;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    const QTemporaryDir scratch;
    const QString folder = scratch.filePath(QStringLiteral("folder"));
    QFile bundle(scratch.filePath(QStringLiteral("bundle")));
    if (!QDir().mkdir(folder) || !bundle.open(QIODevice::WriteOnly))
        return 0;
    QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (!bytes.startsWith("\x1f\x8b"))
        setChecksums(bytes);
    bundle.write(bytes);
    bundle.close();
    const std::atomic_bool cancelled = false;
    const FileDescriptor file(
        ::open(QFile::encodeName(bundle.fileName()).constData(), O_RDONLY | O_CLOEXEC));
    (void)unpackBundle(file, folder, cancelled);
    constexpr auto kAll = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    if (QDir(scratch.path()).entryList(kAll).size() != 2)
        std::abort();
    QDirIterator entries(folder, kAll, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        const QFileInfo info = entries.fileInfo();
        if (info.isSymLink() || (!info.isFile() && !info.isDir()))
            std::abort();
    }
    return 0;
}

// Bundles of any content: whatever is in one, nothing of it appears outside of its folder, and what
// is inside is plain files and folders.
#include "platform/update/Bundle.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <fcntl.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace corvella;
    const QTemporaryDir scratch;
    const QString folder = scratch.filePath(QStringLiteral("folder"));
    QFile bundle(scratch.filePath(QStringLiteral("bundle")));
    if (!QDir().mkdir(folder) || !bundle.open(QIODevice::WriteOnly))
        return 0;
    bundle.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
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

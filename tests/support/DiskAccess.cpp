#include "support/DiskAccess.h"

#include <QFile>

#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>

namespace {

struct Watch
{
    std::mutex mutex;
    // Guarded by the mutex.
    QByteArray folder; // empty while nobody watches
    std::thread::id mainThread;
    QStringList byMainThread;
    qsizetype byOthers = 0;
};

Watch &watch()
{
    static Watch watch;
    return watch;
}

void note(const char *path)
{
    Watch &all = watch();
    const std::lock_guard guard(all.mutex);
    if (all.folder.isEmpty() || !path
        || std::strncmp(path, all.folder.constData(), static_cast<size_t>(all.folder.size())) != 0)
        return;
    if (std::this_thread::get_id() == all.mainThread)
        all.byMainThread << QFile::decodeName(path);
    else
        ++all.byOthers;
}

template <typename Function> Function original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace corvella::test {

DiskAccess::DiskAccess(const QString &folder)
{
    Watch &all = watch();
    const std::lock_guard guard(all.mutex);
    all.folder = QFile::encodeName(folder);
    all.mainThread = std::this_thread::get_id();
    all.byMainThread.clear();
    all.byOthers = 0;
}

DiskAccess::~DiskAccess()
{
    Watch &all = watch();
    const std::lock_guard guard(all.mutex);
    all.folder.clear();
}

QStringList DiskAccess::byMainThread() const
{
    Watch &all = watch();
    const std::lock_guard guard(all.mutex);
    return all.byMainThread;
}

qsizetype DiskAccess::countByOthers() const
{
    Watch &all = watch();
    const std::lock_guard guard(all.mutex);
    return all.byOthers;
}

} // namespace corvella::test

// The C library's own, replaced by linking this file.

#define CORVELLA_OPEN(name)                                                                        \
    extern "C" int name(const char *path, int flags, ...)                                          \
    {                                                                                              \
        static const auto next = original<int (*)(const char *, int, ...)>(#name);                 \
        note(path);                                                                                \
        mode_t mode = 0;                                                                           \
        if (flags & O_CREAT || (flags & O_TMPFILE) == O_TMPFILE) {                                 \
            va_list more;                                                                          \
            va_start(more, flags);                                                                 \
            mode = va_arg(more, mode_t);                                                           \
            va_end(more);                                                                          \
        }                                                                                          \
        return next(path, flags, mode);                                                            \
    }
CORVELLA_OPEN(open)
CORVELLA_OPEN(open64)

extern "C" DIR *opendir(const char *path)
{
    static const auto next = original<DIR *(*)(const char *)>("opendir");
    note(path);
    return next(path);
}

extern "C" int statx(int folder, const char *path, int flags, unsigned mask, struct statx *result)
{
    static const auto next =
        original<int (*)(int, const char *, int, unsigned, struct statx *)>("statx");
    note(path);
    return next(folder, path, flags, mask, result);
}

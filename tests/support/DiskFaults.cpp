// Preloaded into a program: lets its disk or its power fail at a chosen moment. Stands between the
// program and the C library; only files below a folder count. All by environment variables:
//   DISK_FAULTS_FOLDER   the folder
//   DISK_FAULTS_KILL_AT  the call that changes the disk (from 1) at which the power goes: a write
//                        gets half of its bytes out first, files that were not flushed lose their
//                        content, and the program is killed
//   DISK_FAULTS_AT_END   the power goes as soon as the program has ended
//   DISK_FAULTS_NO_NAMES the power takes along what was made, renamed, linked and removed in
//   folders
//                        that were not flushed since, too; else all of it is kept
//   DISK_FAULTS_POWER    the power goes at a moment that a test chooses meanwhile: a file of its
//                        that holds the number of calls (DiskFaultsPower) that are left, of
//                        whichever process; with the process its group is killed, and half of the
//                        time it takes such names along
//   DISK_FAULTS_ROOM     bytes that may be written before the disk is full
//   DISK_FAULTS_NO_LOCKS the file system knows none
//   DISK_FAULTS_REPORT   a file to leave the number of calls and of bytes in at the end
// One call at a time, whichever thread it comes from.
#include "support/DiskFaultsPower.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace {

using corvella::test::DiskFaultsPower;

const char *folder()
{
    if (!environ)
        return nullptr; // a sanitizer, before all else
    static const char *const folder = std::getenv("DISK_FAULTS_FOLDER");
    return folder;
}

long number(const char *name, long fallback)
{
    const char *text = std::getenv(name);
    return text ? std::atol(text) : fallback;
}

bool isBelow(const char *path)
{
    return folder() && std::strncmp(path, folder(), std::strlen(folder())) == 0;
}

std::string pathOf(int descriptor)
{
    char link[64];
    char path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link, path, sizeof path);
    return std::string(path, length < 0 ? 0 : static_cast<size_t>(length));
}

bool isBelow(int descriptor)
{
    return isBelow(pathOf(descriptor).c_str());
}

std::mutex oneAtATime;
long calls = 0;
long bytesWritten = 0;

// The files whose content is still in memory alone. Never destroyed: they are looked at in the end.
std::set<std::string> &unflushed()
{
    static auto *const paths = new std::set<std::string>;
    return *paths;
}

// What was done to a name in a folder that has not been flushed since, and how it is undone.
struct NameChange
{
    std::string path;
    std::function<void(const std::string &path)> undo;
};
std::vector<NameChange> &unflushedNames()
{
    static auto *const changes = new std::vector<NameChange>; // likewise
    return *changes;
}

std::string folderOf(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

// In the words of the kernel, which knows no links.
std::string real(const std::string &path)
{
    char folder[PATH_MAX];
    return realpath(folderOf(path).c_str(), folder) ? folder + path.substr(path.rfind('/')) : path;
}

// What a test shares; none where it does not.
DiskFaultsPower *power()
{
    static DiskFaultsPower *const power = []() -> DiskFaultsPower * {
        const char *path = std::getenv("DISK_FAULTS_POWER");
        const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
        if (file < 0)
            return nullptr;
        void *mapped =
            mmap(nullptr, sizeof(DiskFaultsPower), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        return mapped == MAP_FAILED ? nullptr : static_cast<DiskFaultsPower *>(mapped);
    }();
    return power;
}

// Whether this is the call at which the power goes.
bool powerFails()
{
    static const long at = number("DISK_FAULTS_KILL_AT", LONG_MAX);
    return ++calls == at || (power() && --power()->callsLeft == 0);
}

template <typename Function> Function original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// What lies in a folder that was renamed has other paths since.
void follow(const std::string &from, const std::string &to)
{
    const auto renamed = [&](const std::string &path) {
        return path.starts_with(from + '/') ? to + path.substr(from.size()) : path;
    };
    std::set<std::string> files;
    for (const std::string &path : unflushed())
        files.insert(renamed(path));
    unflushed() = std::move(files);
    for (NameChange &change : unflushedNames())
        change.path = renamed(change.path);
}

void removeName(const std::string &path)
{
    static const auto unlink = original<int (*)(const char *)>("unlink");
    unlink(path.c_str());
}

void writeAnew(const std::string &path, mode_t mode, const std::string &content)
{
    static const auto write = original<ssize_t (*)(int, const void *, size_t)>("write");
    static const auto open = original<int (*)(const char *, int, ...)>("open");
    removeName(path);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    (void)!write(file, content.data(), content.size());
    close(file);
}

std::string contentOf(const char *path)
{
    std::string content;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    char block[1 << 16];
    for (ssize_t count = 0; (count = read(file, block, sizeof block)) > 0;)
        content.append(block, static_cast<size_t>(count));
    close(file);
    return content;
}

// How what has this name now gets it back.
std::function<void(const std::string &path)> putBack(const char *path)
{
    struct stat now = {};
    if (lstat(path, &now) != 0)
        return removeName;
    if (S_ISLNK(now.st_mode)) {
        char target[PATH_MAX] = {};
        (void)!readlink(path, target, sizeof target - 1);
        return [target = std::string(target)](const std::string &name) {
            removeName(name);
            (void)!symlink(target.c_str(), name.c_str());
        };
    }
    return [mode = now.st_mode & 07777, content = contentOf(path)](const std::string &name) {
        writeAnew(name, mode, content);
    };
}

bool areNamesLost()
{
    static const bool always = std::getenv("DISK_FAULTS_NO_NAMES");
    return always || (power() && calls % 2 == 0);
}

void loseUnflushed()
{
    for (const std::string &path : unflushed())
        (void)!truncate(path.c_str(), 0);
    if (areNamesLost()) {
        for (auto change = unflushedNames().rbegin(); change != unflushedNames().rend(); ++change)
            change->undo(change->path);
    }
}

void losePower()
{
    loseUnflushed();
    kill(power() ? 0 : getpid(), SIGKILL);
    pause(); // until it has come
}

__attribute__((destructor)) void end()
{
    if (std::getenv("DISK_FAULTS_AT_END"))
        loseUnflushed();
    const char *path = std::getenv("DISK_FAULTS_REPORT");
    if (!path)
        return;
    if (FILE *file = std::fopen(path, "w")) {
        std::fprintf(file, "%ld %ld\n", calls, bytesWritten);
        std::fclose(file);
    }
}

std::string absolute(int folder, const char *path)
{
    return *path == '/' || folder == AT_FDCWD ? path : pathOf(folder) + '/' + path;
}

// What is common to the ways of making a file where there is none; `next` opens it.
template <typename Next> int makeFileFaultily(const std::string &path, const Next &next)
{
    if (!isBelow(path.c_str()))
        return next();
    const std::lock_guard lock(oneAtATime);
    const bool isNew = access(path.c_str(), F_OK) != 0;
    const int file = next();
    if (file >= 0 && isNew)
        unflushedNames().push_back({real(path), removeName});
    return file;
}

// A folder that somebody has flushed something in stays: file systems with a journal write that
// down in order.
template <typename Next> int makeFolderFaultily(const std::string &path, const Next &next)
{
    if (!isBelow(path.c_str()))
        return next();
    const std::lock_guard lock(oneAtATime);
    const int result = next();
    if (result == 0)
        unflushedNames().push_back(
            {real(path), [](const std::string &folder) { rmdir(folder.c_str()); }});
    return result;
}

// What is common to the ways of writing; `next` writes that many of the bytes.
template <typename Next> ssize_t writeFaultily(int descriptor, size_t count, const Next &next)
{
    static const long room = number("DISK_FAULTS_ROOM", LONG_MAX);
    if (!isBelow(descriptor))
        return next(count);
    const std::lock_guard lock(oneAtATime);
    unflushed().insert(pathOf(descriptor));
    if (powerFails()) {
        next(count / 2);
        losePower();
    }
    const auto left = static_cast<size_t>(room - bytesWritten);
    if (count > 0 && left == 0) {
        errno = ENOSPC;
        return -1;
    }
    const ssize_t written = next(count < left ? count : left);
    if (written > 0)
        bytesWritten += written;
    return written;
}

} // namespace

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto original = ::original<ssize_t (*)(int, const void *, size_t)>("write");
    return writeFaultily(descriptor, count,
                         [&](size_t some) { return original(descriptor, bytes, some); });
}

extern "C" ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t offset)
{
    static const auto original =
        ::original<ssize_t (*)(int, const void *, size_t, off_t)>("pwrite");
    return writeFaultily(descriptor, count,
                         [&](size_t some) { return original(descriptor, bytes, some, offset); });
}

#define CORVELLA_OPEN(NAME)                                                                        \
    extern "C" int NAME(const char *path, int flags, ...)                                          \
    {                                                                                              \
        static const auto next = original<int (*)(const char *, int, ...)>(#NAME);                 \
        va_list more;                                                                              \
        va_start(more, flags);                                                                     \
        const auto mode = va_arg(more, mode_t);                                                    \
        va_end(more);                                                                              \
        const auto open = [&] { return next(path, flags, mode); };                                 \
        return (flags & O_CREAT) != 0 ? makeFileFaultily(path, open) : open();                     \
    }
CORVELLA_OPEN(open)
CORVELLA_OPEN(open64)

#define CORVELLA_OPENAT(NAME)                                                                      \
    extern "C" int NAME(int folder, const char *path, int flags, ...)                              \
    {                                                                                              \
        static const auto next = original<int (*)(int, const char *, int, ...)>(#NAME);            \
        va_list more;                                                                              \
        va_start(more, flags);                                                                     \
        const auto mode = va_arg(more, mode_t);                                                    \
        va_end(more);                                                                              \
        const auto open = [&] { return next(folder, path, flags, mode); };                         \
        return (flags & O_CREAT) != 0 ? makeFileFaultily(absolute(folder, path), open) : open();   \
    }
CORVELLA_OPENAT(openat)
CORVELLA_OPENAT(openat64)

extern "C" int mkdir(const char *path, mode_t mode)
{
    // A sanitizer that is not ready yet can neither look for names nor give memory.
    const auto next = [&] { return static_cast<int>(syscall(SYS_mkdirat, AT_FDCWD, path, mode)); };
    return isBelow(path) ? makeFolderFaultily(path, next) : next();
}

extern "C" int mkdirat(int folder, const char *path, mode_t mode)
{
    static const auto next = original<int (*)(int, const char *, mode_t)>("mkdirat");
    return makeFolderFaultily(absolute(folder, path), [&] { return next(folder, path, mode); });
}

extern "C" int fsync(int descriptor)
{
    static const auto next = original<int (*)(int)>("fsync");
    if (!isBelow(descriptor))
        return next(descriptor);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    const std::string path = pathOf(descriptor);
    unflushed().erase(path);
    std::erase_if(unflushedNames(),
                  [&path](const NameChange &change) { return folderOf(change.path) == path; });
    return next(descriptor);
}

extern "C" int flock(int descriptor, int operation)
{
    static const auto next = original<int (*)(int, int)>("flock");
    static const bool areNone = std::getenv("DISK_FAULTS_NO_LOCKS");
    if (!areNone || !isBelow(descriptor))
        return next(descriptor, operation);
    errno = ENOLCK;
    return -1;
}

extern "C" int rename(const char *from, const char *to)
{
    static const auto next = original<int (*)(const char *, const char *)>("rename");
    if (!isBelow(to))
        return next(from, to);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    const auto before = putBack(to);
    const std::string source = real(from);
    const std::string target = real(to);
    const int result = next(from, to);
    if (result != 0)
        return result;
    follow(source, target);
    if (unflushed().erase(from) > 0)
        unflushed().insert(to);
    else
        unflushed().erase(to);
    unflushedNames().push_back({target, [source, before](const std::string &path) {
                                    next(path.c_str(), source.c_str());
                                    follow(path, source);
                                    before(path);
                                }});
    return result;
}

extern "C" int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    static const auto next = original<int (*)(int, const char *, int, const char *, int)>("linkat");
    if (!isBelow(to))
        return next(fromFolder, from, toFolder, to, flags);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    const int result = next(fromFolder, from, toFolder, to, flags);
    if (result != 0)
        return result;
    if (unflushed().contains(from))
        unflushed().insert(to);
    unflushedNames().push_back({real(to), removeName});
    return result;
}

extern "C" int unlink(const char *path)
{
    static const auto next = original<int (*)(const char *)>("unlink");
    if (!isBelow(path))
        return next(path);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    const auto before = putBack(path);
    const int result = next(path);
    if (result != 0)
        return result;
    unflushed().erase(path);
    unflushedNames().push_back({real(path), before});
    return result;
}

// Preloaded into a program: lets its disk or its power fail at a chosen moment. Stands between the
// program and the C library; only files below a folder count. All by environment variables:
//   DISK_FAULTS_FOLDER   the folder
//   DISK_FAULTS_KILL_AT  the call that changes the disk (from 1) at which the power goes: a write
//                        gets half of its bytes out first, files that were not flushed lose their
//                        content, and the program is killed
//   DISK_FAULTS_POWER    the same at a moment that a test chooses meanwhile: a file of its that
//   holds
//                        the number of calls (DiskFaultsPower) that are left, of whichever process;
//                        with the process its group is killed
//   DISK_FAULTS_ROOM     bytes that may be written before the disk is full
//   DISK_FAULTS_NO_LOCKS the file system knows none
//   DISK_FAULTS_REPORT   a file to leave the number of calls and of bytes in at the end
// One call at a time, whichever thread it comes from.
#include "support/DiskFaultsPower.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <string>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

using corvella::test::DiskFaultsPower;

const char *folder()
{
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

// The files whose content is still in memory alone.
std::set<std::string> &unflushed()
{
    static std::set<std::string> paths;
    return paths;
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

void losePower()
{
    for (const std::string &path : unflushed())
        (void)!truncate(path.c_str(), 0);
    kill(power() ? 0 : getpid(), SIGKILL);
    pause(); // until it has come
}

template <typename Function> Function original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

__attribute__((destructor)) void report()
{
    const char *path = std::getenv("DISK_FAULTS_REPORT");
    if (!path)
        return;
    if (FILE *file = std::fopen(path, "w")) {
        std::fprintf(file, "%ld %ld\n", calls, bytesWritten);
        std::fclose(file);
    }
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

extern "C" int fsync(int descriptor)
{
    static const auto next = original<int (*)(int)>("fsync");
    if (!isBelow(descriptor))
        return next(descriptor);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    unflushed().erase(pathOf(descriptor));
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
    if (unflushed().erase(from) > 0)
        unflushed().insert(to);
    else
        unflushed().erase(to);
    return next(from, to);
}

extern "C" int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    static const auto next = original<int (*)(int, const char *, int, const char *, int)>("linkat");
    if (!isBelow(to))
        return next(fromFolder, from, toFolder, to, flags);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    if (unflushed().contains(from))
        unflushed().insert(to);
    return next(fromFolder, from, toFolder, to, flags);
}

extern "C" int unlink(const char *path)
{
    static const auto next = original<int (*)(const char *)>("unlink");
    if (!isBelow(path))
        return next(path);
    const std::lock_guard lock(oneAtATime);
    if (powerFails())
        losePower();
    unflushed().erase(path);
    return next(path);
}

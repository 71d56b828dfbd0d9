// Preloaded into a program: lets its disk or its power fail at a chosen moment. Stands between the
// program and the C library; only files below a folder count. All by environment variables:
//   DISK_FAULTS_FOLDER   the folder
//   DISK_FAULTS_KILL_AT  the call that changes the disk (from 1) at which the program is killed; a
//                        write gets half of its bytes out first
//   DISK_FAULTS_ROOM     bytes that may be written before the disk is full
//   DISK_FAULTS_REPORT   a file to leave the number of calls and of bytes in at the end
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

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

bool isBelow(int descriptor)
{
    char link[64];
    char path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length < 0)
        return false;
    path[length] = 0;
    return isBelow(path);
}

long calls = 0;
long bytesWritten = 0;

// Whether this is the call at which the power goes.
bool powerFails()
{
    static const long at = number("DISK_FAULTS_KILL_AT", LONG_MAX);
    return ++calls == at;
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

} // namespace

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto next = original<ssize_t (*)(int, const void *, size_t)>("write");
    static const long room = number("DISK_FAULTS_ROOM", LONG_MAX);
    if (!isBelow(descriptor))
        return next(descriptor, bytes, count);
    if (powerFails()) {
        next(descriptor, bytes, count / 2);
        raise(SIGKILL);
    }
    const auto left = static_cast<size_t>(room - bytesWritten);
    if (count > 0 && left == 0) {
        errno = ENOSPC;
        return -1;
    }
    const ssize_t written = next(descriptor, bytes, count < left ? count : left);
    if (written > 0)
        bytesWritten += written;
    return written;
}

extern "C" int fsync(int descriptor)
{
    static const auto next = original<int (*)(int)>("fsync");
    if (isBelow(descriptor) && powerFails())
        raise(SIGKILL);
    return next(descriptor);
}

extern "C" int rename(const char *from, const char *to)
{
    static const auto next = original<int (*)(const char *, const char *)>("rename");
    if (isBelow(to) && powerFails())
        raise(SIGKILL);
    return next(from, to);
}

extern "C" int unlink(const char *path)
{
    static const auto next = original<int (*)(const char *)>("unlink");
    if (isBelow(path) && powerFails())
        raise(SIGKILL);
    return next(path);
}

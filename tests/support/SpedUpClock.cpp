// Preloaded into a program: lets its clocks go faster, and whatever it waits for with a time limit
// end as much earlier. Stands between the program and the C library; SPED_UP_CLOCK names the file
// that says how fast (SpedUpClockPage). Two ways to ask for the time are left alone: the clocks of
// used processor time, and time(), by which certificates are judged: these stay valid.
#include "support/SpedUpClockPage.h"

#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using corvella::test::SpedUpClockPage;

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kNanosecondsPerMillisecond = 1'000'000;

SpedUpClockPage &page()
{
    static SpedUpClockPage *const page = [] {
        const char *path = std::getenv("SPED_UP_CLOCK");
        const int file = open(path ? path : "", O_RDWR | O_CLOEXEC);
        void *mapped =
            mmap(nullptr, sizeof(SpedUpClockPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (mapped == MAP_FAILED)
            std::abort();
        close(file);
        return static_cast<SpedUpClockPage *>(mapped);
    }();
    return *page;
}

// Before the program gives up its right to open files, as the one that reads clips does.
[[gnu::constructor]] void openPage()
{
    (void)page();
}

template <typename Function> Function original(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int64_t nanoseconds(const timespec &time)
{
    return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

timespec timespecOf(int64_t nanoseconds)
{
    return {nanoseconds / kNanosecondsPerSecond, nanoseconds % kNanosecondsPerSecond};
}

bool isRealtime(clockid_t clock)
{
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
}

int64_t startOf(clockid_t clock)
{
    return isRealtime(clock) ? page().realtimeStart : page().monotonicStart;
}

// What it is ahead of a clock that is merely sped up.
int64_t aheadBy(clockid_t clock)
{
    return page().skipped + (isRealtime(clock) ? page().set.load() : 0);
}

bool isSpedUp(clockid_t clock)
{
    return clock != CLOCK_PROCESS_CPUTIME_ID && clock != CLOCK_THREAD_CPUTIME_ID && clock >= 0;
}

int64_t toFast(clockid_t clock, int64_t real)
{
    const int64_t start = startOf(clock);
    return start + (real - start) * page().speed + aheadBy(clock);
}

int64_t toReal(clockid_t clock, int64_t fast)
{
    const int64_t start = startOf(clock);
    return start + (fast - aheadBy(clock) - start) / page().speed;
}

timespec shortened(const timespec &duration)
{
    return timespecOf(nanoseconds(duration) / page().speed);
}

int pollFor(pollfd *files, nfds_t count, const timespec *limit, const sigset_t *signals)
{
    static const auto next =
        original<int (*)(pollfd *, nfds_t, const timespec *, const sigset_t *)>("ppoll");
    ++page().waits;
    if (!limit)
        return next(files, count, nullptr, signals);
    const timespec shorter = shortened(*limit);
    return next(files, count, &shorter, signals);
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept
{
    static const auto next = original<int (*)(clockid_t, timespec *)>("clock_gettime");
    const int result = next(clock, time);
    if (result == 0 && isSpedUp(clock))
        *time = timespecOf(toFast(clock, nanoseconds(*time)));
    return result;
}

extern "C" int gettimeofday(timeval *time, void * /*zone*/) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

extern "C" int ppoll(pollfd *files, nfds_t count, const timespec *limit, const sigset_t *signals)
{
    return pollFor(files, count, limit, signals);
}

extern "C" int poll(pollfd *files, nfds_t count, int milliseconds)
{
    const timespec limit = timespecOf(milliseconds * kNanosecondsPerMillisecond);
    return pollFor(files, count, milliseconds < 0 ? nullptr : &limit, nullptr);
}

// What poll() and ppoll() become where the C library checks the size of the list.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __ppoll_chk(pollfd *files, nfds_t count, const timespec *limit,
                           const sigset_t *signals, size_t /*size*/)
{
    return pollFor(files, count, limit, signals);
}

extern "C" int __poll_chk(pollfd *files, nfds_t count, int milliseconds, size_t /*size*/)
{
    return poll(files, count, milliseconds);
}
// NOLINTEND(bugprone-reserved-identifier)

extern "C" int pthread_cond_clockwait(pthread_cond_t *condition, pthread_mutex_t *mutex,
                                      clockid_t clock, const timespec *until)
{
    static const auto next =
        original<int (*)(pthread_cond_t *, pthread_mutex_t *, clockid_t, const timespec *)>(
            "pthread_cond_clockwait");
    const timespec real = timespecOf(toReal(clock, nanoseconds(*until)));
    return next(condition, mutex, clock, &real);
}

// Which clock such a condition goes by cannot be asked. The moment tells: it is not far from what
// that clock shows.
extern "C" int pthread_cond_timedwait(pthread_cond_t *condition, pthread_mutex_t *mutex,
                                      const timespec *until)
{
    const auto distance = [until](clockid_t clock) {
        timespec now{};
        clock_gettime(clock, &now);
        return std::llabs(nanoseconds(*until) - nanoseconds(now));
    };
    const clockid_t clock =
        distance(CLOCK_REALTIME) < distance(CLOCK_MONOTONIC) ? CLOCK_REALTIME : CLOCK_MONOTONIC;
    return pthread_cond_clockwait(condition, mutex, clock, until);
}

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec *time, timespec *left)
{
    static const auto next =
        original<int (*)(clockid_t, int, const timespec *, timespec *)>("clock_nanosleep");
    const timespec real = (flags & TIMER_ABSTIME) != 0
        ? timespecOf(toReal(clock, nanoseconds(*time)))
        : shortened(*time);
    return next(clock, flags, &real, left);
}

extern "C" int nanosleep(const timespec *time, timespec *left)
{
    static const auto next = original<int (*)(const timespec *, timespec *)>("nanosleep");
    const timespec real = shortened(*time);
    return next(&real, left);
}

extern "C" unsigned alarm(unsigned seconds) noexcept
{
    const timespec real = shortened({static_cast<time_t>(seconds), 0});
    const itimerval timer{{}, {real.tv_sec, real.tv_nsec / 1000}};
    setitimer(ITIMER_REAL, &timer, nullptr);
    return 0;
}

#include "platform/threads/BackgroundWork.h"
#include "support/Waiting.h"

#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <latch>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using test::becomes;
using testing::ElementsAre;

// From now on this process gets no thread any more.
void refuseThreads()
{
    constexpr auto kLoad = static_cast<unsigned short>(BPF_LD | BPF_W | BPF_ABS);
    constexpr auto kIfEqual = static_cast<unsigned short>(BPF_JMP | BPF_JEQ | BPF_K);
    constexpr auto kReturn = static_cast<unsigned short>(BPF_RET | BPF_K);
    sock_filter filter[] = {
        {kLoad, 0, 0, static_cast<unsigned>(offsetof(seccomp_data, nr))},
        {kIfEqual, 1, 0, SYS_clone3},
        {kIfEqual, 0, 1, SYS_clone},
        {kReturn, 0, 0, SECCOMP_RET_ERRNO | EAGAIN},
        {kReturn, 0, 0, SECCOMP_RET_ALLOW},
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(filter)), filter};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        std::abort();
}

TEST(BackgroundWork, IsNotWaitedForWhereTheSystemHasNoThreadForIt)
{
    const auto endWithout = [] {
        refuseThreads();
        {
            BackgroundWork work(1);
            work.start([] {});
            work.finish();
            (void)work.finish(1h);
        }
        std::_Exit(EXIT_SUCCESS);
    };
    EXPECT_EXIT(endWithout(), testing::ExitedWithCode(EXIT_SUCCESS),
                "corvella: background: no thread \\(Resource temporarily unavailable\\)");
}

TEST(BackgroundWork, IsDoneAsSoonAsTheSystemHasAThreadForIt)
{
    const auto endWithLater = [] {
        rlimit threads{};
        constexpr uid_t kNobody = 65534; // root may have any number
        if ((::geteuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0)
            || ::getrlimit(RLIMIT_NPROC, &threads) != 0)
            std::abort();
        const rlim_t usual = std::exchange(threads.rlim_cur, 0);
        ::setrlimit(RLIMIT_NPROC, &threads);
        BackgroundWork work(1);
        bool isDone = false;
        work.run([] { return true; }, [&isDone](bool done) { isDone = done; });
        threads.rlim_cur = usual;
        ::setrlimit(RLIMIT_NPROC, &threads);
        std::_Exit(becomes([&isDone] { return isDone; }) ? EXIT_SUCCESS : EXIT_FAILURE);
    };
    EXPECT_EXIT(endWithLater(), testing::ExitedWithCode(EXIT_SUCCESS),
                "corvella: background: no thread \\(Resource temporarily unavailable\\)");
}

TEST(BackgroundWork, IsDoneOnAnotherThreadAndToldOnThisOne)
{
    BackgroundWork work(1);
    std::thread::id worker;
    std::thread::id listener;
    int result = 0;
    work.run(
        [&worker] {
            worker = std::this_thread::get_id();
            return 42;
        },
        [&](int value) {
            listener = std::this_thread::get_id();
            result = value;
        });
    EXPECT_TRUE(becomes([&] { return result == 42; }));
    EXPECT_EQ(listener, std::this_thread::get_id());
    EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(BackgroundWork, TellsNothingBeforeThisThreadListens)
{
    BackgroundWork work(1);
    bool isTold = false;
    work.start([&] { work.tell([&isTold] { isTold = true; }); });
    work.finish();
    EXPECT_FALSE(isTold);
    EXPECT_TRUE(becomes([&isTold] { return isTold; }));
}

TEST(BackgroundWork, OneThreadDoesOneThingAfterTheOther)
{
    BackgroundWork work(1);
    std::vector<int> done;
    for (int i = 0; i < 5; ++i)
        work.start([&done, i] { done.push_back(i); });
    work.finish();
    EXPECT_THAT(done, ElementsAre(0, 1, 2, 3, 4));
}

TEST(BackgroundWork, ItsThreadStaysTheSame)
{
    BackgroundWork work(1);
    std::thread::id first;
    std::thread::id second;
    work.start([&first] { first = std::this_thread::get_id(); });
    work.finish();
    work.start([&second] { second = std::this_thread::get_id(); });
    work.finish();
    EXPECT_EQ(first, second);
}

// Each of them waits for the others: on fewer threads they would wait for ever.
TEST(BackgroundWork, DoesAsManyThingsAtOnceAsItMay)
{
    constexpr int kAtOnce = 3;
    BackgroundWork work(kAtOnce);
    std::latch all(kAtOnce);
    for (int i = 0; i < kAtOnce; ++i)
        work.start([&all] { all.arrive_and_wait(); });
    EXPECT_TRUE(work.finish(test::kGenerous));
}

TEST(BackgroundWork, DoesNoMoreAtOnce)
{
    BackgroundWork work(2);
    std::atomic<int> now = 0;
    std::atomic<int> most = 0;
    for (int i = 0; i < 100; ++i) {
        work.start([&] {
            most = std::max<int>(most, ++now);
            std::this_thread::yield();
            --now;
        });
    }
    work.finish();
    EXPECT_LE(most, 2);
}

TEST(BackgroundWork, TellsInTheOrderOfTheCalls)
{
    BackgroundWork work(1);
    std::vector<int> told;
    work.start([&] {
        for (int i = 0; i < 5; ++i)
            work.tell([&told, i] { told.push_back(i); });
    });
    EXPECT_TRUE(becomes([&told] { return told.size() == 5; }));
    EXPECT_THAT(told, ElementsAre(0, 1, 2, 3, 4));
}

TEST(BackgroundWork, WaitsNoLongerThanItIsTold)
{
    BackgroundWork work(1);
    std::promise<void> go;
    work.start([may = go.get_future().share()] { may.wait(); });
    EXPECT_FALSE(work.finish(10ms));
    go.set_value();
    EXPECT_TRUE(work.finish(test::kGenerous));
}

TEST(BackgroundWork, IsDoneAtOnceWhereThereIsNone)
{
    BackgroundWork work(1);
    EXPECT_TRUE(work.finish(0ms));
}

TEST(BackgroundWork, EndsWhenAllIsDoneAndTellsNothingAnyMore)
{
    int done = 0;
    bool isTold = false;
    {
        BackgroundWork work(1);
        for (int i = 0; i < 3; ++i)
            work.start([&done] { ++done; });
        work.start([&] { work.tell([&isTold] { isTold = true; }); });
    }
    EXPECT_EQ(done, 3);
    QCoreApplication::processEvents();
    EXPECT_FALSE(isTold);
}

TEST(BackgroundWork, MayBeEndedByWhatItTells)
{
    auto work = std::make_unique<BackgroundWork>(1);
    work->start([&work, background = work.get()] { background->tell([&work] { work.reset(); }); });
    EXPECT_TRUE(becomes([&work] { return !work; }));
}

// A process that a job started, or a lock that it holds, is not to outlive it.
TEST(BackgroundWork, LetsGoOfAJobBeforeItCountsAsDone)
{
    BackgroundWork work(1);
    const auto held = std::make_shared<int>(1);
    work.start([held] {});
    work.finish();
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace corvella

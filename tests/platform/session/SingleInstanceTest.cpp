// How two starts of the program meet is tried with the program itself.
#include "platform/session/SingleInstance.h"

#include "platform/storage/FileLock.h"
#include "support/TemporaryHome.h"
#include "support/Waiting.h"

#include <QFile>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/inotify.h>
#include <thread>

namespace corvella {
namespace {

TEST(SingleInstanceTest, WaitsForTheOneThatNoLongerListens)
{
    const test::TemporaryHome home;
    qputenv("XDG_RUNTIME_DIR", home.path().toLocal8Bit());
    const QString lock =
        home.path(QStringLiteral("corvella") + instanceSuffix() + QStringLiteral(".lock"));
    std::optional<FileLock> ending = FileLock::acquire(lock);
    ASSERT_TRUE(ending);
    const FileDescriptor watch(::inotify_init1(IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), QFile::encodeName(lock).constData(), IN_CLOSE), 0);
    // The next one has the lock's file closed again when it found it held.
    std::thread end([&ending, &watch] {
        pollfd closed{watch.get(), POLLIN, 0};
        EXPECT_EQ(::poll(&closed, 1, static_cast<int>(test::kGenerous.count())), 1);
        ending.reset();
    });
    SingleInstance next;
    EXPECT_EQ(next.claim({}), SingleInstance::Outcome::first);
    end.join();
}

} // namespace
} // namespace corvella

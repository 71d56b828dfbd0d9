// How two starts of the program meet is tried with the program itself.
#include "platform/session/SingleInstance.h"

#include "platform/storage/FileLock.h"
#include "support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <thread>

namespace corvella {
namespace {

using namespace std::chrono_literals;

TEST(SingleInstanceTest, WaitsForTheOneThatNoLongerListens)
{
    const test::TemporaryHome home;
    qputenv("XDG_RUNTIME_DIR", home.path().toLocal8Bit());
    const QString lock =
        home.path(QStringLiteral("corvella") + instanceSuffix() + QStringLiteral(".lock"));
    std::optional<FileLock> ending = FileLock::acquire(lock);
    ASSERT_TRUE(ending);
    std::thread end([&ending] {
        std::this_thread::sleep_for(20ms); // it does not matter if it ends before
        ending.reset();
    });
    SingleInstance next;
    EXPECT_EQ(next.claim({}), SingleInstance::Outcome::first);
    end.join();
}

} // namespace
} // namespace corvella

// How two starts of the program meet is tried with the program itself.
#include "platform/session/SingleInstance.h"

#include "platform/session/UnixAddress.h"
#include "platform/storage/FileLock.h"
#include "support/PrivateBus.h"
#include "support/TemporaryHome.h"
#include "support/Waiting.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/inotify.h>
#include <thread>

namespace corvella {
namespace {

class SingleInstanceTest : public testing::Test
{
protected:
    SingleInstanceTest() { qputenv("XDG_RUNTIME_DIR", m_home.path().toLocal8Bit()); }

    [[nodiscard]] QString runtimeFile(const QString &suffix) const
    {
        return m_home.path(QStringLiteral("corvella") + instanceSuffix() + suffix);
    }

private:
    const test::TemporaryHome m_home;
};

TEST_F(SingleInstanceTest, WaitsForTheOneThatNoLongerListens)
{
    const QString lock = runtimeFile(QStringLiteral(".lock"));
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

TEST_F(SingleInstanceTest, FollowsTheOneThatListensAndEndsWithoutAnAnswer)
{
    std::optional<FileLock> ending = FileLock::acquire(runtimeFile(QStringLiteral(".lock")));
    ASSERT_TRUE(ending);
    FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    UnixAddress address = unixAddressOf(runtimeFile(QStringLiteral(".socket")));
    ASSERT_EQ(::bind(socket.get(), address.generic(), address.size), 0);
    std::thread end([&ending, &socket] {
        pollfd asked{socket.get(), POLLIN, 0};
        EXPECT_EQ(::poll(&asked, 1, static_cast<int>(test::kGenerous.count())), 1);
        ending.reset();
    });
    SingleInstance next;
    EXPECT_EQ(next.claim({}), SingleInstance::Outcome::first);
    end.join();
}

// A copy that leaves its bus when it is called.
class EndingCopy : public QDBusVirtualObject
{
public:
    explicit EndingCopy(const test::PrivateBus &bus)
    {
        QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), kConnection);
        EXPECT_TRUE(
            connection.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
        EXPECT_TRUE(
            connection.registerService(QStringLiteral("space.tarrow.corvella") + instanceSuffix()));
    }
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage & /*message*/,
                       const QDBusConnection & /*connection*/) override
    {
        QDBusConnection::disconnectFromBus(kConnection);
        return true;
    }

private:
    const QString kConnection = QStringLiteral("ending");
};

TEST_F(SingleInstanceTest, FollowsTheOneThatLeavesTheBusWithoutAnAnswer)
{
    const test::PrivateBus bus;
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toLocal8Bit());
    QThread elsewhere;
    EndingCopy ending(bus);
    ending.moveToThread(&elsewhere);
    elsewhere.start();
    SingleInstance next;
    EXPECT_EQ(next.claim({}), SingleInstance::Outcome::first);
    elsewhere.quit();
    elsewhere.wait();
}

} // namespace
} // namespace corvella

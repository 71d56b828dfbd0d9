#include "platform/session/MessageBus.h"
#include "platform/session/HungBuses.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <thread>
#include <unistd.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

// As ss(8) shows it.
QString shown(const UnixAddress &address)
{
    const auto size = static_cast<qsizetype>(address.size - offsetof(sockaddr_un, sun_path));
    if (address.size == sizeof(sa_family_t))
        return {};
    if (address.name.sun_path[0] == '\0')
        return u'@' + QString::fromUtf8(address.name.sun_path + 1, size - 1);
    return QString::fromUtf8(address.name.sun_path);
}

struct AddressRow
{
    const char *name;
    QString address;
    QString socket;
};

class BusAddress : public testing::TestWithParam<AddressRow>
{
};

TEST_P(BusAddress, NamesASocketWhereItHasOne)
{
    EXPECT_EQ(shown(socketOf(GetParam().address)), GetParam().socket);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BusAddress,
    testing::Values(
        AddressRow{"OfASession", u"unix:path=/run/user/1000/bus"_s, u"/run/user/1000/bus"_s},
        AddressRow{"WithMoreToIt", u"unix:path=/tmp/dbus-X,guid=0a"_s, u"/tmp/dbus-X"_s},
        AddressRow{"BehindOthers", u"tcp:host=a,port=1;unix:guid=0a,path=/b"_s, u"/b"_s},
        AddressRow{"Escaped", u"unix:path=/a%20b%3b"_s, u"/a b;"_s},
        AddressRow{"WithoutAFile", u"unix:abstract=/tmp/dbus-X,guid=0a"_s, u"@/tmp/dbus-X"_s},
        AddressRow{"OfAnotherKind", u"tcp:host=localhost,path=/a"_s, QString()},
        AddressRow{"Empty", QString(), QString()}),
    [](const auto &row) { return row.param.name; });

// Where a session's bus is said to be.
class BusSocket
{
public:
    BusSocket(const QByteArray &busAddress, UnixAddress socket)
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", busAddress);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
        EXPECT_EQ(::bind(m_socket.get(), socket.generic(), socket.size), 0);
        EXPECT_EQ(::listen(m_socket.get(), 0), 0);
    }

    // Nobody else gets in until somebody is welcomed.
    void fill()
    {
        for (;;) {
            const auto &guest = m_guests.emplace_back(busPlaces().front().address);
            if (guest.state() == BusGreeting::State::noRoom)
                return;
        }
    }
    // Welcomes all who come, so many of them.
    void welcome(int guests)
    {
        for (int i = 0; i < guests; ++i) {
            const FileDescriptor guest(::accept(m_socket.get(), nullptr, nullptr));
            std::array<char, 64> words{};
            EXPECT_GT(::recv(guest.get(), words.data(), words.size(), 0), 0);
            EXPECT_EQ(::send(guest.get(), "OK 00\r\n", 7, MSG_NOSIGNAL), 7);
        }
    }
    [[nodiscard]] int guests() const { return static_cast<int>(m_guests.size()) - 1; }

private:
    const FileDescriptor m_socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::vector<BusGreeting> m_guests; // the last of them did not get in
};

bool isFirstThreadAsleep()
{
    QFile status(u"/proc/self/stat"_s);
    return status.open(QIODevice::ReadOnly) && status.readAll().contains(") S ");
}

TEST(HungBusesTest, KnowsOneThatIsNoFile)
{
    const QByteArray name = "corvella-test-" + QByteArray::number(::getpid());
    const BusSocket bus("unix:abstract=" + name, abstractAddressOf(QString::fromLatin1(name)));
    const HungBuses hung;
    EXPECT_TRUE(hung.places().at(0).isHidden);
    EXPECT_FALSE(hung.places().at(1).isHidden);
}

TEST(HungBusesTest, WaitsForOneThatManyCallAtOnce)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"bus"_s);
    BusSocket bus("unix:path=" + path.toLocal8Bit(), unixAddressOf(path));
    bus.fill();
    std::thread busy([&bus] {
        // At work for somebody else, until the one that asks has had to wait.
        while (!isFirstThreadAsleep())
            std::this_thread::yield();
        bus.welcome(bus.guests() + 1);
    });
    const HungBuses hung;
    EXPECT_FALSE(hung.places().at(0).isHidden);
    busy.join();
}

} // namespace
} // namespace corvella

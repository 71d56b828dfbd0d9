#include "platform/session/SingleInstance.h"
#include "platform/session/UnixAddress.h"
#include "platform/storage/FileDescriptor.h"
#include "platform/storage/FileLock.h"
#include "platform/storage/StandardFolders.h"

#include <QFile>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvella {

namespace {

using Outcome = SingleInstance::Outcome;

constexpr std::chrono::milliseconds kAnswerPatience{2000};
constexpr size_t kLongestWord = 64;
constexpr char kTaken = '+'; // the answer

FileDescriptor boundSocket(UnixAddress address)
{
    FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket.isOpen() && ::bind(socket.get(), address.generic(), address.size) != 0)
        return FileDescriptor();
    return socket;
}

class LockChannel final : public SingleInstance::Channel
{
public:
    explicit LockChannel(SingleInstance &instance)
        : m_instance(instance)
    {
    }

    std::optional<Outcome> claim(const QString &word) override
    {
        const std::optional<QString> folder = StandardFolders::runtime();
        if (!folder)
            return std::nullopt;
        const QString name = *folder + QStringLiteral("/corvella") + instanceSuffix();
        const QString lock = name + QStringLiteral(".lock");
        const QString socket = name + QStringLiteral(".socket");
        m_lock = FileLock::acquire(lock, std::chrono::milliseconds(0));
        if (!m_lock && errno == EWOULDBLOCK) {
            const std::optional<Outcome> outcome = handOver(socket, word);
            if (outcome == Outcome::handedOver)
                return outcome;
            // The one that runs may be ending: then it is our turn after all.
            m_lock =
                FileLock::acquire(lock, outcome ? std::chrono::milliseconds(0) : kAnswerPatience);
            if (!m_lock)
                return Outcome::silent;
        }
        if (!m_lock)
            return std::nullopt;
        listen(socket);
        return Outcome::first;
    }

private:
    void listen(const QString &path)
    {
        QFile::remove(path); // of one that crashed: we have its lock
        m_socket = boundSocket(unixAddressOf(path));
        if (!m_socket.isOpen())
            return;
        m_notifier = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &m_instance,
                         [this] { answer(); });
    }

    void answer()
    {
        std::array<char, kLongestWord> word;
        UnixAddress sender;
        sender.size = sizeof sender.name;
        const ssize_t length =
            ::recvfrom(m_socket.get(), word.data(), word.size(), 0, sender.generic(), &sender.size);
        if (length < 0)
            return;
        ::sendto(m_socket.get(), &kTaken, 1, 0, sender.generic(), sender.size);
        Q_EMIT m_instance.activated(QString::fromUtf8(word.data(), length));
    }

    // None where nobody listens.
    static std::optional<Outcome> handOver(const QString &path, const QString &word)
    {
        const FileDescriptor socket = boundSocket(unixAddressOf({}));
        UnixAddress first = unixAddressOf(path);
        const QByteArray bytes = word.toUtf8().left(kLongestWord);
        if (::sendto(socket.get(), bytes.constData(), static_cast<size_t>(bytes.size()), 0,
                     first.generic(), first.size)
            < 0)
            return std::nullopt;
        pollfd answered{socket.get(), POLLIN, 0};
        const bool isTaken = ::poll(&answered, 1, static_cast<int>(kAnswerPatience.count())) == 1;
        return isTaken ? Outcome::handedOver : Outcome::silent;
    }

    SingleInstance &m_instance;
    std::optional<FileLock> m_lock;
    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace

std::unique_ptr<SingleInstance::Channel> createLockChannel(SingleInstance &instance)
{
    return std::make_unique<LockChannel>(instance);
}

} // namespace corvella

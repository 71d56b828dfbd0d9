#include "platform/video/ClipProtocol.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <type_traits>

namespace corvella {

namespace {

// What goes along with a message: room for one file.
union OneFile {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

msghdr message(iovec &part)
{
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    return message;
}

template <typename Message>
requires std::is_trivially_copyable_v<Message>
bool sendWhole(int socket, const Message &content, int file, int flags = 0)
{
    iovec part{const_cast<Message *>(&content), sizeof content};
    msghdr whole = message(part);
    OneFile control{};
    if (file >= 0) {
        whole.msg_control = &control;
        whole.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&whole);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof file);
        std::memcpy(CMSG_DATA(header), &file, sizeof file);
    }
    ssize_t sent = -1;
    do
        sent = ::sendmsg(socket, &whole, MSG_NOSIGNAL | flags);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(sizeof content);
}

template <typename Message>
requires std::is_trivially_copyable_v<Message> std::optional<Message>
receiveWhole(int socket, FileDescriptor *file = nullptr)
{
    Message content;
    iovec part{&content, sizeof content};
    msghdr whole = message(part);
    OneFile control{};
    if (file) {
        whole.msg_control = &control;
        whole.msg_controllen = sizeof control;
    }
    ssize_t received = -1;
    do
        received = ::recvmsg(socket, &whole, MSG_CMSG_CLOEXEC);
    while (received < 0 && errno == EINTR);
    const cmsghdr *header = file ? CMSG_FIRSTHDR(&whole) : nullptr;
    if (header && header->cmsg_type == SCM_RIGHTS) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        *file = FileDescriptor(descriptor);
    }
    if (received != static_cast<ssize_t>(sizeof content) || (whole.msg_flags & MSG_TRUNC) != 0)
        return std::nullopt;
    return content;
}

} // namespace

void ClipReply::setText(const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    text.fill('\0');
    std::copy_n(utf8.begin(), std::min<size_t>(static_cast<size_t>(utf8.size()), text.size() - 1),
                text.begin());
}

bool sendMessage(int socket, const ReaderOrder &order, int file)
{
    return sendWhole(socket, order, file);
}

bool sendMessage(int socket, const ReaderAnswer &answer)
{
    return sendWhole(socket, answer, -1);
}

bool sendMessage(int socket, const ClipRequest &request, int file)
{
    return sendWhole(socket, request, file, MSG_DONTWAIT);
}

bool sendMessage(int socket, const ClipReply &reply)
{
    return sendWhole(socket, reply, -1);
}

bool Patience::waitForMessage(int socket, const std::stop_token &stop)
{
    using Clock = std::chrono::steady_clock;
    using std::chrono::milliseconds;
    pollfd events{socket, POLLIN, 0};
    do {
        const auto longest = std::min<std::chrono::nanoseconds>(m_left, std::chrono::seconds(1));
        const auto start = Clock::now();
        const bool isThere =
            ::poll(&events, 1, static_cast<int>(std::chrono::ceil<milliseconds>(longest).count()))
            > 0;
        m_left -= std::min<std::chrono::nanoseconds>(Clock::now() - start, longest);
        if (isThere)
            return true;
    } while (m_left > std::chrono::nanoseconds(0) && !stop.stop_requested());
    return false;
}

std::optional<ReaderOrder> receiveOrder(int socket, FileDescriptor &file)
{
    return receiveWhole<ReaderOrder>(socket, &file);
}

std::optional<ReaderAnswer> receiveAnswer(int socket)
{
    return receiveWhole<ReaderAnswer>(socket);
}

std::optional<ClipRequest> receiveRequest(int socket, FileDescriptor &file)
{
    return receiveWhole<ClipRequest>(socket, &file);
}

std::optional<ClipReply> receiveReply(int socket)
{
    return receiveWhole<ClipReply>(socket);
}

} // namespace corvella

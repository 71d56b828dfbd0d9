#include "platform/pictures/SwayConnection.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

namespace corvella {

namespace {

constexpr timeval kSwayPatience = {.tv_sec = 2, .tv_usec = 0};
constexpr char kMagic[] = {'i', '3', '-', 'i', 'p', 'c'};
// Then two numbers in the machine's own byte order: the size of what follows, and what it is.
constexpr quint32 kRunCommand = 0;
constexpr quint32 kLongestAnswer = 1024 * 1024; // bytes; it says true or why not

constexpr qsizetype kHeaderSize = sizeof kMagic + 2 * sizeof(quint32);

QByteArray message(quint32 type, const QByteArray &text)
{
    const auto size = static_cast<quint32>(text.size());
    QByteArray bytes(kMagic, sizeof kMagic);
    bytes.append(reinterpret_cast<const char *>(&size), sizeof size);
    bytes.append(reinterpret_cast<const char *>(&type), sizeof type);
    return bytes + text;
}

Failure failureOf(const QJsonObject &outcome)
{
    if (outcome[u"success"].toBool())
        return {};
    return outcome[u"error"].toString(QStringLiteral("sway does not answer"));
}

} // namespace

SwayConnection::SwayConnection()
{
    const QByteArray path = QFile::encodeName(address());
    sockaddr_un name = {.sun_family = AF_UNIX, .sun_path = {}};
    if (path.isEmpty() || path.size() >= static_cast<qsizetype>(sizeof name.sun_path))
        return;
    std::copy(path.begin(), path.end(), name.sun_path);
    FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    for (const int direction : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(connection.get(), SOL_SOCKET, direction, &kSwayPatience, sizeof kSwayPatience);
    if (::connect(connection.get(), reinterpret_cast<const sockaddr *>(&name), sizeof name) == 0)
        m_socket = std::move(connection);
}

QString SwayConnection::address()
{
    return qEnvironmentVariable("SWAYSOCK");
}

bool SwayConnection::write(const QByteArray &bytes) const
{
    return ::send(m_socket.get(), bytes.constData(), static_cast<size_t>(bytes.size()),
                  MSG_NOSIGNAL)
        == bytes.size();
}

QByteArray SwayConnection::read(qsizetype count) const
{
    QByteArray bytes(count, Qt::Uninitialized);
    const ssize_t got =
        ::recv(m_socket.get(), bytes.data(), static_cast<size_t>(count), MSG_WAITALL);
    return got == count ? bytes : QByteArray();
}

QByteArray SwayConnection::answer() const
{
    const QByteArray header = read(kHeaderSize);
    if (!header.startsWith(QByteArray(kMagic, sizeof kMagic)))
        return {};
    quint32 size = 0;
    std::memcpy(&size, header.constData() + sizeof kMagic, sizeof size);
    return size <= kLongestAnswer ? read(size) : QByteArray();
}

QList<Failure> SwayConnection::run(const QStringList &commands)
{
    const QByteArray text = commands.join(QStringLiteral("; ")).toUtf8();
    QJsonArray outcomes;
    if (isOpen() && write(message(kRunCommand, text)))
        outcomes = QJsonDocument::fromJson(answer()).array();
    if (outcomes.isEmpty())
        m_socket = FileDescriptor(); // what came late would be taken for the next answer
    QList<Failure> failures;
    // After one that it does not understand it reads no further.
    for (qsizetype i = 0; i < commands.size(); ++i)
        failures << failureOf(outcomes.isEmpty()
                                  ? QJsonObject()
                                  : outcomes[std::min(i, outcomes.size() - 1)].toObject());
    return failures;
}

std::optional<QString> swayWord(const QString &path)
{
    QString word;
    for (const QChar character : path) {
        if (character < u' ')
            return std::nullopt; // a line break would end the command
        const bool isPlain = character.isLetterOrNumber() || character > u'\x7f'
            || QStringLiteral("/._-").contains(character);
        if (!isPlain)
            word += u'\\';
        word += character;
    }
    return word;
}

} // namespace corvella

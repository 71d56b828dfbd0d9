#include "support/RfbClient.h"

#include "support/Loopback.h"
#include "support/Waiting.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvella::test {

namespace {

constexpr qsizetype kGreetingBytes = 12; // "RFB 003.003\n"
constexpr quint32 kNoSecurity = 1;
constexpr qsizetype kPixelFormatBytes = 16;
// 32 bits a pixel, 24 used, least byte first, true colour, 8 bits each of red, green and blue.
const QByteArray kPixelFormat = QByteArray::fromHex("20 18 00 01 00ff 00ff 00ff 10 08 00 000000");
const QByteArray kSetPixelFormat = QByteArray::fromHex("00 000000");
const QByteArray kSetEncodingsToRaw = QByteArray::fromHex("02 00 0001 00000000");
const QByteArray kRequestWholeUpdate = QByteArray::fromHex("03 00 0000 0000");

template <typename Number> QByteArray bigEndian(Number number)
{
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

} // namespace

RfbClient::RfbClient(quint16 port)
{
    if (!becomes([this, port] { return connectTo(port); })) {
        ADD_FAILURE() << "nobody listens to port " << port;
        return;
    }
    const timeval patience{std::chrono::duration_cast<std::chrono::seconds>(kGenerous).count(), 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    greet();
    choosePixels();
}

bool RfbClient::connectTo(quint16 port)
{
    const sockaddr_in address = loopback(port);
    m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return true;
    ::close(std::exchange(m_socket, -1));
    return false;
}

RfbClient::~RfbClient()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

void RfbClient::greet()
{
    ASSERT_TRUE(receive(kGreetingBytes).startsWith("RFB 003."));
    send("RFB 003.003\n"); // every server speaks it, and there is nothing to negotiate
    ASSERT_EQ(receiveNumber<quint32>(), kNoSecurity);
    send(QByteArray(1, '\1')); // others may look as well
    const auto width = receiveNumber<quint16>();
    const auto height = receiveNumber<quint16>();
    m_size = QSize(width, height);
    (void)receive(kPixelFormatBytes);
    (void)receive(receiveNumber<quint32>()); // the server's name
}

void RfbClient::choosePixels()
{
    send(kSetPixelFormat + kPixelFormat);
    send(kSetEncodingsToRaw);
}

QImage RfbClient::picture()
{
    QImage image(m_size, QImage::Format_RGB32);
    image.fill(Qt::magenta);
    send(kRequestWholeUpdate + bigEndian(static_cast<quint16>(m_size.width()))
         + bigEndian(static_cast<quint16>(m_size.height())));
    return readUpdate(image) ? image : QImage();
}

bool RfbClient::readUpdate(QImage &image)
{
    constexpr quint8 kFramebufferUpdate = 0;
    if (receiveNumber<quint8>() != kFramebufferUpdate)
        return false;
    (void)receive(1);
    for (int rectangles = receiveNumber<quint16>(); rectangles > 0; --rectangles) {
        if (!readRectangle(image))
            return false;
    }
    return true;
}

bool RfbClient::readRectangle(QImage &image)
{
    const int x = receiveNumber<quint16>();
    const int y = receiveNumber<quint16>();
    const int width = receiveNumber<quint16>();
    const int height = receiveNumber<quint16>();
    constexpr quint32 kRaw = 0;
    if (receiveNumber<quint32>() != kRaw || !image.rect().contains(QRect(x, y, width, height)))
        return false;
    const qsizetype lineBytes = qsizetype(width) * 4;
    for (int line = y; line < y + height; ++line) {
        const QByteArray pixels = receive(lineBytes);
        if (pixels.size() != lineBytes)
            return false;
        std::copy(pixels.begin(), pixels.end(), image.scanLine(line) + qsizetype(x) * 4);
    }
    return true;
}

void RfbClient::movePointer(QPoint to)
{
    QByteArray message;
    QDataStream stream(&message, QIODevice::WriteOnly);
    stream << quint8(5) << quint8(0) << static_cast<quint16>(to.x())
           << static_cast<quint16>(to.y());
    send(message);
}

void RfbClient::press(quint32 key)
{
    QByteArray message;
    QDataStream stream(&message, QIODevice::WriteOnly);
    for (const bool down : {true, false})
        stream << quint8(4) << quint8(down ? 1 : 0) << quint16(0) << key;
    send(message);
}

void RfbClient::send(const QByteArray &bytes)
{
    const ssize_t sent =
        ::send(m_socket, bytes.constData(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL);
    EXPECT_EQ(sent, bytes.size());
}

QByteArray RfbClient::receive(qsizetype bytes)
{
    QByteArray received(bytes, Qt::Uninitialized);
    const ssize_t count =
        ::recv(m_socket, received.data(), static_cast<size_t>(bytes), MSG_WAITALL);
    received.truncate(std::max<ssize_t>(count, 0));
    return received;
}

template <typename Number> Number RfbClient::receiveNumber()
{
    const QByteArray bytes = receive(sizeof(Number));
    return bytes.size() == sizeof(Number) ? qFromBigEndian<Number>(bytes.constData()) : Number(~0);
}

} // namespace corvella::test

// A minimal client of the remote framebuffer protocol, as VNC servers speak it
// (https://www.rfc-editor.org/rfc/rfc6143): looks at the picture and sends input. Main thread only.
#pragma once

#include <QByteArray>
#include <QImage>

#include <cstdint>

namespace corvella::test {

class RfbClient
{
public:
    // Connects to a server on this machine that asks for no password, as soon as it listens; fails
    // the test when that does not come about.
    explicit RfbClient(quint16 port);
    ~RfbClient();
    RfbClient(const RfbClient &) = delete;
    RfbClient &operator=(const RfbClient &) = delete;

    // The whole screen as it is now; null when the server does not answer as it should.
    [[nodiscard]] QImage picture();

    void movePointer(QPoint to);
    // Presses and lets go of a key, by its X keysym.
    void press(quint32 key);

private:
    [[nodiscard]] bool connectTo(quint16 port);
    void greet();
    void choosePixels();
    // Reads the rectangles of one update into the image.
    [[nodiscard]] bool readUpdate(QImage &image);
    [[nodiscard]] bool readRectangle(QImage &image);

    void send(const QByteArray &bytes);
    // Exactly this many bytes; fewer when the server stops sending.
    [[nodiscard]] QByteArray receive(qsizetype bytes);
    template <typename Number> [[nodiscard]] Number receiveNumber();

    int m_socket = -1;
    QSize m_size;
};

} // namespace corvella::test

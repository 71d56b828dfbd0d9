// What a reader of clips that a clip has got hold of may send, message after message: a picture
// that is taken lies in its buffer and can be drawn, its times are those of a clip, and a text is
// one line that can be printed.
#include "platform/video/ReceivedFrame.h"
#include "platform/video/RgbConverter.h"

#include <algorithm>
#include <cstdlib>
#include <sys/socket.h>

namespace {

using namespace corvella;

constexpr QSize kBounds{64, 48};
constexpr size_t kBytes = 8192; // twice what such a picture takes

void require(bool isSo)
{
    if (!isSo)
        std::abort();
}

void checkText(const QString &text)
{
    require(std::all_of(text.begin(), text.end(), [](QChar c) { return c.isPrint(); }));
}

void draw(const Picture &picture)
{
    static RgbConverter converter;
    const QSize size = fittedRect(picture.displaySize, QRect(QPoint(0, 0), kBounds)).size();
    require(converter.rows(picture, size, 0, size.height()).size() == size);
}

void checkFrame(const VideoFrame &frame, const SharedPixels &buffer)
{
    for (const Plane &plane : frame.picture.planes) {
        const ptrdiff_t offset = plane.data - buffer.data();
        const ptrdiff_t bytes = ptrdiff_t{plane.bytesPerLine} * plane.size.height();
        require(offset >= 0 && bytes > 0 && offset + bytes <= ptrdiff_t{kBytes});
        require(plane.size.width() <= plane.bytesPerLine);
    }
    require(frame.picture.size().boundedTo(kBounds) == frame.picture.size());
    require(isClipTime(frame.start.count()) && isClipTime(frame.duration.count()));
    checkText(frame.brokenOff);
    draw(frame.picture);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static int sockets[2];
    static const bool isConnected = ::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, sockets) == 0;
    FileDescriptor file;
    static const std::shared_ptr<const SharedPixels> buffer = SharedPixels::make(kBytes, file);
    require(isConnected && buffer);
    MediaTime before(0);
    while (size > 0) {
        const size_t bytes = std::min(size, sizeof(ClipReply));
        require(::send(sockets[0], data, bytes, 0) == static_cast<ssize_t>(bytes));
        data += bytes;
        size -= bytes;
        const std::optional<ClipReply> reply = receiveReply(sockets[1]);
        require(reply.has_value() == (bytes == sizeof(ClipReply)));
        if (!reply)
            break;
        checkText(textIn(*reply));
        const VideoFrame frame = frameIn(*reply, kBounds, buffer);
        if (frame.picture.isNull())
            continue;
        checkFrame(frame, *buffer);
        if (comesInTime(frame, before))
            before = frame.isLastOfLap ? MediaTime(0) : frame.start;
    }
    return 0;
}

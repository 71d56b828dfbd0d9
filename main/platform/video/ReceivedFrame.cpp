#include "platform/video/ReceivedFrame.h"

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr int kLongestSide = 1 << 15;
// No time of a clip is longer, nanoseconds: a year.
constexpr int64_t kLongestTime = int64_t{366} * 86'400 * 1'000'000'000;

// Whether the plane is this large and lies within so many bytes, whole lines of it: they may be
// read with what follows their last sample.
bool fits(const ClipReply::Plane &plane, QSize size, uint64_t bytes)
{
    if (QSize(plane.width, plane.height) != size || size.isEmpty()
        || plane.bytesPerLine < size.width())
        return false;
    const uint64_t extent = uint64_t(plane.bytesPerLine) * uint64_t(size.height());
    return plane.offset <= bytes && extent <= bytes - plane.offset;
}

// Whether it is one of an enumeration's values, which count from 0.
template <typename Enumeration> bool isOneOf(Enumeration value, Enumeration last)
{
    return static_cast<int>(value) >= 0 && value <= last;
}

bool isSide(double side)
{
    return std::isfinite(side) && side > 0 && side <= 2.0 * kLongestSide;
}

} // namespace

bool isClipTime(int64_t nanoseconds)
{
    return nanoseconds >= 0 && nanoseconds <= kLongestTime;
}

bool comesInTime(const VideoFrame &frame, MediaTime before)
{
    return frame.start - before <= kLongestPicture && frame.duration <= kLongestPicture;
}

QString textIn(const ClipReply &reply)
{
    const auto end = std::find(reply.text.begin(), reply.text.end(), '\0');
    QString text = QString::fromUtf8(reply.text.data(), end - reply.text.begin()).simplified();
    std::replace_if(
        text.begin(), text.end(), [](QChar character) { return !character.isPrint(); }, u'?');
    return text;
}

VideoFrame frameIn(const ClipReply &reply, QSize bounds,
                   const std::shared_ptr<const SharedPixels> &buffer)
{
    VideoFrame frame;
    const QSize size(reply.planes[0].width, reply.planes[0].height);
    bool isSound = size.width() <= bounds.width() && size.height() <= bounds.height()
        && isOneOf(reply.matrix, ColourMatrix::bt2020) && isOneOf(reply.range, ColourRange::full)
        && isSide(reply.displayWidth) && isSide(reply.displayHeight) && isClipTime(reply.start)
        && isClipTime(reply.length);
    for (size_t i = 0; i < reply.planes.size(); ++i)
        isSound =
            isSound && fits(reply.planes[i], i == 0 ? size : chromaSize(size), buffer->bytes());
    if (!isSound)
        return frame;
    frame.picture.matrix = reply.matrix;
    frame.picture.range = reply.range;
    for (size_t i = 0; i < reply.planes.size(); ++i) {
        const ClipReply::Plane &plane = reply.planes[i];
        frame.picture.planes[i] = {buffer->data() + plane.offset, plane.bytesPerLine,
                                   QSize(plane.width, plane.height)};
    }
    frame.picture.displaySize = QSizeF(reply.displayWidth, reply.displayHeight);
    frame.picture.storage = buffer;
    frame.start = MediaTime(reply.start);
    frame.duration = MediaTime(reply.length);
    frame.isLastOfLap = reply.isLastOfLap != 0;
    frame.brokenOff = textIn(reply);
    return frame;
}

} // namespace corvella

// One clip file as pictures, lap after lap. It comes from outside and is read by intricate code, so
// a process of its own reads it, confined to that one file (see ffmpeg/Confinement.h). A clip that
// makes its reader crash, spin or eat memory is one that does not play, and no more.
// Included by this folder's sources only.
#pragma once

#include "platform/video/ClipProtocol.h"
#include "platform/video/ReaderProcess.h"
#include "platform/video/SharedPixels.h"
#include "platform/video/VideoFrame.h"

#include <array>
#include <functional>
#include <memory>
#include <stop_token>
#include <variant>

namespace corvella {

// Blocking: lives on a thread of its own. Its pictures may outlive it.
class ClipSource
{
public:
    using Opened = std::variant<std::unique_ptr<ClipSource>, ClipError>;

    // Opens a clip file. When `stop` is asked for, whatever waits here comes back at once, with an
    // error of no meaning; another thread may do that.
    [[nodiscard]] static Opened open(const QString &path, std::stop_token stop);

    // The next picture, or why there is none; after an error there are no more. The last picture of
    // a lap is followed by the first of the next.
    [[nodiscard]] std::variant<VideoFrame, ClipError> next(QSize bounds);

    // Goes back to the clip's first picture, which comes next.
    void rewind() { m_rewinds = true; }

    // The clip's length as the file announces it; 0 where it does not. A torn file still announces
    // all.
    [[nodiscard]] MediaTime announcedLength() const { return m_announcedLength; }

private:
    ClipSource(ReaderProcess reader, std::stop_token stop);

    // Sends the reader a request, with a file where one is given.
    [[nodiscard]] std::optional<ClipError> ask(const ClipRequest &request, int file = -1);
    // What it has to say next, other than for the log.
    [[nodiscard]] std::variant<ClipReply, ClipError> reply(Patience &patience);
    // Gives the reader memory for a picture.
    [[nodiscard]] bool lendBuffer(uint32_t index, uint64_t bytes);
    // A buffer whose last picture is gone; none where all are in use.
    [[nodiscard]] std::optional<uint32_t> freeBuffer() const;

    ReaderProcess m_reader;
    std::stop_callback<std::function<void()>> m_stopped;
    MediaTime m_announcedLength{0};
    // Their pictures hold them too.
    std::array<std::shared_ptr<const SharedPixels>, kMostPictureBuffers> m_buffers;
    MediaTime m_lastStart{0}; // of the lap's latest picture
    bool m_rewinds = false;
};

} // namespace corvella

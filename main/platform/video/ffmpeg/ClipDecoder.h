// Reads one clip file frame by frame, lap after lap. Blocking.
// No audio is ever opened, so a clip is muted by nature.
#pragma once

#include "platform/video/VideoFrame.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"
#include "platform/video/ffmpeg/FileInput.h"
#include "platform/video/ffmpeg/HardwareDecoder.h"

#include <chrono>
#include <memory>
#include <optional>
#include <variant>

namespace corvella {

// A frame with its place in the lap. Times are counted from the lap's first frame.
struct DecodedFrame
{
    ffmpeg::Frame frame;
    std::chrono::nanoseconds start{0};
    std::chrono::nanoseconds duration{0};
};

// The lap is over. A file that breaks off early ends its lap there; brokenOff then says what is
// missing.
struct EndOfLap
{
    QString brokenOff;
};

class ClipDecoder
{
public:
    // Pictures larger than 8K (7680 x 4320) are refused: a few frames of more would take gigabytes.
    static constexpr qint64 kMaxPixels = qint64{1} << 25;

    // Opens a clip. `hardware` must outlive the decoder. Where it does not serve, at once or later
    // on, software goes on unnoticed.
    [[nodiscard]] static std::variant<ClipDecoder, ClipError> open(FileDescriptor file,
                                                                   const HardwareDecoder &hardware);

    // The next frame of the lap, or its end, or why there is none.
    // A lap without a single frame is an error, so that a caller never loops over nothing.
    [[nodiscard]] std::variant<DecodedFrame, EndOfLap, ClipError> next();

    // Goes back to the first frame. Call it at the end of a lap or in the middle.
    // False when the file cannot be read from the start again.
    [[nodiscard]] bool rewind();

    // Pixel aspect and rotation of the stream, for frames that do not say themselves.
    [[nodiscard]] double pixelAspect(const AVFrame &frame) const;
    [[nodiscard]] int quarterTurns() const { return m_quarterTurns; }

    // The clip's length as the file announces it; 0 where it does not. A torn file still announces
    // all.
    [[nodiscard]] std::chrono::nanoseconds announcedLength() const;

private:
    ClipDecoder() = default;

    // Opens `codec`, on `hardware` or, where that is null, in software. 0 or FFmpeg's error.
    int openCodec(const AVCodec *codec, const HardwareDecoder *hardware);
    // How many bad packets in a row are borne; a device's first one is its last.
    [[nodiscard]] int patience() const;
    // Hardware has failed: software goes on after the last frame that came out. False where that
    // cannot be.
    bool goOnInSoftware();
    [[nodiscard]] std::variant<DecodedFrame, EndOfLap, ClipError> decodeNext();
    // Whether the frame came out before software took over.
    [[nodiscard]] bool wasSeen(const AVFrame &frame) const;
    [[nodiscard]] bool seekTo(int64_t timestamp);
    // Feeds the decoder one packet; false at the end of the file or when nothing more can be read.
    bool feed();
    [[nodiscard]] std::variant<DecodedFrame, EndOfLap, ClipError> endOfLap();
    [[nodiscard]] DecodedFrame timed(ffmpeg::Frame frame);

    std::unique_ptr<FileInput> m_input; // outlives m_format, which reads it
    ffmpeg::Format m_format;
    ffmpeg::Codec m_codec;
    ffmpeg::Packet m_packet;
    AVStream *m_stream = nullptr;                // owned by m_format
    const HardwareDecoder *m_hardware = nullptr; // null: software decodes
    const AVCodec *m_software = nullptr;         // FFmpeg's own
    int m_quarterTurns = 0;

    std::optional<int64_t> m_firstTimestamp; // of the lap, in stream units
    std::optional<int64_t> m_lastTimestamp;  // of the lap's latest frame, in stream units
    std::optional<int64_t> m_seenUntil;      // frames up to here have come out of hardware
    bool m_saysDecoder = false;              // with the next frame, in the log
    std::chrono::nanoseconds m_lastStart{0};
    std::chrono::nanoseconds m_lastDuration{0};
    int64_t m_packetsInLap = 0;
    int m_framesInLap = 0;
    int m_badPacketsInARow = 0;
    bool m_draining = false;
};

} // namespace corvella

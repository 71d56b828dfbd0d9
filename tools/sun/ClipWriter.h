#pragma once

#include <QImage>
#include <QString>

#include <memory>

namespace corvella::sun {

enum class ColourRange { Limited, Full };

// Unspecified leaves the stream untagged; its pixels are then converted as BT.601.
enum class ColourMatrix { Bt709, Bt601, Unspecified };

// What the file says about itself and how hard the encoder tries.
struct ClipOptions
{
    int width = 0; // pixels; odd sizes are written as 4:4:4, even ones as 4:2:0
    int height = 0;
    int framesPerSecond = 30;
    int gopSize = 60;             // frames from one key frame to the next
    int bFrames = 2;              // most B frames in a row; 0 for none
    int crf = 20;                 // x264's constant rate factor, 0 (lossless) to 51
    QByteArray preset = "medium"; // one of x264's presets
    ColourRange range = ColourRange::Limited;
    ColourMatrix matrix = ColourMatrix::Bt709;
    int rotationDegrees = 0; // clockwise turn that a player applies; a multiple of 90
    bool fastStart = true;   // the index at the front of the file, as a streaming host wants it
};

// Writes one H.264 clip in an MP4 file, a frame at a time, from one thread. The same frames and
// options give the same bytes with the same libraries. A writer that goes away before finish()
// leaves an unfinished file behind.
class ClipWriter
{
public:
    // Either a writer or the reason why there is none.
    struct Created
    {
        std::unique_ptr<ClipWriter> writer;
        QString error;
    };

    static Created create(const QString &path, const ClipOptions &options);
    ~ClipWriter();

    ClipWriter(const ClipWriter &) = delete;
    ClipWriter &operator=(const ClipWriter &) = delete;

    // The frame must have the clip's size; any format that QImage can convert to RGB888 will do.
    bool add(const QImage &frame);

    // Drains the encoder and completes the file. Nothing can be added afterwards.
    bool finish();

    // Why the last call answered false; empty when none did.
    QString errorText() const;

private:
    struct Encoder;

    explicit ClipWriter(std::unique_ptr<Encoder> encoder);
    bool fail(const char *step, int code);
    bool writeFinishedPackets();

    std::unique_ptr<Encoder> m_encoder;
    QString m_error;
};

} // namespace corvella::sun

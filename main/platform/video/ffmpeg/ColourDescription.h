// Reads how a decoded frame's colours are coded. Included by this folder's sources only.
#pragma once

#include "platform/video/Picture.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"

namespace corvella::ffmpeg {

// The frame's own matrix. Where it says none: full range is coded as in JPEG, which is BT.601 (so
// are the observatory's own browse movies, by their colour tables); limited range is BT.709 from
// 720 lines up and BT.601 below, as encoders and players have it by convention.
[[nodiscard]] ColourMatrix colourMatrix(const AVFrame &frame);

// The frame's own range; a "J" pixel format is full range by definition, untagged is limited.
[[nodiscard]] ColourRange colourRange(const AVFrame &frame);

} // namespace corvella::ffmpeg

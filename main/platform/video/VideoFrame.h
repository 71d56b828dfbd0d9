// A picture with its place in its lap, or why there is none. Times are clip time from the lap's
// first picture.
#pragma once

#include "platform/time/MediaClock.h"
#include "platform/video/Picture.h"

#include <QString>

namespace corvella {

struct VideoFrame
{
    Picture picture;
    MediaTime start{0};
    MediaTime duration{0};
    bool isLastOfLap = false;
    // With the last picture of a file that breaks off early: what is missing. Else empty.
    QString brokenOff;
};

// Nothing (more) can be played; the text says why, for the log.
struct ClipError
{
    QString text;
};

} // namespace corvella

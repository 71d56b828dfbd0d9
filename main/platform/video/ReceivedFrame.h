// What a reader says, made safe to use: a clip may have got hold of it. Included by this folder's
// sources only; any thread.
#pragma once

#include "platform/video/ClipProtocol.h"
#include "platform/video/SharedPixels.h"
#include "platform/video/VideoFrame.h"

namespace corvella {

// The picture that the reply describes, over the pixels in `buffer`; a null one where it does not
// lie in the buffer, is larger than it was asked to be or cannot be shown.
[[nodiscard]] VideoFrame frameIn(const ClipReply &reply, QSize bounds,
                                 const std::shared_ptr<const SharedPixels> &buffer);

// The reply's text as one line that can be printed.
[[nodiscard]] QString textIn(const ClipReply &reply);

// A clip shows the next picture after so much of its time at the latest; a wall would stand still.
inline constexpr MediaTime kLongestPicture = std::chrono::minutes(1);

// Whether the picture comes, and goes, soon after one that starts at `before`, or the lap's start.
[[nodiscard]] bool comesInTime(const VideoFrame &frame, MediaTime before);

// Whether a clip may have such a time in it.
[[nodiscard]] bool isClipTime(int64_t nanoseconds);

} // namespace corvella

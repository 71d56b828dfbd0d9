// One clip file as pictures, lap after lap. What reads it stands behind this interface and comes
// from a module of its own, which is loaded with the first clip: it brings 90 shared libraries and
// 17 MB along, and a program that shows no clip does without them.
// Included by this folder's sources and the module's only.
#pragma once

#include "platform/video/VideoFrame.h"

#include <atomic>
#include <memory>
#include <variant>

namespace corvella {

// Nothing can be played; the text says why, for the log.
struct ClipError
{
    QString text;
};

// Blocking: lives on a decoding thread. Its pictures may outlive it.
class ClipSource
{
public:
    virtual ~ClipSource() = default;

    // The next picture, or why there is none; after an error there are no more. The last picture of
    // a lap is followed by the first of the next.
    [[nodiscard]] virtual std::variant<VideoFrame, ClipError>
    next(const PictureRequest &request) = 0;

    // Goes back to the clip's first picture, which comes next.
    virtual void rewind() = 0;

    // The clip's length as the file announces it; 0 where it does not. A torn file still announces
    // all.
    [[nodiscard]] virtual MediaTime announcedLength() const = 0;
};

using OpenedClip = std::variant<std::unique_ptr<ClipSource>, ClipError>;

// Opens a clip file. `cancelled` is watched during slow reads and must outlive the source. The
// first call loads the module. Blocking, any decoding thread.
[[nodiscard]] OpenedClip openClip(const QString &path, const std::atomic_bool &cancelled);

} // namespace corvella

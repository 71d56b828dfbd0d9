// The module's face to the program, and the program's log behind log().
#include "log.h"
#include "platform/video/ClipModule.h"
#include "platform/video/ffmpeg/FFmpegClip.h"

namespace corvella {

namespace {

void (*s_log)(const QString &message) = nullptr; // set once, before the first clip opens

} // namespace

void log(const QString &message)
{
    s_log(message);
}

} // namespace corvella

extern "C" __attribute__((visibility("default"))) corvella::OpenClip *
corvellaClipModule(void (*log)(const QString &message))
{
    corvella::s_log = log;
    return corvella::FFmpegClip::open;
}

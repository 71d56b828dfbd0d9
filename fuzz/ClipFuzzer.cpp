// Clip files of any content: decodes up to a lap and a half of whatever is in them.
#include "platform/video/ffmpeg/FFmpegClip.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int kMostPictures = 64;

void play(const QString &path)
{
    using namespace corvella;
    const std::atomic_bool cancelled = false;
    const OpenedClip opened = FFmpegClip::open(path, cancelled);
    const auto *clip = std::get_if<std::unique_ptr<ClipSource>>(&opened);
    for (int i = 0; clip && i < kMostPictures; ++i) {
        const auto next = (*clip)->next({PixelLayout::rgb32, QSize(64, 64)});
        if (std::holds_alternative<ClipError>(next))
            return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const int file = ::memfd_create("clip", MFD_CLOEXEC);
    if (file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size))
        play(QStringLiteral("/proc/self/fd/%1").arg(file));
    ::close(file);
    return 0;
}

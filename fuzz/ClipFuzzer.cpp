// Clip files of any content: decodes up to a lap and a half of whatever is in them.
#include "platform/video/ClipDecoder.h"
#include "platform/video/PictureConverter.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int kMostPictures = 64;

void play(const QString &path)
{
    using namespace corvella;
    const std::atomic_bool cancelled = false;
    auto opened = ClipDecoder::open(path, cancelled);
    auto *clip = std::get_if<ClipDecoder>(&opened);
    if (!clip)
        return;
    PictureConverter converter;
    for (int i = 0; i < kMostPictures; ++i) {
        auto next = clip->next();
        if (auto *frame = std::get_if<DecodedFrame>(&next)) {
            (void)converter.convert(*frame->frame,
                                    {clip->pixelAspect(*frame->frame), clip->quarterTurns()},
                                    {PixelLayout::rgb32, QSize(64, 64)});
        } else if (std::holds_alternative<ClipError>(next) || !clip->rewind()) {
            return;
        }
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

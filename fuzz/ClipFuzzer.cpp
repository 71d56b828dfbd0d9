// Clip files of any content: decodes up to a lap and a half of whatever is in them.
#include "platform/video/ffmpeg/FFmpegClip.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int kMostPictures = 64;

void play(corvella::FileDescriptor file)
{
    using namespace corvella;
    const HardwareDecoder software({}, {});
    const auto onTheHeap = [](size_t bytes) {
        return std::shared_ptr<uint8_t>(static_cast<uint8_t *>(av_malloc(bytes)), av_free);
    };
    const auto opened = FFmpegClip::open(std::move(file), software, onTheHeap);
    const auto *clip = std::get_if<std::unique_ptr<FFmpegClip>>(&opened);
    for (int i = 0; clip && i < kMostPictures; ++i) {
        const auto next = (*clip)->next(QSize(64, 64));
        if (std::holds_alternative<ClipError>(next))
            return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    corvella::FileDescriptor file(::memfd_create("clip", MFD_CLOEXEC));
    if (file.isOpen() && ::write(file.get(), data, size) == static_cast<ssize_t>(size))
        play(std::move(file));
    return 0;
}

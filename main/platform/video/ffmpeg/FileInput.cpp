#include "platform/video/ffmpeg/FileInput.h"

#include <cerrno>

namespace corvella {

namespace {

constexpr int kBufferBytes = 32 * 1024; // as FFmpeg's own for files

} // namespace

FileInput::FileInput(FileDescriptor file)
    : m_file(std::move(file))
{
    auto *buffer = static_cast<uint8_t *>(av_malloc(kBufferBytes));
    if (buffer)
        m_context.reset(avio_alloc_context(buffer, kBufferBytes, 0, this, read, nullptr, seek));
    if (!m_context)
        av_free(buffer);
}

void FileInput::FreeContext::operator()(AVIOContext *context) const
{
    av_freep(&context->buffer);
    avio_context_free(&context);
}

int FileInput::read(void *self, uint8_t *bytes, int count)
{
    auto &input = *static_cast<FileInput *>(self);
    ssize_t got = -1;
    do
        got = ::pread(input.m_file.get(), bytes, static_cast<size_t>(count), input.m_position);
    while (got < 0 && errno == EINTR);
    if (got < 0)
        return AVERROR(errno);
    input.m_position += got;
    return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

int64_t FileInput::seek(void *self, int64_t offset, int origin)
{
    auto &input = *static_cast<FileInput *>(self);
    const off_t size = ::lseek(input.m_file.get(), 0, SEEK_END);
    if (size < 0)
        return AVERROR(errno);
    if ((origin & AVSEEK_SIZE) != 0)
        return size;
    switch (origin & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += input.m_position;
        break;
    case SEEK_END:
        offset += size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0)
        return AVERROR(EINVAL);
    return input.m_position = offset;
}

} // namespace corvella

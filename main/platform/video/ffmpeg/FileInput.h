// An open file as FFmpeg reads it, so that nothing is opened by its name. Included by this folder's
// sources only.
#pragma once

#include "platform/storage/FileDescriptor.h"
#include "platform/video/ffmpeg/FFmpegHandles.h"

namespace corvella {

class FileInput
{
public:
    explicit FileInput(FileDescriptor file);
    FileInput(const FileInput &) = delete;
    FileInput &operator=(const FileInput &) = delete;

    // For a format context, which must not outlive this; null where there was no memory for it.
    [[nodiscard]] AVIOContext *context() const { return m_context.get(); }

private:
    struct FreeContext
    {
        void operator()(AVIOContext *context) const;
    };
    static int read(void *self, uint8_t *bytes, int count);
    static int64_t seek(void *self, int64_t offset, int origin);

    FileDescriptor m_file;
    int64_t m_position = 0;
    std::unique_ptr<AVIOContext, FreeContext> m_context;
};

} // namespace corvella

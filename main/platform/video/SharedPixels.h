// Memory for a picture that the program and the process that reads its clip both have.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace corvella {

class SharedPixels
{
public:
    // New memory of that size, all zero, to be read here and written to by whom its file is given.
    // Nobody can change its size any more. Null where there is no memory.
    [[nodiscard]] static std::shared_ptr<const SharedPixels> make(size_t bytes,
                                                                  FileDescriptor &file);
    // The memory behind a file of make(), for writing. Null where it cannot be had.
    [[nodiscard]] static std::shared_ptr<const SharedPixels> of(const FileDescriptor &file,
                                                                size_t bytes);
    ~SharedPixels();
    SharedPixels(const SharedPixels &) = delete;
    SharedPixels &operator=(const SharedPixels &) = delete;

    // Writable only in memory that comes from of().
    [[nodiscard]] uint8_t *data() const { return m_data; }
    [[nodiscard]] size_t bytes() const { return m_bytes; }

private:
    SharedPixels(uint8_t *data, size_t bytes)
        : m_data(data)
        , m_bytes(bytes)
    {
    }
    static std::shared_ptr<const SharedPixels> map(const FileDescriptor &file, size_t bytes,
                                                   int protection);

    uint8_t *m_data;
    size_t m_bytes;
};

} // namespace corvella

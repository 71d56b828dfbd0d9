#include "platform/video/SharedPixels.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace corvella {

std::shared_ptr<const SharedPixels> SharedPixels::make(size_t bytes, FileDescriptor &file)
{
    file = FileDescriptor(::memfd_create("picture", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    // Without the seals the other side could take memory away that is being read here.
    if (!file.isOpen() || ::ftruncate(file.get(), static_cast<off_t>(bytes)) != 0
        || ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        return nullptr;
    return map(file, bytes, PROT_READ);
}

std::shared_ptr<const SharedPixels> SharedPixels::of(const FileDescriptor &file, size_t bytes)
{
    return map(file, bytes, PROT_READ | PROT_WRITE);
}

std::shared_ptr<const SharedPixels> SharedPixels::map(const FileDescriptor &file, size_t bytes,
                                                      int protection)
{
    void *data = ::mmap(nullptr, bytes, protection, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED)
        return nullptr;
    return std::shared_ptr<const SharedPixels>(
        new SharedPixels(static_cast<uint8_t *>(data), bytes));
}

SharedPixels::~SharedPixels()
{
    ::munmap(m_data, m_bytes);
}

} // namespace corvella

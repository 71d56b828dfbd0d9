// Lets no file of this process grow past a size while the object lives, as on a full disk.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace corvella::test {

class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        // The limit comes with a signal that would end the process; without it the write just
        // fails.
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limited{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_before = {};
    void (*m_handler)(int) = nullptr;
};

} // namespace corvella::test

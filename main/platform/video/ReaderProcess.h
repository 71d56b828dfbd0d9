// The process that reads one clip, and the socket to it. Readers are copies of one process that has
// everything loaded and has seen no clip, so that a new one loads nothing; it lives as long
// as any of them. Included by this folder's sources only.
#pragma once

#include "platform/storage/FileDescriptor.h"

#include <QString>

#include <memory>
#include <stop_token>
#include <sys/types.h>
#include <utility>
#include <variant>

namespace corvella {

class ReaderStarter;

// Any one thread at a time; hangUp() from any.
class ReaderProcess
{
public:
    // Starts one, or says why that is impossible. It ends with this object, and with the program,
    // whatever it is at. What takes longer than a second is given up when `stop` is asked for.
    [[nodiscard]] static std::variant<ReaderProcess, QString> start(const std::stop_token &stop);
    // Holds on to the program that readers are, so that it is this build's that is started though
    // an update has removed or replaced its file.
    static void holdProgram();
    // Starts what readers are copies of, and keeps it for as long as this is kept; null where it
    // cannot be started.
    [[nodiscard]] static std::shared_ptr<const void> loadAhead();
    ReaderProcess(ReaderProcess &&other) noexcept
        : m_starter(std::move(other.m_starter))
        , m_process(std::exchange(other.m_process, 0))
        , m_socket(std::move(other.m_socket))
    {
    }
    ~ReaderProcess();

    [[nodiscard]] int socket() const { return m_socket.get(); }
    // Ends the conversation: whoever waits for the reader is told that it has ended.
    void hangUp() const;
    // How the reader ended, once it has said no more; it is made to end if it has not.
    [[nodiscard]] QString ending();

private:
    ReaderProcess(std::shared_ptr<ReaderStarter> starter, pid_t process, FileDescriptor socket)
        : m_starter(std::move(starter))
        , m_process(process)
        , m_socket(std::move(socket))
    {
    }

    std::shared_ptr<ReaderStarter> m_starter;
    pid_t m_process; // 0: none any more
    FileDescriptor m_socket;
};

} // namespace corvella

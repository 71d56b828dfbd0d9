// What the program and the process that reads a clip for it say to each other, over sockets whose
// messages come whole. Both are built together, so the messages are plain structures; but a clip
// may have got hold of the process, so that the program takes nothing in a reply for granted.
#pragma once

#include "platform/storage/FileDescriptor.h"
#include "platform/video/Picture.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <stop_token>

namespace corvella {

// The process's end of its socket.
inline constexpr int kClipSocket = 0;
// Pictures lie in memory that both have, in one of so many buffers of the program's.
inline constexpr uint32_t kMostPictureBuffers = 8;

// Over the first socket, to the process that has seen no clip and starts those that do.
struct ReaderOrder
{
    enum class Kind : uint32_t {
        start, // comes with the new reader's socket
        end,   // `process`
    };
    Kind kind = Kind::start;
    int32_t process = 0;
};

struct ReaderAnswer
{
    int32_t process = 0;
    int32_t error = 0;  // the system's code where nothing was started
    int32_t status = 0; // of a reader that has ended, as waitpid() tells it
};

// Over a reader's own socket.
struct ClipRequest
{
    enum class Kind : uint32_t {
        open,   // comes with the clip's file
        buffer, // comes with the memory that is `buffer` from now on, of `bytes`
        next,   // a picture into `buffer`, which has `bytes`; 0 for a buffer that is still to come
    };
    Kind kind = Kind::next;
    uint32_t buffer = 0;
    uint64_t bytes = 0;
    int32_t width = 0; // pixels that the picture is to fit into
    int32_t height = 0;
    uint32_t rewinds = 0; // 1: the clip's first picture is wanted
};

struct ClipReply
{
    enum class Kind : uint32_t {
        opened,      // length
        wantsBuffer, // bytes: of a buffer for the picture in work
        picture,     // all but bytes; `text` is what is missing of a clip that breaks off
        failed,      // text: why nothing (more) comes
        said,        // text: a line for the log, unless the program has said it before
    };
    struct Plane
    {
        uint64_t offset; // in the buffer
        int32_t bytesPerLine, width, height;
    };

    Kind kind = Kind::failed;
    uint64_t bytes = 0;
    int64_t length = 0; // nanoseconds: the clip's as it announces it, or the picture's
    int64_t start = 0;  // nanoseconds
    ColourMatrix matrix = ColourMatrix::bt709;
    ColourRange range = ColourRange::limited;
    std::array<Plane, 3> planes{};
    double displayWidth = 0;
    double displayHeight = 0;
    uint32_t isLastOfLap = 0;
    std::array<char, 256> text{}; // UTF-8, filled up with zeros

    void setText(const QString &value);
};

// Sends one message, with a file where one is given. False where nobody listens any more.
[[nodiscard]] bool sendMessage(int socket, const ReaderOrder &order, int file);
[[nodiscard]] bool sendMessage(int socket, const ReaderAnswer &answer);
// Does not wait for a reader that takes none any more, which may be on purpose: false then, too.
[[nodiscard]] bool sendMessage(int socket, const ClipRequest &request, int file = -1);
[[nodiscard]] bool sendMessage(int socket, const ClipReply &reply);

// A picture takes milliseconds.
inline constexpr int kPatienceSeconds = 20;

// How long the other side is waited for, however many messages it sends meanwhile. A wait counts
// second by second, so that a machine that sleeps or a program that is stopped for a while counts
// as one of them.
class Patience
{
public:
    explicit Patience(int seconds = kPatienceSeconds)
        : m_left(std::chrono::seconds(seconds))
    {
    }

    // Waits for a message or the end. False when the other side has been at work for longer than
    // that, or for a second where it is not waited for any more.
    [[nodiscard]] bool waitForMessage(int socket, const std::stop_token &stop = {});

private:
    std::chrono::nanoseconds m_left;
};

// The next message; waits for it. nullopt at the end, and for what is no such message. What goes to
// the program comes without files: one that is sent all the same is dropped by the kernel.
[[nodiscard]] std::optional<ReaderOrder> receiveOrder(int socket, FileDescriptor &file);
[[nodiscard]] std::optional<ReaderAnswer> receiveAnswer(int socket);
[[nodiscard]] std::optional<ClipRequest> receiveRequest(int socket, FileDescriptor &file);
[[nodiscard]] std::optional<ClipReply> receiveReply(int socket);

} // namespace corvella

// Preloaded into what reads clips: stands between it and FFmpeg's decoder. Where a picture is as
// wide as HOSTILE_DECODER_WIDTH, the decoder does what HOSTILE_DECODER says, as one would that has
// met a clip made to exploit it.
#include "platform/video/ClipProtocol.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

[[noreturn]] void crash()
{
    std::raise(SIGSEGV);
    std::abort();
}

[[noreturn]] void spin()
{
    volatile bool isForEver = true;
    while (isForEver) {}
    std::abort();
}

// Takes memory until there is no more; a hundred GiB, if it gets them.
int eatMemory()
{
    constexpr size_t kPiece = size_t{64} << 20;
    for (int pieces = 0; pieces < 1600; ++pieces) {
        if (!std::malloc(kPiece))
            return AVERROR(ENOMEM);
    }
    std::abort();
}

// Tries every way out. Ends with SIGABRT where one is open.
int escape()
{
    const bool isOut = ::open("/etc/passwd", O_RDONLY) >= 0
        || ::open("/proc/self/maps", O_RDONLY) >= 0
        || ::open("/tmp/hostile-decoder", O_WRONLY | O_CREAT, 0600) >= 0
        || ::socket(AF_INET, SOCK_STREAM, 0) >= 0 || ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0
        || ::fork() >= 0 || ::kill(::getppid(), 0) == 0 || ::unlink("/tmp/hostile-decoder") == 0
        || ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS,
                  -1, 0)
            != MAP_FAILED
        || ::execl("/bin/true", "true", nullptr) == 0;
    if (isOut)
        std::abort();
    return AVERROR(EPERM);
}

void sendToProgram(void *bytes, size_t count)
{
    iovec part{bytes, count};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    (void)!::sendmsg(corvella::kClipSocket, &message, MSG_NOSIGNAL);
}

// Writes to the program what is no message of its protocol.
[[noreturn]] void babble()
{
    char nonsense[1000];
    std::memset(nonsense, 'x', sizeof nonsense);
    sendToProgram(nonsense, sizeof nonsense);
    // To end by itself now would leave it to chance whether the program is in time to end it.
    for (;;)
        ::pause();
}

// Has a word for the log every five seconds instead of a picture.
[[noreturn]] void chatter()
{
    using Clock = std::chrono::steady_clock;
    corvella::ClipReply word;
    word.kind = corvella::ClipReply::Kind::said;
    std::strcpy(word.text.data(), "word");
    for (;;) {
        sendToProgram(&word, sizeof word);
        const auto start = Clock::now();
        while (Clock::now() - start < std::chrono::seconds(5)) {} // it is not let sleep
    }
}

int misbehave(const char *how)
{
    if (std::strcmp(how, "crash") == 0)
        crash();
    if (std::strcmp(how, "spin") == 0)
        spin();
    if (std::strcmp(how, "memory") == 0)
        return eatMemory();
    if (std::strcmp(how, "escape") == 0)
        return escape();
    if (std::strcmp(how, "chatter") == 0)
        chatter();
    babble();
}

} // namespace

extern "C" int avcodec_send_packet(AVCodecContext *context, const AVPacket *packet)
{
    static const auto next =
        reinterpret_cast<decltype(&avcodec_send_packet)>(::dlsym(RTLD_NEXT, "avcodec_send_packet"));
    const char *how = std::getenv("HOSTILE_DECODER");
    const char *width = std::getenv("HOSTILE_DECODER_WIDTH");
    if (how && width && context->width == std::atoi(width))
        return misbehave(how);
    return next(context, packet);
}

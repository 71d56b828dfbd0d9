// The process that reads clips for the program. The first one only makes copies of itself, which
// costs next to nothing beside loading all that reads clips. A copy reads one clip: it is handed
// the clip's file and memory for pictures through its socket, and ends when nobody is at the other
// end any more.
#include "log.h"
#include "platform/video/ClipProtocol.h"
#include "platform/video/SharedPixels.h"
#include "platform/video/ffmpeg/Confinement.h"
#include "platform/video/ffmpeg/FFmpegClip.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <vector>

namespace corvella {

// The log is the program's.
void log(const QString &message)
{
    ClipReply reply;
    reply.kind = ClipReply::Kind::said;
    reply.setText(message);
    (void)sendMessage(kClipSocket, reply);
}

namespace {

// Where the next request's picture goes: memory of the program's, fetched when the picture is too
// large for what there is.
class PictureBuffers
{
public:
    // The request that follows is for this buffer.
    void choose(const ClipRequest &request)
    {
        m_index = request.buffer;
        if (request.bytes == 0)
            m_buffers[m_index].reset();
    }

    std::shared_ptr<uint8_t> fetch(size_t bytes)
    {
        std::shared_ptr<const SharedPixels> &buffer = m_buffers[m_index];
        if (!buffer || buffer->bytes() != bytes) {
            buffer.reset();
            ClipReply reply;
            reply.kind = ClipReply::Kind::wantsBuffer;
            reply.bytes = bytes;
            FileDescriptor file;
            const std::optional<ClipRequest> lent =
                sendMessage(kClipSocket, reply) ? receiveRequest(kClipSocket, file) : std::nullopt;
            if (!lent || lent->bytes != bytes)
                return nullptr;
            buffer = SharedPixels::of(file, bytes);
        }
        return buffer ? std::shared_ptr<uint8_t>(buffer, buffer->data()) : nullptr;
    }

    [[nodiscard]] const uint8_t *data() const { return m_buffers[m_index]->data(); }

private:
    std::array<std::shared_ptr<const SharedPixels>, kMostPictureBuffers> m_buffers;
    uint32_t m_index = 0; // below kMostPictureBuffers: the program is to be trusted
};

ClipReply failedReply(const QString &reason)
{
    ClipReply reply;
    reply.setText(reason);
    return reply;
}

ClipReply pictureReply(const VideoFrame &frame, const uint8_t *buffer)
{
    const Picture &picture = frame.picture;
    ClipReply reply;
    reply.kind = ClipReply::Kind::picture;
    reply.length = frame.duration.count();
    reply.start = frame.start.count();
    reply.matrix = picture.matrix;
    reply.range = picture.range;
    for (size_t i = 0; i < reply.planes.size(); ++i) {
        const Plane &plane = picture.planes[i];
        reply.planes[i] = {static_cast<uint64_t>(plane.data - buffer), plane.bytesPerLine,
                           plane.size.width(), plane.size.height()};
    }
    reply.displayWidth = picture.displaySize.width();
    reply.displayHeight = picture.displaySize.height();
    reply.isLastOfLap = frame.isLastOfLap ? 1 : 0;
    reply.setText(frame.brokenOff);
    return reply;
}

// Serves requests until there are no more.
void serve(FFmpegClip &clip, PictureBuffers &buffers)
{
    FileDescriptor none;
    while (const std::optional<ClipRequest> request = receiveRequest(kClipSocket, none)) {
        buffers.choose(*request);
        if (request->rewinds != 0)
            clip.rewind();
        const auto next = clip.next(QSize(request->width, request->height));
        const auto *frame = std::get_if<VideoFrame>(&next);
        const bool isSent = sendMessage(kClipSocket,
                                        frame ? pictureReply(*frame, buffers.data())
                                              : failedReply(std::get<ClipError>(next).text));
        if (!isSent || !frame)
            return;
    }
}

// A reader that hangs does not outlive who started it, and memory that is short is first taken from
// here.
void comeFirstInNeed()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const FileDescriptor order(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (order.isOpen())
        (void)!::write(order.get(), "1000", 4);
}

#ifndef CORVELLA_UNCONFINED
// Where that goes, lines could be written that look like the program's; and a terminal can be read.
void leaveTheProgramsOutput()
{
    const FileDescriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
        if (!nowhere.isOpen() || ::dup2(nowhere.get(), output) < 0)
            ::close(output);
    }
}
#endif

void readClip()
{
    comeFirstInNeed();
    const HardwareDecoder &hardware = HardwareDecoder::ofThisMachine();
#ifndef CORVELLA_UNCONFINED
    leaveTheProgramsOutput();
    if (const std::optional<QString> failure = hardware.isThere()
            ? confine(ConfinedTo::device, HardwareDecoder::filesInUse())
            : confine(ConfinedTo::memory))
        log(*failure);
#endif
    FileDescriptor file;
    if (!receiveRequest(kClipSocket, file))
        return;
    PictureBuffers buffers;
    auto opened = FFmpegClip::open(std::move(file), hardware,
                                   [&buffers](size_t bytes) { return buffers.fetch(bytes); });
    if (const auto *error = std::get_if<ClipError>(&opened)) {
        (void)sendMessage(kClipSocket, failedReply(error->text));
        return;
    }
    FFmpegClip &clip = *std::get<std::unique_ptr<FFmpegClip>>(opened);
    ClipReply reply;
    reply.kind = ClipReply::Kind::opened;
    reply.length = clip.announcedLength().count();
    if (sendMessage(kClipSocket, reply))
        serve(clip, buffers);
}

// Nothing that the program has open is inherited, and a signal that is meant for the program does
// not end what it is about to end itself.
void leaveTheProgram()
{
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_IGN);
}

// Makes a reader for this socket. Returns twice: in the reader, whose socket it is from then on,
// with nothing.
std::optional<ReaderAnswer> startReader(const FileDescriptor &socket)
{
    ReaderAnswer answer;
    if (!socket.isOpen()) { // there was no number left for it
        answer.process = -1;
        answer.error = EMFILE;
        return answer;
    }
    answer.process = ::fork();
    answer.error = answer.process < 0 ? errno : 0;
    if (answer.process != 0)
        return answer;
    // It is not to hear what is meant for who started it.
    if (::dup2(socket.get(), kClipSocket) < 0)
        ::_exit(EXIT_FAILURE);
    return std::nullopt;
}

// Waits for a reader's end a while; one that sits in the kernel is left there, and `late` from then
// on.
ReaderAnswer endReader(pid_t process, std::vector<pid_t> &late)
{
    ReaderAnswer answer;
    answer.process = process;
    const FileDescriptor end(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    ::kill(process, SIGKILL);
    pollfd ended{end.get(), POLLIN, 0};
    ::poll(&ended, 1, 1000);
    if (::waitpid(process, &answer.status, WNOHANG) == 0)
        late.push_back(process);
    return answer;
}

// Else they would be there, dead, as long as this process.
void forgetTheDead(std::vector<pid_t> &late)
{
    std::erase_if(late,
                  [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) == process; });
}

} // namespace

// Started without a socket it ends at once, and well: by that an earlier build knows, before it
// installs this one, that its libraries are there.
void run()
{
    leaveTheProgram();
    FileDescriptor socket;
    std::vector<pid_t> late;
    while (const std::optional<ReaderOrder> order = receiveOrder(kClipSocket, socket)) {
        const bool starts = order->kind == ReaderOrder::Kind::start;
        forgetTheDead(late);
        const auto answer = starts ? startReader(socket) : endReader(order->process, late);
        socket = FileDescriptor();
        if (!answer)
            return readClip();
        if (!sendMessage(kClipSocket, *answer))
            return;
    }
}

} // namespace corvella

int main(int, char **argv)
{
    // It may have been started by way of an open file, whose number would be its name.
    ::prctl(PR_SET_NAME, ::basename(argv[0]));
    corvella::run();
    return 0;
}

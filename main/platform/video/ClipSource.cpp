#include "platform/video/ClipSource.h"

#include "log.h"
#include "platform/video/ReceivedFrame.h"

#include <QFile>
#include <QSet>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>

namespace corvella {

namespace {

// No picture of a clip is larger: four planes' worth of 8K.
constexpr uint64_t kMostBytes = uint64_t{7680} * 4320 * 4 + 4096;
// What readers say is said once; they have little to say.
constexpr qsizetype kMostLines = 16;

ClipError systemError(int code)
{
    return {QString::fromLocal8Bit(std::strerror(code))};
}

ClipError noMemory()
{
    return {QStringLiteral("there is no memory for its pictures")};
}

void sayOnce(const QString &line)
{
    static std::mutex mutex;
    static QSet<QString> said; // guarded by mutex
    const std::lock_guard lock(mutex);
    if (said.contains(line) || said.size() >= kMostLines)
        return;
    said.insert(line);
    log(line);
}

std::variant<FileDescriptor, ClipError> openFile(const QString &path)
{
    FileDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        return systemError(errno);
    if (S_ISDIR(status.st_mode))
        return systemError(EISDIR);
    if (!S_ISREG(status.st_mode))
        return ClipError{QStringLiteral("not a plain file")};
    if (status.st_size == 0)
        return ClipError{QStringLiteral("the file is empty")};
    return file;
}

} // namespace

ClipSource::ClipSource(ReaderProcess reader, std::stop_token stop)
    : m_reader(std::move(reader))
    , m_stopped(std::move(stop), [this] { m_reader.hangUp(); })
{
}

ClipSource::Opened ClipSource::open(const QString &path, std::stop_token stop)
{
    auto file = openFile(path);
    if (auto *error = std::get_if<ClipError>(&file))
        return std::move(*error);
    auto reader = ReaderProcess::start(stop);
    if (const auto *reason = std::get_if<QString>(&reader))
        return ClipError{QStringLiteral("what reads clips cannot be started: ") + *reason};
    std::unique_ptr<ClipSource> clip(
        new ClipSource(std::get<ReaderProcess>(std::move(reader)), std::move(stop)));
    ClipRequest request;
    request.kind = ClipRequest::Kind::open;
    if (auto error = clip->ask(request, std::get<FileDescriptor>(file).get()))
        return std::move(*error);
    Patience patience;
    const auto opened = clip->reply(patience);
    if (const auto *error = std::get_if<ClipError>(&opened))
        return *error;
    const auto &reply = std::get<ClipReply>(opened);
    if (reply.kind != ClipReply::Kind::opened || !isClipTime(reply.length))
        return ClipError{QStringLiteral("what reads it makes no sense")};
    clip->m_announcedLength = MediaTime(reply.length);
    return clip;
}

std::variant<VideoFrame, ClipError> ClipSource::next(QSize bounds)
{
    const std::optional<uint32_t> index = freeBuffer();
    if (!index)
        return noMemory();
    std::shared_ptr<const SharedPixels> &buffer = m_buffers[*index];
    ClipRequest wanted;
    wanted.buffer = *index;
    wanted.bytes = buffer ? buffer->bytes() : 0;
    wanted.width = bounds.width();
    wanted.height = bounds.height();
    wanted.rewinds = std::exchange(m_rewinds, false) ? 1 : 0;
    if (wanted.rewinds != 0)
        m_lastStart = MediaTime(0);
    if (auto error = ask(wanted))
        return std::move(*error);
    Patience patience;
    auto answer = reply(patience);
    if (const auto *reply = std::get_if<ClipReply>(&answer);
        reply && reply->kind == ClipReply::Kind::wantsBuffer) {
        if (!lendBuffer(*index, reply->bytes))
            return noMemory();
        answer = this->reply(patience);
    }
    if (auto *error = std::get_if<ClipError>(&answer))
        return std::move(*error);
    const auto &reply = std::get<ClipReply>(answer);
    VideoFrame frame;
    if (reply.kind == ClipReply::Kind::picture && buffer)
        frame = frameIn(reply, bounds, buffer);
    if (frame.picture.isNull())
        return ClipError{QStringLiteral("what reads it makes no sense")};
    if (!comesInTime(frame, m_lastStart))
        return ClipError{QStringLiteral("a picture of it stays for more than a minute")};
    m_lastStart = frame.isLastOfLap ? MediaTime(0) : frame.start;
    return frame;
}

std::optional<ClipError> ClipSource::ask(const ClipRequest &request, int file)
{
    if (sendMessage(m_reader.socket(), request, file) || errno == EPIPE || errno == ECONNRESET)
        return std::nullopt; // one that is gone is found out about by its reply
    return ClipError{QStringLiteral("what reads it cannot be asked: ") + systemError(errno).text};
}

std::variant<ClipReply, ClipError> ClipSource::reply(Patience &patience)
{
    // What is said before a picture is little; a reader that does nothing else is not waited for.
    for (qsizetype lines = 0; lines <= kMostLines; ++lines) {
        if (!patience.waitForMessage(m_reader.socket()))
            return ClipError{QStringLiteral("what reads it does not answer")};
        const std::optional<ClipReply> reply = receiveReply(m_reader.socket());
        if (!reply)
            return ClipError{QStringLiteral("what reads it has ended: ") + m_reader.ending()};
        if (reply->kind == ClipReply::Kind::failed)
            return ClipError{textIn(*reply)};
        if (reply->kind != ClipReply::Kind::said)
            return *reply;
        sayOnce(textIn(*reply));
    }
    return ClipError{QStringLiteral("what reads it makes no sense")};
}

bool ClipSource::lendBuffer(uint32_t index, uint64_t bytes)
{
    std::shared_ptr<const SharedPixels> &buffer = m_buffers[index];
    buffer.reset();
    if (bytes == 0 || bytes > kMostBytes)
        return false;
    FileDescriptor file;
    buffer = SharedPixels::make(bytes, file);
    ClipRequest request;
    request.kind = ClipRequest::Kind::buffer;
    request.buffer = index;
    request.bytes = bytes;
    return buffer && sendMessage(m_reader.socket(), request, file.get());
}

std::optional<uint32_t> ClipSource::freeBuffer() const
{
    // One that has had a picture, if possible: its memory is warm, and the reader knows it.
    std::optional<uint32_t> unused;
    for (uint32_t i = 0; i < kMostPictureBuffers; ++i) {
        if (m_buffers[i].use_count() == 1) {
            // Whoever had the picture has done with it before the reader writes.
            std::atomic_thread_fence(std::memory_order_acquire);
            return i;
        }
        if (!m_buffers[i] && !unused)
            unused = i;
    }
    return unused;
}

} // namespace corvella

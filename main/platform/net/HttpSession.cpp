#include "platform/net/HttpSession.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace corvella {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr long kMostRedirections = 10;
constexpr long kReceiveBuffer = 1 << 17; // bytes; fewer, larger writes than with libcurl's 16 KiB
// What is read of the body of an answer that nobody wants, so that its connection can be used
// again.
constexpr qint64 kLargestUnwantedBody = 1 << 16;
// A server has no honest reason for more; libcurl keeps all of them in memory.
constexpr size_t kMostHeaderBytes = 1 << 18;
constexpr qsizetype kLongestEtag = 1 << 10;
constexpr milliseconds kCancelCheck{1000}; // cancel() wakes us earlier

struct CloseEasy
{
    void operator()(CURL *easy) const { curl_easy_cleanup(easy); }
};
struct CloseMulti
{
    void operator()(CURLM *multi) const { curl_multi_cleanup(multi); }
};
struct FreeList
{
    void operator()(curl_slist *list) const { curl_slist_free_all(list); }
};

using Easy = std::unique_ptr<CURL, CloseEasy>;
using Headers = std::unique_ptr<curl_slist, FreeList>;

// One request on its way, as libcurl's callbacks see it.
struct Transfer
{
    CURL *easy = nullptr;
    const HttpSession::Sink *sink = nullptr;
    qint64 largestBody = 0;
    qint64 from = 0;      // where the wanted part begins
    qint64 bodyBytes = 0; // seen so far; of a part, with what lies before it
    size_t headerBytes = 0;
    bool headersEnded = false; // libcurl takes a head that breaks off for a whole one
    Clock::time_point lastByte = Clock::now();
    QString complaint = {}; // ours, where libcurl only says that a callback refused
    bool sawEnough = false; // of a body that is not wanted
};

long statusOf(CURL *easy)
{
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

size_t takeHeader(const char *bytes, size_t /*one*/, size_t count, void *user)
{
    auto &transfer = *static_cast<Transfer *>(user);
    transfer.lastByte = Clock::now();
    transfer.headerBytes += count;
    const std::string_view line(bytes, count);
    if (line.starts_with("HTTP/"))
        transfer.headersEnded = false; // a further answer: after a redirection, after "continue"
    else if (line.starts_with('\r') || line.starts_with('\n'))
        transfer.headersEnded = true; // what comes after that is trailers, behind the body
    if (transfer.headerBytes <= kMostHeaderBytes)
        return count;
    transfer.complaint = QStringLiteral("too many headers");
    return 0;
}

// Whether an answer with a part has the one that was asked for.
bool beginsWhereAsked(const Transfer &transfer)
{
    curl_header *header = nullptr;
    if (curl_easy_header(transfer.easy, "Content-Range", 0, CURLH_HEADER, -1, &header) != CURLHE_OK)
        return false;
    const QByteArray begin = "bytes " + QByteArray::number(transfer.from) + '-';
    return QByteArray(header->value).startsWith(begin);
}

// Passes on what is wanted of a body's next bytes.
bool passOn(Transfer &transfer, const char *bytes, size_t count)
{
    const qint64 before = transfer.bodyBytes - qint64(count);
    const auto unwanted = size_t(std::clamp<qint64>(transfer.from - before, 0, qint64(count)));
    return unwanted == count || (*transfer.sink)(bytes + unwanted, count - unwanted);
}

size_t takeBody(const char *bytes, size_t /*one*/, size_t count, void *user)
{
    auto &transfer = *static_cast<Transfer *>(user);
    transfer.lastByte = Clock::now();
    const long status = statusOf(transfer.easy);
    if (status == 206 && transfer.from > 0 && transfer.bodyBytes == 0) {
        transfer.bodyBytes = transfer.from;
        if (!beginsWhereAsked(transfer)) {
            transfer.complaint = QStringLiteral("another part than asked for");
            return CURL_WRITEFUNC_ERROR;
        }
    }
    transfer.bodyBytes += qint64(count);
    if (status != 200 && (status != 206 || transfer.from == 0)) {
        transfer.sawEnough = transfer.bodyBytes > kLargestUnwantedBody;
        return transfer.sawEnough ? CURL_WRITEFUNC_ERROR : count;
    }
    if (transfer.bodyBytes > transfer.largestBody) {
        transfer.complaint = QStringLiteral("larger than %1 bytes").arg(transfer.largestBody);
        return CURL_WRITEFUNC_ERROR;
    }
    if (!passOn(transfer, bytes, count)) {
        transfer.complaint = QStringLiteral("its content cannot be stored");
        return CURL_WRITEFUNC_ERROR;
    }
    return count;
}

// Whether the answer says where its body ends. One that does not ends with its connection, which
// anybody between can cut: libcurl takes what came until then for all of it.
bool tellsItsEnd(CURL *easy)
{
    curl_off_t length = -1;
    curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    curl_header *inPieces = nullptr;
    return length >= 0
        || curl_easy_header(easy, "Transfer-Encoding", 0, CURLH_HEADER, -1, &inPieces) == CURLHE_OK;
}

// Nothing but a printable value of a sane length is worth sending back to a server.
bool isUsableEtag(const QByteArray &etag)
{
    return !etag.isEmpty() && etag.size() <= kLongestEtag
        && std::all_of(etag.cbegin(), etag.cend(), [](char c) { return c >= ' ' && c != 0x7f; });
}

std::optional<QByteArray> etagOf(CURL *easy)
{
    curl_header *header = nullptr;
    if (curl_easy_header(easy, "ETag", 0, CURLH_HEADER, -1, &header) != CURLHE_OK)
        return std::nullopt;
    const QByteArray etag(header->value);
    return isUsableEtag(etag) ? std::optional(etag) : std::nullopt;
}

Headers headersFor(const HttpRequest &request)
{
    if (!request.ifNoneMatch || !isUsableEtag(*request.ifNoneMatch))
        return {};
    const QByteArray line = "If-None-Match: " + *request.ifNoneMatch;
    return Headers(curl_slist_append(nullptr, line.constData()));
}

void setUp(CURL *easy, const HttpRequest &request, const Headers &headers, Transfer &transfer)
{
    curl_easy_setopt(easy, CURLOPT_URL, request.url.toUtf8().constData());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMostRedirections);
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // One transfer at a time has nothing to multiplex, and frames of 16 KiB cost both ends.
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "Corvella");
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBuffer);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
    if (request.from > 0)
        curl_easy_setopt(easy, CURLOPT_RANGE,
                         QByteArray(QByteArray::number(request.from) + '-').constData());
    if (request.compressed)
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    // libcurl knows the system's trust, but leaves the variables that change it to its callers.
    if (const QByteArray file = qgetenv("SSL_CERT_FILE"); !file.isEmpty())
        curl_easy_setopt(easy, CURLOPT_CAINFO, file.constData());
    if (const QByteArray folder = qgetenv("SSL_CERT_DIR"); !folder.isEmpty())
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder.constData());
    // The limits are kept by perform(). Of this one libcurl gives each of a host's addresses half
    // of what is left, so that one that is dead does not use up the whole silence that is allowed.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.idle.count()));
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
}

QString seconds(milliseconds time)
{
    return QString::number(static_cast<double>(time.count()) / 1000) + QStringLiteral(" s");
}

} // namespace

struct HttpSession::Pool
{
    std::unique_ptr<CURLM, CloseMulti> multi{curl_multi_init()};

    // Runs one prepared transfer: why it has no usable answer, or nothing.
    QString perform(CURL *easy, const HttpRequest &request, Transfer &transfer,
                    const std::atomic_bool &cancelled) const;
};

QString HttpSession::Pool::perform(CURL *easy, const HttpRequest &request, Transfer &transfer,
                                   const std::atomic_bool &cancelled) const
{
    QString silence = QStringLiteral("silent for ") + seconds(request.idle);
    const Clock::time_point start = Clock::now();
    while (true) {
        int running = 0;
        if (const CURLMcode code = curl_multi_perform(multi.get(), &running); code != CURLM_OK)
            return QString::fromUtf8(curl_multi_strerror(code));
        if (running == 0)
            break;
        const Clock::time_point now = Clock::now();
        const auto idleLeft =
            std::chrono::ceil<milliseconds>(transfer.lastByte + request.idle - now);
        const auto totalLeft = std::chrono::ceil<milliseconds>(start + request.total - now);
        if (cancelled) {
            // A name server may keep us no longer than the program lives.
            curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
            return QStringLiteral("cancelled");
        }
        if (totalLeft <= milliseconds(0))
            return QStringLiteral("not through after ") + seconds(request.total);
        if (idleLeft <= milliseconds(0))
            return silence;
        const milliseconds wait = std::min({idleLeft, totalLeft, kCancelCheck});
        curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(wait.count()), nullptr);
    }
    int left = 0;
    const CURLMsg *message = curl_multi_info_read(multi.get(), &left);
    const CURLcode result = message ? message->data.result : CURLE_OK;
    QString text = QString::fromUtf8(curl_easy_strerror(result));
    // Its detail would name the milliseconds it took, and no two lines of a log would be the same.
    if (result == CURLE_COULDNT_CONNECT)
        transfer.complaint = text;
    if (result == CURLE_OPERATION_TIMEDOUT) // by its own clock, a moment before ours
        transfer.complaint = silence;
    if (result != CURLE_OK)
        return text;
    if (!transfer.headersEnded)
        return QStringLiteral("breaks off in its headers");
    const long status = statusOf(easy);
    if ((status == 200 || status == 206) && !tellsItsEnd(easy))
        return QStringLiteral("does not say where it ends");
    return {};
}

HttpSession::HttpSession() = default;
HttpSession::~HttpSession() = default;

HttpAnswer HttpSession::get(const HttpRequest &request, const Sink &sink)
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });

    const std::lock_guard turn(m_turn);
    {
        const std::lock_guard making(m_poolMade);
        if (m_cancelled)
            return {.reason = QStringLiteral("cancelled")};
        if (!m_pool)
            m_pool = std::make_unique<Pool>();
    }
    const Easy easy(curl_easy_init());
    const Headers headers = headersFor(request);
    if (!easy || !m_pool->multi)
        return {.reason = QStringLiteral("out of memory")};

    Transfer transfer{.easy = easy.get(),
                      .sink = &sink,
                      .largestBody = request.largestBody,
                      .from = request.from};
    std::array<char, CURL_ERROR_SIZE> detail = {};
    curl_easy_setopt(easy.get(), CURLOPT_ERRORBUFFER, detail.data());
    setUp(easy.get(), request, headers, transfer);
    curl_multi_add_handle(m_pool->multi.get(), easy.get());
    const QString failure = m_pool->perform(easy.get(), request, transfer, m_cancelled);

    HttpAnswer answer;
    if (failure.isEmpty() || transfer.sawEnough) {
        answer.status = static_cast<int>(statusOf(easy.get()));
        answer.etag = etagOf(easy.get());
    } else if (!transfer.complaint.isEmpty()) {
        answer.reason = transfer.complaint;
    } else {
        answer.reason = detail[0] ? QString::fromUtf8(detail.data()) : failure;
    }
    curl_multi_remove_handle(m_pool->multi.get(), easy.get());
    return answer;
}

void HttpSession::cancel()
{
    const std::lock_guard making(m_poolMade);
    m_cancelled = true;
    if (m_pool)
        curl_multi_wakeup(m_pool->multi.get());
}

} // namespace corvella

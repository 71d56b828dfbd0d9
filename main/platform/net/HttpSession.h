// HTTPS GET for threads that can wait. One session keeps its connections open between requests; it
// knows no proxy, no cookies and no cache, and trusts whom the system trusts (SSL_CERT_FILE and
// SSL_CERT_DIR choose another trust, as for other programs). Logs nothing.
#pragma once

#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace corvella {

struct HttpRequest
{
    QString url; // https only
    // The entity tag of what the caller has: the server answers 304 when it is still that.
    std::optional<QByteArray> ifNoneMatch = {};
    bool compressed = false; // let the server compress on the way; worth it for text
    // The longest silence: until the first byte comes, and between two.
    std::chrono::milliseconds idle{20'000};
    // The longest time for all of it.
    std::chrono::milliseconds total{600'000};
    qint64 largestBody = 0; // bytes, unpacked; a longer one is a failure
    // The first byte that is wanted: a download that broke off goes on there. A server that cannot
    // begin there sends all, and what comes before is passed over.
    qint64 from = 0;
};

struct HttpAnswer
{
    // The status after all redirections; 0 when there is no usable answer: none at all, one that
    // breaks off or could, takes too long or is too large.
    int status = 0;
    std::optional<QByteArray> etag = {};
    QString reason = {}; // why there is no usable answer, for a log line; empty otherwise
};

class HttpSession
{
public:
    // Takes a part of the body of a 200 or, where one was asked for, a 206 answer; false ends the
    // request as a failure. Called on the thread of the request, between its begin and its end.
    using Sink = std::function<bool(const char *bytes, size_t count)>;

    HttpSession(); // opens no connection
    ~HttpSession();
    HttpSession(const HttpSession &) = delete;
    HttpSession &operator=(const HttpSession &) = delete;

    // Blocks until the answer is there or a limit is reached. Follows at most 10 redirections, to
    // https only. Any thread; requests of several threads take turns. A name server that is silent
    // may hold it beyond the limits for as long as the system's resolver waits.
    [[nodiscard]] HttpAnswer get(const HttpRequest &request, const Sink &sink);

    // Ends the request under way and fails all later ones at once. For the program's end; any
    // thread.
    void cancel();
    [[nodiscard]] bool isCancelled() const { return m_cancelled; }

private:
    struct Pool;

    std::mutex m_turn;
    std::unique_ptr<Pool> m_pool; // made by the first request
    std::mutex m_poolMade;        // guards the pointer against cancel()
    std::atomic_bool m_cancelled = false;
};

} // namespace corvella

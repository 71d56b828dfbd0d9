// Work that would hold a thread up: it is done beside that one, and what comes of it is told there.
// Every call but tell() is for the thread that made the object. Jobs begin in the order in which
// they were given. Ending the object waits for all of them; what is still to be told then is not
// told any more.
//
// Threads are our own, and stay as long as the object: processes that a job starts may be tied to
// the thread that started them.
#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvella {

class BackgroundWork : public QObject
{
    Q_OBJECT

public:
    using Job = std::function<void()>;

    // Does so many jobs at once at most. A thread is started when a job needs it; where the system
    // has none at all, it is asked again each second.
    explicit BackgroundWork(size_t mostAtOnce);
    ~BackgroundWork() override;

    void start(Job job);

    // Does `work` and then tells `finished` its result.
    template <typename Work, typename Finished> void run(Work work, Finished finished)
    {
        start([this, work = std::move(work), finished = std::move(finished)]() mutable {
            tell([finished = std::move(finished), result = work()] { finished(result); });
        });
    }

    // From a job: runs `message` on the thread of this object, in the order of the calls. A message
    // may end the object.
    void tell(Job message);

    // Waits until all jobs are done; with a limit, false when that takes longer. Jobs for which the
    // system has no thread even now are not waited for.
    void finish();
    [[nodiscard]] bool finish(std::chrono::milliseconds within);

private:
    void startThread();
    void startMissingThread();
    void work(); // the life of a thread
    void passOn();
    [[nodiscard]] bool isDone() const
    {
        return (m_jobs.empty() || m_threads.empty()) && m_resting == m_threads.size();
    }

    const size_t m_mostAtOnce;
    std::vector<std::thread> m_threads;
    bool m_lacksThread = false; // the last one asked for could not be had
    QTimer m_nextTry;

    std::mutex m_mutex; // guards what follows
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;     // that have not begun
    std::deque<Job> m_messages; // that are still to be told
    size_t m_resting = 0;       // threads without a job
    bool m_ends = false;
};

} // namespace corvella

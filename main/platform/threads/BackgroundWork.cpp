#include "platform/threads/BackgroundWork.h"

#include "log.h"

#include <system_error>
#include <utility>

namespace corvella {

namespace {

constexpr std::chrono::seconds kNextTry{1};

} // namespace

BackgroundWork::BackgroundWork(size_t mostAtOnce)
    : m_mostAtOnce(mostAtOnce)
{
    m_nextTry.setSingleShot(true);
    m_nextTry.setInterval(kNextTry);
    connect(&m_nextTry, &QTimer::timeout, this, &BackgroundWork::startMissingThread);
}

BackgroundWork::~BackgroundWork()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void BackgroundWork::start(Job job)
{
    {
        const std::lock_guard lock(m_mutex);
        m_jobs.push_back(std::move(job));
        if (m_resting < m_jobs.size() && m_threads.size() < m_mostAtOnce)
            startThread();
    }
    m_changed.notify_all();
}

void BackgroundWork::startThread()
{
    try {
        m_threads.emplace_back(&BackgroundWork::work, this);
        m_lacksThread = false;
    } catch (const std::system_error &error) {
        if (!std::exchange(m_lacksThread, true))
            log(QStringLiteral("background: no thread (%1)")
                    .arg(QString::fromLocal8Bit(error.what())));
        // Another thread does the job, or the next that can be started.
        if (m_threads.empty())
            m_nextTry.start();
    }
}

// None could be started when its job was given.
void BackgroundWork::startMissingThread()
{
    const std::lock_guard lock(m_mutex);
    if (!m_jobs.empty() && m_threads.empty())
        startThread();
}

void BackgroundWork::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        ++m_resting;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_ends || !m_jobs.empty(); });
        --m_resting;
        if (m_jobs.empty())
            return;
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr; // what it holds goes before it counts as done
        lock.lock();
    }
}

void BackgroundWork::tell(Job message)
{
    {
        const std::lock_guard lock(m_mutex);
        m_messages.push_back(std::move(message));
    }
    QMetaObject::invokeMethod(this, &BackgroundWork::passOn, Qt::QueuedConnection);
}

void BackgroundWork::passOn()
{
    Job message;
    {
        const std::lock_guard lock(m_mutex);
        message = std::move(m_messages.front());
        m_messages.pop_front();
    }
    message(); // which may have ended this
}

void BackgroundWork::finish()
{
    startMissingThread();
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return isDone(); });
}

bool BackgroundWork::finish(std::chrono::milliseconds within)
{
    startMissingThread();
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, within, [this] { return isDone(); });
}

} // namespace corvella

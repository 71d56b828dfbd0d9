#include "platform/time/WorkQueue.h"

#include <QPointer>

#include <algorithm>

namespace corvella {

using std::chrono::milliseconds;

// A timer takes no more than 24.8 days.
constexpr MediaTime kLongestWait = std::chrono::hours(24);

WorkQueue::WorkQueue(const MediaClock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &WorkQueue::advance);
}

WorkItem WorkQueue::after(MediaTime delay, std::function<void()> work)
{
    auto pending = std::make_shared<bool>(true);
    const MediaTime due = now() + delay;
    const auto later = [](MediaTime moment, const Entry &entry) { return moment < entry.due; };
    m_entries.insert(std::upper_bound(m_entries.begin(), m_entries.end(), due, later),
                     Entry{due, pending, std::move(work)});
    wakeForNext();
    return WorkItem(std::move(pending));
}

void WorkQueue::advance()
{
    const QPointer<WorkQueue> self(this);
    while (self && !m_entries.empty() && m_entries.front().due <= now()) {
        const Entry entry = std::move(m_entries.front());
        m_entries.erase(m_entries.begin());
        if (const std::shared_ptr<bool> pending = entry.pending.lock()) {
            *pending = false;
            entry.work();
        }
    }
    if (self)
        wakeForNext();
}

void WorkQueue::wakeForNext()
{
    std::erase_if(m_entries, [](const Entry &entry) { return entry.pending.expired(); });
    if (m_entries.empty())
        return m_timer.stop();
    const MediaTime wait = std::clamp(m_entries.front().due - now(), MediaTime(0), kLongestWait);
    m_timer.start(std::chrono::ceil<milliseconds>(wait));
}

} // namespace corvella

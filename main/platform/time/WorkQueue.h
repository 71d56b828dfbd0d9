// Delayed work on the main thread, by the media clock. A timer wakes the queue at the right moment;
// a test sets the clock and calls advance().
#pragma once

#include "platform/time/MediaClock.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace corvella {

// One piece of delayed work. Letting it go (or overwriting it) cancels it; after it has run it is
// inert.
class WorkItem
{
public:
    WorkItem() = default;
    [[nodiscard]] bool isPending() const { return m_state && *m_state; }
    void cancel() { m_state.reset(); }

private:
    friend class WorkQueue;
    explicit WorkItem(std::shared_ptr<bool> pending)
        : m_state(std::move(pending))
    {
    }
    std::shared_ptr<bool> m_state;
};

class WorkQueue : public QObject
{
    Q_OBJECT

public:
    // The clock must outlive the queue.
    explicit WorkQueue(const MediaClock &clock, QObject *parent = nullptr);

    [[nodiscard]] MediaTime now() const { return m_clock.now(); }

    // Runs `work` once, `delay` from now, never before this call returns. Work of one moment runs
    // in the order in which it was asked for. Dropped when the item or the queue goes first.
    [[nodiscard]] WorkItem after(MediaTime delay, std::function<void()> work);

    // Runs what is due. Called by the timer, and by tests.
    void advance();

private:
    struct Entry
    {
        MediaTime due;
        std::weak_ptr<bool> pending; // expired: cancelled
        std::function<void()> work;
    };

    void wakeForNext();

    const MediaClock &m_clock;
    QTimer m_timer;
    std::vector<Entry> m_entries; // by due time, then by order of arrival
};

} // namespace corvella

// Work that would hold the main thread up: it runs beside it, and what comes of it is told on the
// main thread. Main thread only. Whoever ends this while work is under way waits for its end, so
// that nothing of it reaches what is gone; what is still to be told then is not told any more.
#pragma once

#include <QObject>
#include <QThreadPool>

#include <functional>

namespace corvella {

class BackgroundWork : public QObject
{
    Q_OBJECT

public:
    BackgroundWork() { m_threads.setMaxThreadCount(kMostAtOnce); }
    ~BackgroundWork() override { m_threads.waitForDone(); }

    // Runs `work` on another thread and then `finished` with its result on the main thread.
    template <typename Work, typename Finished> void run(Work work, Finished finished)
    {
        m_threads.start([this, work = std::move(work), finished = std::move(finished)] {
            tell([finished, result = work()] { finished(result); });
        });
    }

    // From a work's own thread: runs `message` on the main thread, in the order of the calls.
    void tell(const std::function<void()> &message)
    {
        QMetaObject::invokeMethod(this, message, Qt::QueuedConnection);
    }

private:
    // Downloads wait for each other; what reads the disk need not wait for them.
    static constexpr int kMostAtOnce = 8;

    QThreadPool m_threads;
};

} // namespace corvella

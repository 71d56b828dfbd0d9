#include "platform/time/WorkQueue.h"

#include "support/ManualMediaClock.h"
#include "support/Waiting.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

class WorkQueueTest : public testing::Test
{
protected:
    std::function<void()> note(const QString &text)
    {
        return [this, text] { m_done << text; };
    }

    test::ManualMediaClock m_clock;
    WorkQueue m_queue{m_clock};
    QStringList m_done;
};

TEST_F(WorkQueueTest, WorkRunsWhenItIsDueAndNotBefore)
{
    const WorkItem item = m_queue.after(5s, note(QStringLiteral("a")));
    m_clock.advance(5s - 1ns);
    m_queue.advance();
    EXPECT_TRUE(m_done.isEmpty());
    EXPECT_TRUE(item.isPending());
    m_clock.advance(1ns);
    m_queue.advance();
    EXPECT_EQ(m_done, QStringList{QStringLiteral("a")});
    EXPECT_FALSE(item.isPending());
    m_queue.advance();
    EXPECT_EQ(m_done.size(), 1);
}

TEST_F(WorkQueueTest, WorkIsWaitedForLongerThanATimerCan)
{
    static int complaints;
    complaints = 0;
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &) { ++complaints; });
    const WorkItem item = m_queue.after(24h * 30, note(QStringLiteral("a")));
    qInstallMessageHandler(before);
    EXPECT_EQ(complaints, 0) << "of the timer";
    m_clock.advance(24h * 30 - 1ns);
    m_queue.advance();
    EXPECT_TRUE(item.isPending());
    m_clock.advance(1ns);
    m_queue.advance();
    EXPECT_EQ(m_done.size(), 1);
}

TEST_F(WorkQueueTest, WorkRunsInTheOrderOfItsTimesThenOfItsAsking)
{
    const WorkItem late = m_queue.after(2s, note(QStringLiteral("late")));
    const WorkItem first = m_queue.after(1s, note(QStringLiteral("first")));
    const WorkItem second = m_queue.after(1s, note(QStringLiteral("second")));
    m_clock.advance(3s);
    m_queue.advance();
    EXPECT_EQ(m_done.join(u','), QStringLiteral("first,second,late"));
}

TEST_F(WorkQueueTest, WhatIsLetGoDoesNotRun)
{
    WorkItem item = m_queue.after(1s, note(QStringLiteral("cancelled")));
    WorkItem replaced = m_queue.after(1s, note(QStringLiteral("replaced")));
    item.cancel();
    replaced = m_queue.after(2s, note(QStringLiteral("replacement")));
    m_clock.advance(3s);
    m_queue.advance();
    EXPECT_EQ(m_done, QStringList{QStringLiteral("replacement")});
}

TEST_F(WorkQueueTest, WorkMayAskForMoreWork)
{
    WorkItem inner;
    const WorkItem outer =
        m_queue.after(1s, [&] { inner = m_queue.after(0s, note(QStringLiteral("inner"))); });
    m_clock.advance(1s);
    m_queue.advance();
    EXPECT_EQ(m_done, QStringList{QStringLiteral("inner")});
}

TEST(WorkQueue, WakesByItselfOnARealClock)
{
    const SteadyMediaClock clock;
    WorkQueue queue(clock);
    bool done = false;
    const WorkItem item = queue.after(20ms, [&] { done = true; });
    EXPECT_FALSE(done);
    EXPECT_TRUE(test::becomes([&] { return done; }));
}

} // namespace
} // namespace corvella

#include "platform/video/PlaybackSchedule.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;

TEST(PlaybackSchedule, HalfSpeedDoublesEveryInterval)
{
    PlaybackSchedule schedule(0.5);
    schedule.anchor(10s);
    EXPECT_EQ(schedule.due(0s), 10s);
    EXPECT_EQ(schedule.due(100ms), 10s + 200ms);
}

TEST(PlaybackSchedule, NextLapBeginsWhereThisOneEnds)
{
    PlaybackSchedule schedule(0.5);
    schedule.anchor(10s);
    schedule.nextLap(4s);
    EXPECT_EQ(schedule.due(0s), 18s);
}

TEST(PlaybackSchedule, ALapTakesHalfASecondAtLeast)
{
    PlaybackSchedule schedule(0.5);
    schedule.anchor(10s);
    EXPECT_EQ(schedule.lapEnd(300ms), 10s + 600ms);
    EXPECT_EQ(schedule.lapEnd(0s), 10s + 500ms);
    schedule.nextLap(1ms);
    EXPECT_EQ(schedule.due(0s), 10s + 500ms);
}

TEST(PlaybackSchedule, TimeStandsStillWhilePaused)
{
    PlaybackSchedule schedule(1.0);
    schedule.anchor(10s);
    schedule.pause(11s);
    schedule.resume(31s);
    EXPECT_EQ(schedule.due(2s), 32s);
}

TEST(PlaybackSchedule, ASecondLateIsCaughtUpWith)
{
    PlaybackSchedule schedule(1.0);
    schedule.anchor(10s);
    schedule.reanchorIfOverdue(1s, 12s);
    EXPECT_EQ(schedule.due(1s), 11s);
}

TEST(PlaybackSchedule, AfterSuspendItGoesOnFromWhereItWas)
{
    PlaybackSchedule schedule(0.5);
    schedule.anchor(10s);
    schedule.reanchorIfOverdue(1s, 3600s);
    EXPECT_EQ(schedule.due(1s), 3600s);
    EXPECT_EQ(schedule.due(2s), 3602s);
}

} // namespace
} // namespace corvella

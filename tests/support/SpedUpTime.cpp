#include "support/SpedUpTime.h"

#include "support/ProgramUnderTest.h"
#include "support/SpedUpClockPage.h"

#include <QFile>

#include <gtest/gtest.h>

#include <new>
#include <sys/mman.h>

namespace corvella::test {

namespace {

template <typename Clock> std::int64_t nanosecondsNow()
{
    return std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
}

} // namespace

SpedUpTime::SpedUpTime(int speed)
{
    QFile shared(file());
    EXPECT_TRUE(shared.open(QIODevice::ReadWrite) && shared.resize(sizeof(SpedUpClockPage)));
    void *mapped = ::mmap(nullptr, sizeof(SpedUpClockPage), PROT_READ | PROT_WRITE, MAP_SHARED,
                          shared.handle(), 0);
    if (mapped == MAP_FAILED)
        qFatal("the clock cannot be shared");
    m_page = new (mapped) SpedUpClockPage{speed,
                                          nanosecondsNow<std::chrono::steady_clock>(),
                                          nanosecondsNow<std::chrono::system_clock>(),
                                          {0},
                                          {0},
                                          {0}};
}

SpedUpTime::~SpedUpTime()
{
    ::munmap(m_page, sizeof(SpedUpClockPage));
}

QString SpedUpTime::file() const
{
    return m_folder.filePath(QStringLiteral("clock"));
}

void SpedUpTime::take(ProgramUnderTest &program) const
{
    program.setVariable(QStringLiteral("SPED_UP_CLOCK"), file());
    program.setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(CORVELLA_SPED_UP_CLOCK));
}

void SpedUpTime::skip(std::chrono::nanoseconds time)
{
    m_page->skipped += time.count();
}

void SpedUpTime::setClockOff(std::chrono::nanoseconds by)
{
    m_page->set = by.count();
}

QDateTime SpedUpTime::now() const
{
    const std::int64_t real = nanosecondsNow<std::chrono::system_clock>();
    const std::int64_t start = m_page->realtimeStart;
    const std::int64_t there = start + (real - start) * m_page->speed + m_page->skipped;
    return QDateTime::fromMSecsSinceEpoch(there / 1'000'000, Qt::UTC);
}

qint64 SpedUpTime::waits() const
{
    return m_page->waits;
}

} // namespace corvella::test

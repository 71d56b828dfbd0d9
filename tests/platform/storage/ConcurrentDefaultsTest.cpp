#include "platform/storage/UserDefaults.h"
#include "support/TemporaryHome.h"

#include <QProcess>

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace corvella {
namespace {

constexpr int kWriters = 4;
constexpr int kWritesEach = 500;

// Settings in memory: the proof is about locks and whole files, and thousands of flushes would take
// a busy disk a minute.
class HomeInMemory
{
public:
    HomeInMemory() { qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_config.path())); }

private:
    test::TemporaryHome m_home;
    QTemporaryDir m_config{QStringLiteral("/dev/shm/corvella-XXXXXX")};
};

QString prefix(int writer)
{
    return QString(QChar(u'a' + writer)) + u'-';
}

void expectEveryWrite(const UserDefaults &defaults)
{
    const QJsonObject values = defaults.values();
    EXPECT_EQ(values.size(), kWriters * kWritesEach);
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int i = 0; i < kWritesEach; ++i)
            EXPECT_EQ(values.value(prefix(writer) + QString::number(i)).toInt(-1), i);
    }
}

// Looks until it is told to stop; the number of looks that found anything but a whole file that had
// not shrunk.
int countTornReads(const QString &path, const std::atomic<bool> &stop)
{
    int torn = 0;
    qsizetype seen = 0;
    while (!stop) {
        const BoundedRead read = readBounded(path, kLargestDefaultsBytes);
        if (read.status == ReadStatus::missing && seen == 0)
            continue;
        const std::optional<QJsonObject> settings = parseDefaults(read.bytes);
        if (!settings || settings->size() < seen)
            ++torn;
        seen = settings ? settings->size() : seen;
    }
    return torn;
}

TEST(ConcurrentDefaults, LosesNothingOfFourProcessesAndShowsOnlyWholeFiles)
{
    const HomeInMemory home;
    const UserDefaults defaults(QStringLiteral("shared"));
    std::array<QProcess, kWriters> processes;
    for (int writer = 0; writer < kWriters; ++writer) {
        processes[size_t(writer)].start(
            QStringLiteral(DEFAULTS_WRITER),
            {QStringLiteral("shared"), prefix(writer), QString::number(kWritesEach)});
    }
    std::atomic<bool> stop = false;
    int torn = -1;
    std::thread reader([&] { torn = countTornReads(defaults.filePath(), stop); });
    for (QProcess &process : processes) {
        EXPECT_TRUE(process.waitForFinished(100'000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0);
    }
    stop = true;
    reader.join();

    EXPECT_EQ(torn, 0);
    expectEveryWrite(defaults);
}

TEST(ConcurrentDefaults, LosesNothingOfFourThreadsThatShareTheStore)
{
    const HomeInMemory home;
    UserDefaults defaults(QStringLiteral("shared"));
    std::vector<std::thread> writers;
    writers.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([&defaults, writer] {
            for (int i = 0; i < kWritesEach; ++i) {
                const QString key = prefix(writer) + QString::number(i);
                defaults.setInteger(key, i);
                EXPECT_EQ(defaults.integer(key), i);
            }
        });
    }
    for (std::thread &writer : writers)
        writer.join();

    expectEveryWrite(defaults);
}

TEST(ConcurrentDefaults, SeesItsOwnWriteAtOnceWhileOthersWrite)
{
    const HomeInMemory home;
    QProcess other;
    other.start(QStringLiteral(DEFAULTS_WRITER),
                {QStringLiteral("shared"), QStringLiteral("other-"), QStringLiteral("100")});
    UserDefaults defaults(QStringLiteral("shared"));
    for (int i = 0; i < 100; ++i) {
        defaults.setInteger(QStringLiteral("mine"), i);
        EXPECT_EQ(defaults.integer(QStringLiteral("mine")), i);
    }
    EXPECT_TRUE(other.waitForFinished(100'000));
    EXPECT_EQ(defaults.values().size(), 101);
}

} // namespace
} // namespace corvella

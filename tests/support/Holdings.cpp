#include "support/Holdings.h"

#include "support/PrivateBus.h"
#include "support/Processes.h"
#include "support/XServer.h"

#include <QDir>

#include <gtest/gtest.h>

#include <numeric>

namespace corvella::test {

namespace {

QString folderOf(qint64 process)
{
    return QStringLiteral("/proc/%1").arg(process);
}

int entries(const QString &folder)
{
    return static_cast<int>(
        QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

// Memory that a process has written to, wherever it lies now: what it shares with others of the
// same libraries is not its own, and comes and goes with them.
double ownMemory(qint64 process)
{
    double kibibytes = 0;
    for (const QByteArray &line : procFile(process, QStringLiteral("smaps_rollup")).split('\n')) {
        if (line.startsWith("Anonymous:") || line.startsWith("SwapPss:"))
            kibibytes += line.simplified().split(' ').value(1).toDouble();
    }
    EXPECT_GT(kibibytes, 0);
    return kibibytes;
}

} // namespace

Holdings holdingsOf(qint64 process)
{
    return {
        {QStringLiteral("memory, KiB"), ownMemory(process)},
        {QStringLiteral("file descriptors"), entries(folderOf(process) + QStringLiteral("/fd"))},
        {QStringLiteral("threads"), entries(folderOf(process) + QStringLiteral("/task"))},
        {QStringLiteral("mappings"),
         static_cast<double>(procFile(process, QStringLiteral("maps")).count('\n'))},
    };
}

Holdings holdingsOf(qint64 process, const XServer &server, const PrivateBus &bus)
{
    Holdings holdings = holdingsOf(process);
    holdings.insert(QStringLiteral("X server's memory, KiB"), ownMemory(server.id()));
    holdings.insert(QStringLiteral("D-Bus matches"), bus.matchRules());
    const ClipReaderProcesses clips = clipReadersOf(process);
    EXPECT_EQ(clips.starters.size(), 1);
    holdings[QStringLiteral("clip readers")] = static_cast<double>(clips.readers.size());
    holdings[QStringLiteral("memory of what starts them, KiB")] =
        clips.starters.isEmpty() ? 0 : ownMemory(clips.starters[0]);
    QMap<QString, double> inServer = server.client().heldBy(process);
    EXPECT_GT(inServer.value(QStringLiteral("WINDOW")), 0);
    const double windows = inServer.take(QStringLiteral("WINDOW"));
    const double pixmaps = inServer.take(QStringLiteral("PIXMAP"));
    const double bytes = inServer.take(XClient::kPixmapBytes);
    const double others = std::accumulate(inServer.cbegin(), inServer.cend(), 0.0);
    holdings.insert(QStringLiteral("X windows"), windows);
    holdings.insert(QStringLiteral("X pixmaps"), pixmaps);
    holdings.insert(QStringLiteral("X pixmaps' memory, KiB"), bytes / 1024);
    holdings.insert(QStringLiteral("other X resources"), others);
    return holdings;
}

double resolutionOf(const QString &holding)
{
    constexpr double kPage = 4; // KiB
    return holding.contains(QStringLiteral("memory")) ? kPage : 0;
}

} // namespace corvella::test

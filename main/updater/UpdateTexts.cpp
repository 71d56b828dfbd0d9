#include "updater/UpdateTexts.h"

namespace corvella::UpdateTexts {

QString sentence(UpdateFault fault)
{
    switch (fault) {
    case UpdateFault::none:
    case UpdateFault::notDue:
    case UpdateFault::cancelled:
        return {};
    case UpdateFault::unreachable:
        return QStringLiteral("The update server cannot be reached. Corvella tries again later, "
                              "and goes on where a download broke off.");
    case UpdateFault::feedNotTrusted:
        return QStringLiteral("The list of updates does not come from the makers of Corvella, so "
                              "it was not used.");
    case UpdateFault::feedOlder:
        return QStringLiteral("The update server sent an older list of updates than the last time, "
                              "so it was not used.");
    case UpdateFault::feedExpired:
        return QStringLiteral("The list of updates is out of date, so it was not used. If the date "
                              "of this computer is wrong, set it right.");
    case UpdateFault::clockWrong:
        return QStringLiteral("The list of updates is from the future. Set the date of this "
                              "computer right.");
    case UpdateFault::bundleNotTrusted:
        return QStringLiteral("The download is damaged or does not come from the makers of "
                              "Corvella, so it was thrown away.");
    case UpdateFault::noSpace:
        return QStringLiteral("There is not enough room on the disk for the update.");
    case UpdateFault::cannotWrite:
        return QStringLiteral("Corvella cannot change the folder that it is installed in, so it "
                              "stays as it is.");
    case UpdateFault::doesNotRun:
        return QStringLiteral("The new version does not work on this computer, so the old one "
                              "stays.");
    case UpdateFault::busy:
        return QStringLiteral("Another copy of Corvella is updating at this moment.");
    case UpdateFault::superseded:
        return QStringLiteral("A newer version is installed already. It starts when Corvella is "
                              "opened the next time.");
    case UpdateFault::packageManager:
        return QStringLiteral("This copy of Corvella belongs to the system's package manager, "
                              "which keeps it current.");
    case UpdateFault::loose:
        return QStringLiteral("This copy of Corvella was not installed from an update bundle, so "
                              "it cannot replace itself.");
    case UpdateFault::noKey:
        return QStringLiteral("This copy of Corvella was built without updates.");
    }
    return {};
}

QString progress(qint64 doneBytes, qint64 totalBytes)
{
    constexpr double kMegabyte = 1e6;
    const auto megabytes = [](qint64 bytes) {
        return QString::number(static_cast<double>(bytes) / kMegabyte, 'f', 1);
    };
    return QStringLiteral("%1 of %2 MB").arg(megabytes(doneBytes), megabytes(totalBytes));
}

} // namespace corvella::UpdateTexts

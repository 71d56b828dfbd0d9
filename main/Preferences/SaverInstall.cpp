#include "Preferences/SaverInstall.h"

#include "log.h"
#include "platform/session/RunningPrograms.h"
#include "platform/session/SaverHost.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/FolderCopy.h"
#include "platform/storage/StandardFolders.h"

#include <QFileInfo>
#include <QXmlStreamReader>

namespace corvella {

namespace {

constexpr qint64 kLargestPropertiesBytes = 1 << 16;
// From the next one on, savers are chosen beside the wallpapers.
constexpr int kLastWithOwnPane = 25;

QString programIn(const QString &saver)
{
    return saver + QStringLiteral("/Contents/bin/corvella-saver");
}

// None when that worked, else what went wrong, in words.
std::optional<QString> replaceInstalled(const QString &bundled)
{
    const QString installed = installedSaver();
    FileResult result = StandardFolders::make(QFileInfo(installed).path());
    if (result.isOk())
        result = copyFolder(bundled, installed);
    if (!result.isOk())
        return result.reason;
    endProgramsFrom(installed);
    return std::nullopt;
}

std::optional<QString> enterEverywhere(const std::vector<std::unique_ptr<SaverHost>> &hosts)
{
    for (const std::unique_ptr<SaverHost> &host : hosts) {
        if (std::optional<QString> error = host->enter(programIn(installedSaver())))
            return error;
    }
    return std::nullopt;
}

} // namespace

QString installedSaver()
{
    return StandardFolders::home() + QStringLiteral("/Library/Screen Savers/Corvella.saver");
}

int saverBuild(const QString &saver)
{
    const QString properties = saver + QStringLiteral("/Contents/Info.plist");
    QXmlStreamReader xml(readBounded(properties, kLargestPropertiesBytes).bytes);
    QString key;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("key"))
            key = xml.readElementText(QXmlStreamReader::IncludeChildElements);
        else if (key == QLatin1String("CFBundleVersion"))
            return xml.readElementText(QXmlStreamReader::IncludeChildElements).toInt();
    }
    return 0;
}

QString installedNote(int systemMajorVersion)
{
    return systemMajorVersion > kLastWithOwnPane
        ? QStringLiteral("Installed. In System Settings > Wallpaper, click Screen Saver… and pick "
                         "Corvella under Other.")
        : QStringLiteral(
            "Installed. In System Settings > Screen Saver, pick Corvella under Other.");
}

std::optional<QString> installSaver(const std::optional<QString> &bundled)
{
    if (!bundled)
        return std::nullopt;
    const std::vector<std::unique_ptr<SaverHost>> hosts = SaverHost::all();
    std::optional<QString> error;
    if (hosts.empty())
        error = QStringLiteral("no program here shows the screen savers of others");
    if (!error)
        error = replaceInstalled(*bundled);
    if (!error)
        error = enterEverywhere(hosts);
    if (error)
        return QStringLiteral("Could not install: ") + *error;
    hosts.front()->openSettings();
    // No settings of savers here are part of those of wallpapers, whatever the system's version.
    return installedNote(kLastWithOwnPane);
}

void refreshInstalledSaver(const std::optional<QString> &bundled)
{
    if (!bundled || !QFileInfo::exists(installedSaver()))
        return;
    const int before = saverBuild(installedSaver());
    const int now = saverBuild(*bundled);
    if (before >= now)
        return;
    if (const std::optional<QString> error = replaceInstalled(*bundled))
        log(QStringLiteral("could not update the installed screen saver: ") + *error);
    else
        log(QStringLiteral("screen saver updated from build %1 to %2").arg(before).arg(now));
}

} // namespace corvella

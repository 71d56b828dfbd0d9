// Settings files of any content: what parses is written back as what parses to the same, and each
// setting stays within its bounds.
#include "platform/storage/DefaultsFile.h"
#include "settings/Settings.h"

#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

using namespace corvella;

// The folder of a user who has no other settings.
const QTemporaryDir &folder()
{
    static const QTemporaryDir folder;
    static const bool isUsed = qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder.path()))
        && qputenv("XDG_CONFIG_DIRS", QFile::encodeName(folder.filePath(QStringLiteral("none"))));
    if (!isUsed)
        std::abort();
    return folder;
}

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

void readEverySetting()
{
    const double minutes = Settings::idleMinutes();
    expect(minutes > 0 && minutes <= std::numeric_limits<int>::max());
    const double refresh = Settings::refreshMinutes();
    expect(refresh == 720 || refresh == 1440);
    expect(Settings::loops() > 0);
    for (int screen : {0, 1, 7}) {
        (void)Settings::isEnabled(screen);
        for (const QString &id : Settings::productList(screen))
            expect(!id.isEmpty());
    }
    (void)Settings::productsInUse();
    (void)Settings::mode();
    (void)Settings::storedMode();
    (void)Settings::transition();
    (void)Settings::lastCheck();
    (void)Settings::lastManual();
    (void)Settings::previousDesktop();
    (void)Settings::desktopActive();
    (void)Settings::desktopCounter();
    (void)Settings::storeHost();
    (void)Settings::imageryHost();
    (void)Settings::attribution();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto settings = parseDefaults(bytes);
    if (settings && parseDefaults(serializeDefaults(*settings)) != settings)
        std::abort();
    QFile file(folder().filePath(QStringLiteral("space.tarrow.corvella.json")));
    expect(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
    file.close();
    readEverySetting();
    return 0;
}

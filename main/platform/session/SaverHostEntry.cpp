#include "platform/session/LoginItem.h"
#include "platform/session/SaverHost.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/StandardFolders.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace corvella {

namespace {

constexpr qint64 kLargestEntryBytes = 1 << 16;

// All of them know a saver by its category and give it their window in the environment.
class EntrySaverHost final : public SaverHost
{
public:
    EntrySaverHost(QString engine, QString settingsProgram)
        : m_engine(std::move(engine))
        , m_settingsProgram(std::move(settingsProgram))
    {
    }

    std::optional<QString> enter(const QString & /*program*/) override
    {
        const QString folder =
            StandardFolders::applicationSupport() + QStringLiteral("/applications/screensavers");
        const QString file = folder + QStringLiteral("/space.tarrow.corvella-saver.desktop");
        const QByteArray entry = entryFor(m_engine);
        if (readBounded(file, kLargestEntryBytes).bytes == entry)
            return std::nullopt;
        FileResult result = StandardFolders::make(folder);
        if (result.isOk())
            result = DurableFile::write(file, entry);
        if (result.isOk())
            return std::nullopt;
        return file + QStringLiteral(": ") + result.reason;
    }

    void openSettings() override { QProcess::startDetached(m_settingsProgram, {}); }

private:
    static QByteArray entryFor(const QString &program)
    {
        const QString entry = QStringLiteral("[Desktop Entry]\n"
                                             "Type=Application\n"
                                             "Name=Corvella\n"
                                             "Comment=The Sun, live\n"
                                             "Exec=%1 --root\n"
                                             "Terminal=false\n"
                                             "StartupNotify=false\n"
                                             "Categories=Screensaver;\n"
                                             "OnlyShowIn=MATE;XFCE;\n")
                                  .arg(AutostartEntry::execArgument(program));
        return entry.toUtf8();
    }

    const QString m_engine;
    const QString m_settingsProgram;
};

} // namespace

std::unique_ptr<SaverHost> createEntryHost(EntryHost host, const QString &engine)
{
    QString program = QStandardPaths::findExecutable(
        host == EntryHost::mate ? QStringLiteral("mate-screensaver-preferences")
                                : QStringLiteral("xfce4-screensaver-preferences"));
    if (program.isEmpty() || !QFileInfo(engine).isExecutable())
        return nullptr;
    return std::make_unique<EntrySaverHost>(engine, std::move(program));
}

} // namespace corvella

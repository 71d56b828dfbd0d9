#include "platform/session/SaverHost.h"
#include "platform/session/XScreenSaverSettings.h"
#include "platform/storage/BoundedFile.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/StandardFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace corvella {

namespace {

constexpr qint64 kLargestSettingsBytes = 1 << 20; // a hundred times what it writes itself

QString failed(const QString &path, const QString &reason)
{
    return path + QStringLiteral(": ") + reason;
}

// XScreenSaver's settings window takes a path with a space in it for a program that is not
// installed, so there the user's folder of programs has a link. Gives the path to use; `error` says
// why there is none.
QString pathWithoutSpaces(const QString &program, std::optional<QString> &error)
{
    if (!program.contains(u' '))
        return program;
    QString link =
        StandardFolders::home() + QStringLiteral("/.local/bin/") + QFileInfo(program).fileName();
    const QFileInfo there(link);
    if (there.isSymLink() && there.symLinkTarget() == program)
        return link;
    if (!there.isSymLink() && there.exists()) {
        error = failed(link, QStringLiteral("is there and is not ours"));
        return {};
    }
    QFile::remove(link); // to where an earlier one was
    const FileResult folder = StandardFolders::make(there.path());
    if (!folder.isOk() || !QFile::link(program, link)) {
        error = failed(link, folder.isOk() ? QStringLiteral("cannot be made") : folder.reason);
        return {};
    }
    return link;
}

class XScreenSaverHost final : public SaverHost
{
public:
    explicit XScreenSaverHost(QString settingsProgram)
        : m_settingsProgram(std::move(settingsProgram))
    {
    }

    std::optional<QString> enter(const QString &program) override
    {
        std::optional<QString> error;
        const QString path = pathWithoutSpaces(program, error);
        if (error)
            return error;
        const QString file = StandardFolders::home() + QStringLiteral("/.xscreensaver");
        const BoundedRead read = readBounded(file, kLargestSettingsBytes);
        if (read.status != ReadStatus::ok && read.status != ReadStatus::missing)
            return failed(file,
                          read.reason.isEmpty() ? QStringLiteral("is too large") : read.reason);
        const QByteArray word = XScreenSaverSettings::commandWord(QFile::encodeName(path));
        const QByteArray settings =
            XScreenSaverSettings::withProgram(read.bytes, "Corvella", word, "--root");
        if (settings == read.bytes)
            return std::nullopt;
        // The daemon reads it again by itself, before it shows the next saver.
        const FileResult result = DurableFile::write(file, settings);
        return result.isOk() ? std::nullopt : std::optional(failed(file, result.reason));
    }

    void openSettings() override { QProcess::startDetached(m_settingsProgram, {}); }

private:
    const QString m_settingsProgram;
};

} // namespace

std::unique_ptr<SaverHost> createXScreenSaverHost()
{
    // The second until version 6.
    for (const char *name : {"xscreensaver-settings", "xscreensaver-demo"}) {
        QString program = QStandardPaths::findExecutable(QString::fromLatin1(name));
        if (!program.isEmpty())
            return std::make_unique<XScreenSaverHost>(std::move(program));
    }
    return nullptr;
}

} // namespace corvella

// What the program or its installer has written for itself, as somebody may have changed it: what
// is remembered of updates and of the desktop's own pictures, a build's and a saver's description,
// the entry that starts the program with the desktop.
#include "Preferences/SaverBundle.h"
#include "Preferences/SaverInstall.h"
#include "platform/pictures/RememberedState.h"
#include "platform/session/LoginItem.h"
#include "platform/storage/BuildIdentity.h"
#include "platform/update/UpdateState.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

namespace {

using namespace corvella;

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

void readSaverBuild(const QByteArray &bytes)
{
    static const QTemporaryDir saver;
    static const bool hasFolder = QDir(saver.path()).mkdir(QStringLiteral("Contents"));
    QFile properties(saver.filePath(QStringLiteral("Contents/Info.plist")));
    expect(hasFolder && properties.open(QIODevice::WriteOnly | QIODevice::Truncate));
    properties.write(bytes);
    properties.close();
    (void)saverBuild(saver.path());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));

    const UpdateState state = UpdateState::parse(bytes);
    expect(state.phase >= -1 && state.phase < 7);
    expect(UpdateState::parse(state.json()) == state);

    const BuildIdentity build = BuildIdentity::parse(bytes);
    expect(build.build >= 0);
    expect(build.version.isEmpty() || BuildIdentity::isVersion(build.version));

    const AutostartEntry::Conditions conditions = AutostartEntry::parse(bytes);
    expect(conditions.isEntry || conditions == AutostartEntry::Conditions());
    (void)AutostartEntry::isShownIn(conditions, {QStringLiteral("GNOME")});

    const QString text = QString::fromUtf8(bytes);
    const QString desktop = QStringLiteral("xfce");
    if (const std::optional<QJsonObject> remembered = stateOf(desktop, text))
        expect(stateOf(desktop, stateText(desktop, *remembered)) == remembered);
    if (const std::optional<QString> file = fileOfUrl(text))
        expect(!file->contains(QChar::Null));

    readSaverBuild(bytes);
    return 0;
}

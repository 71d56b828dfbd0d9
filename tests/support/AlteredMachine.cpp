#include "support/AlteredMachine.h"

#include <unistd.h>

namespace corvella::test {

namespace {

// $1 is a scratch folder, $2 the folder of the journal's socket, $3 the folder to empty,
// $4 the folder to write-protect; the command follows.
constexpr const char *kMountJournal = R"(
mount -t tmpfs none /run
mkdir -p /run/systemd/journal
mount --bind "$2" /run/systemd/journal
)";

constexpr const char *kMountEmptyFolder = R"(
mount -t tmpfs none "$3"
)";

constexpr const char *kMountReadOnlyFolder = R"(
mount --bind "$4" "$4"
mount -o remount,bind,ro "$4"
)";

constexpr const char *kLayGraphicsDevice = R"(
touch "$1/nvidiactl"
)";

constexpr const char *kMountBareDevices = R"(
for device in null zero random urandom; do
    touch "$1/$device"
    mount --bind "/dev/$device" "$1/$device"
done
mount --rbind "$1" /dev
)";

} // namespace

QString AlteredMachine::script() const
{
    QString script = QStringLiteral("set -e\n");
    if (!m_journal.isEmpty())
        script += QString::fromLatin1(kMountJournal);
    if (!m_emptyFolder.isEmpty())
        script += QString::fromLatin1(kMountEmptyFolder);
    if (!m_readOnlyFolder.isEmpty())
        script += QString::fromLatin1(kMountReadOnlyFolder);
    if (m_pretendsGraphics)
        script += QString::fromLatin1(kLayGraphicsDevice);
    if (!m_hasDevices)
        script += QString::fromLatin1(kMountBareDevices);
    return script + QStringLiteral("shift 4\nexec \"$@\"\n");
}

Command AlteredMachine::around(const Command &command) const
{
    QStringList words{QStringLiteral("--mount")};
    if (::geteuid() != 0)
        words << QStringLiteral("--user") << QStringLiteral("--map-root-user");
    if (!m_hasNetwork)
        words << QStringLiteral("--net");
    words << QStringLiteral("sh") << QStringLiteral("-c") << script() << QStringLiteral("sh")
          << m_folder.path() << m_journal << m_emptyFolder << m_readOnlyFolder << command.program;
    return {QStringLiteral("unshare"), words + command.arguments, command.environment,
            command.folder, command.standardError};
}

} // namespace corvella::test

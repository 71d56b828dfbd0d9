#include "settings/Build.h"

#include "platform/storage/BuildIdentity.h"

namespace corvella::Build {

QString text()
{
    const std::optional<BuildIdentity> &build = BuildIdentity::running();
    if (!build)
        return QStringLiteral("Version ? (?)");
    return QStringLiteral("Version %1 (%2)").arg(build->version).arg(build->build);
}

} // namespace corvella::Build

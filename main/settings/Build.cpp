#include "settings/Build.h"

namespace corvella::Build {

QString textOf(const BuildIdentity &build)
{
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("Version %1 (%2)")
        .arg(build.version.isEmpty() ? unknown : build.version,
             build.build == 0 ? unknown : QString::number(build.build));
}

QString text()
{
    return textOf(BuildIdentity::running());
}

} // namespace corvella::Build

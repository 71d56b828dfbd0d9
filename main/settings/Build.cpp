#include "settings/Build.h"

namespace corvella::Build {

namespace {

std::optional<QString> unlessEmpty(const QString &text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

std::optional<QString> version()
{
    return unlessEmpty(QStringLiteral(CORVELLA_VERSION));
}

std::optional<QString> number()
{
    return unlessEmpty(QStringLiteral(CORVELLA_BUILD_NUMBER));
}

QString text()
{
    const QString unknown = QStringLiteral("?");
    return QStringLiteral("Version %1 (%2)")
        .arg(version().value_or(unknown), number().value_or(unknown));
}

} // namespace corvella::Build

#include "platform/storage/BuildIdentity.h"

#include "platform/storage/BoundedFile.h"
#include "platform/storage/Resources.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

namespace corvella {

namespace {

constexpr qint64 kLargestFile = 1 << 12; // bytes; it has three short lines

QByteArray bytesIn(const QString &folder)
{
    return readBounded(folder + QStringLiteral("/share/corvella/build.json"), kLargestFile).bytes;
}

} // namespace

bool BuildIdentity::isVersion(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9A-Za-z.+-]{1,32}\\z"));
    return form.match(text).hasMatch();
}

BuildIdentity BuildIdentity::parse(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const QString version = object.value(u"version").toString();
    return {.version = isVersion(version) ? version : QString(),
            .build = std::max<qint64>(object.value(u"build").toInteger(), 0),
            .machine = object.value(u"machine").toString()};
}

std::optional<BuildIdentity> BuildIdentity::read(const QString &folder)
{
    const BuildIdentity identity = parse(bytesIn(folder));
    const bool isWhole =
        !identity.version.isEmpty() && identity.build > 0 && !identity.machine.isEmpty();
    return isWhole ? std::optional(identity) : std::nullopt;
}

const BuildIdentity &BuildIdentity::running()
{
    static const BuildIdentity identity =
        parse(bytesIn(QFileInfo(QFileInfo(executablePath()).path()).path()));
    return identity;
}

} // namespace corvella

#include "platform/storage/BuildIdentity.h"

#include "platform/storage/BoundedFile.h"
#include "platform/storage/Resources.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace corvella {

namespace {

constexpr qint64 kLargestFile = 1 << 12; // bytes; it has three short lines

} // namespace

bool BuildIdentity::isVersion(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9A-Za-z.+-]{1,32}\\z"));
    return form.match(text).hasMatch();
}

std::optional<BuildIdentity> BuildIdentity::parse(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    BuildIdentity identity{.version = object.value(u"version").toString(),
                           .build = object.value(u"build").toInteger(),
                           .machine = object.value(u"machine").toString()};
    if (!isVersion(identity.version) || identity.build <= 0 || identity.machine.isEmpty())
        return std::nullopt;
    return identity;
}

std::optional<BuildIdentity> BuildIdentity::read(const QString &folder)
{
    const BoundedRead file =
        readBounded(folder + QStringLiteral("/share/corvella/build.json"), kLargestFile);
    return file.status == ReadStatus::ok ? parse(file.bytes) : std::nullopt;
}

const std::optional<BuildIdentity> &BuildIdentity::running()
{
    static const std::optional<BuildIdentity> identity =
        read(QFileInfo(QFileInfo(executablePath()).path()).path());
    return identity;
}

} // namespace corvella

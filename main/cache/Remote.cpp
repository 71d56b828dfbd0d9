#include "cache/Remote.h"

#include "platform/storage/IsoDate.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace corvella::Cache {

namespace {

constexpr qsizetype kLongestText = 1024;
// An index of twelve products has 150.
constexpr qsizetype kMostValues = 1 << 16;

std::optional<QString> text(const QJsonObject &record, QLatin1String key)
{
    const QJsonValue value = record.value(key);
    if (!value.isString() || value.toString().size() > kLongestText)
        return std::nullopt;
    return value.toString();
}

QStringList texts(const QJsonObject &record, std::initializer_list<QLatin1String> keys)
{
    QStringList present;
    for (const QLatin1String key : keys) {
        if (const std::optional<QString> value = text(record, key))
            present << *value;
    }
    return present;
}

} // namespace

std::optional<Remote> remote(const QJsonObject &record)
{
    const std::optional<QString> id = text(record, QLatin1String("id"));
    const std::optional<QString> updated = text(record, QLatin1String("updated"));
    const QStringList videos = texts(record, {QLatin1String("video_v"), QLatin1String("video")});
    if (!id || !updated || videos.isEmpty())
        return std::nullopt;
    return Remote{.id = *id,
                  .label = text(record, QLatin1String("label")).value_or(*id),
                  .updated = *updated,
                  .through = text(record, QLatin1String("through")),
                  .videos = videos,
                  .stills = texts(record, {QLatin1String("still_v"), QLatin1String("img1k")})};
}

QJsonObject parseRemoteObject(const QByteArray &bytes)
{
    // Each value but the first of a list or object follows a comma, and those in texts do no harm.
    const qsizetype values = std::count_if(bytes.cbegin(), bytes.cend(),
                                           [](char c) { return c == ',' || c == '[' || c == '{'; });
    return values > kMostValues ? QJsonObject() : QJsonDocument::fromJson(bytes).object();
}

ProductIndex parseProductIndex(const QByteArray &bytes)
{
    const QJsonObject index = parseRemoteObject(bytes);
    ProductIndex parsed;
    if (const std::optional<QString> generated = text(index, QLatin1String("generated")))
        parsed.generated = parseIsoDate(*generated);
    const QJsonValue products = index.value(QLatin1String("products"));
    if (!products.isArray())
        return parsed;
    parsed.products.emplace();
    for (const auto &record : products.toArray()) {
        if (std::optional<Remote> product = remote(record.toObject()))
            parsed.products->append(*product);
    }
    return parsed;
}

} // namespace corvella::Cache

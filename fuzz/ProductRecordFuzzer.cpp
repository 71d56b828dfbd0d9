// Records of single products of any content: what is taken for one has an id, a date and a clip,
// says only what the record says, and says the same when the record is written again.
#include "cache/Remote.h"

#include <QJsonDocument>

#include <cstdlib>

namespace {

using namespace corvella::Cache;

bool isIn(const QJsonObject &record, std::initializer_list<const char *> keys, const QString &text)
{
    constexpr qsizetype kLongest = 1024;
    return text.size() <= kLongest && std::any_of(keys.begin(), keys.end(), [&](const char *key) {
               return record.value(QLatin1String(key)) == QJsonValue(text);
           });
}

bool isHonest(const QJsonObject &record, const Remote &product)
{
    constexpr qsizetype kMostPaths = 2;
    const auto isPath = [&](std::initializer_list<const char *> keys, const QStringList &paths) {
        return paths.size() <= kMostPaths
            && std::all_of(paths.begin(), paths.end(),
                           [&](const QString &path) { return isIn(record, keys, path); });
    };
    return isIn(record, {"id"}, product.id) && isIn(record, {"label", "id"}, product.label)
        && isIn(record, {"updated"}, product.updated)
        && (!product.through || isIn(record, {"through"}, *product.through))
        && !product.videos.isEmpty() && isPath({"video_v", "video"}, product.videos)
        && isPath({"still_v", "img1k"}, product.stills);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QJsonObject record = parseRemoteObject(bytes);
    const std::optional<Remote> product = remote(record);
    if (product && !isHonest(record, *product))
        std::abort();
    if (remote(parseRemoteObject(QJsonDocument(record).toJson())) != product)
        std::abort();
    return 0;
}

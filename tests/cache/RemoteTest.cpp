#include "cache/Remote.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using Cache::parseProductIndex;
using Cache::ProductIndex;
using Cache::Remote;

QJsonObject fullRecord()
{
    return {{QStringLiteral("id"), QStringLiteral("171")},
            {QStringLiteral("label"), QStringLiteral("Gold")},
            {QStringLiteral("updated"), QStringLiteral("2026-09-24T20:42:16Z")},
            {QStringLiteral("through"), QStringLiteral("2026-09-24T20:30:00Z")},
            {QStringLiteral("video"), QStringLiteral("video/171.mp4")},
            {QStringLiteral("video_v"), QStringLiteral("v/171/1.mp4")},
            {QStringLiteral("img1k"), QStringLiteral("img/171.png")},
            {QStringLiteral("still_v"), QStringLiteral("v/171/1.png")},
            {QStringLiteral("unknown"), QJsonArray{1, 2}}};
}

QJsonObject without(QJsonObject record, const char *key)
{
    record.remove(QLatin1String(key));
    return record;
}

QJsonObject with(QJsonObject record, const char *key, const QJsonValue &value)
{
    record.insert(QLatin1String(key), value);
    return record;
}

QByteArray indexOf(const QJsonArray &products)
{
    return QJsonDocument(
               QJsonObject{{QStringLiteral("generated"), QStringLiteral("2026-09-24T21:00:00Z")},
                           {QStringLiteral("products"), products}})
        .toJson();
}

TEST(RemoteTest, PrefersVersionedPathsAndIgnoresUnknownKeys)
{
    const std::optional<Remote> product = Cache::remote(fullRecord());
    ASSERT_TRUE(product);
    EXPECT_EQ(product->id, QStringLiteral("171"));
    EXPECT_EQ(product->label, QStringLiteral("Gold"));
    EXPECT_EQ(product->updated, QStringLiteral("2026-09-24T20:42:16Z"));
    EXPECT_EQ(product->through, QStringLiteral("2026-09-24T20:30:00Z"));
    EXPECT_EQ(product->videos,
              (QStringList{QStringLiteral("v/171/1.mp4"), QStringLiteral("video/171.mp4")}));
    EXPECT_EQ(product->stills,
              (QStringList{QStringLiteral("v/171/1.png"), QStringLiteral("img/171.png")}));
}

TEST(RemoteTest, DoesWithoutWhatIsOptional)
{
    QJsonObject record = fullRecord();
    for (const char *key : {"label", "through", "video_v", "still_v", "img1k"})
        record.remove(QLatin1String(key));
    const std::optional<Remote> product = Cache::remote(record);
    ASSERT_TRUE(product);
    EXPECT_EQ(product->label, QStringLiteral("171"));
    EXPECT_FALSE(product->through);
    EXPECT_EQ(product->videos, QStringList{QStringLiteral("video/171.mp4")});
    EXPECT_TRUE(product->stills.isEmpty());
}

TEST(RemoteTest, IsNothingWithoutIdDateOrClip)
{
    EXPECT_FALSE(Cache::remote({}));
    EXPECT_FALSE(Cache::remote(without(fullRecord(), "id")));
    EXPECT_FALSE(Cache::remote(without(fullRecord(), "updated")));
    EXPECT_FALSE(Cache::remote(without(without(fullRecord(), "video"), "video_v")));
    EXPECT_FALSE(Cache::remote(with(fullRecord(), "id", 171)));
    EXPECT_FALSE(Cache::remote(with(fullRecord(), "updated", QJsonValue::Null)));
}

TEST(RemoteTest, TakesValuesOfAnotherTypeForMissing)
{
    const QJsonObject record =
        with(with(with(fullRecord(), "label", 5), "through", true), "video_v", QJsonObject());
    const std::optional<Remote> product = Cache::remote(record);
    ASSERT_TRUE(product);
    EXPECT_EQ(product->label, QStringLiteral("171"));
    EXPECT_FALSE(product->through);
    EXPECT_EQ(product->videos, QStringList{QStringLiteral("video/171.mp4")});
}

TEST(RemoteTest, TakesEndlessTextsForMissing)
{
    const QString endless(1'000'000, u'x');
    EXPECT_FALSE(Cache::remote(with(fullRecord(), "id", endless)));
    EXPECT_EQ(Cache::remote(with(fullRecord(), "label", endless)).value_or(Remote()).label,
              QStringLiteral("171"));
}

TEST(ProductIndexTest, KeepsTheOrderAndDropsWhatIsNoRecord)
{
    const QJsonObject other = with(fullRecord(), "id", QStringLiteral("94"));
    const ProductIndex index = parseProductIndex(
        indexOf({other, 5, QJsonValue::Null, without(other, "updated"), fullRecord(), other}));
    ASSERT_TRUE(index.products);
    QStringList ids;
    for (const Remote &product : *index.products)
        ids << product.id;
    EXPECT_EQ(ids,
              (QStringList{QStringLiteral("94"), QStringLiteral("171"), QStringLiteral("94")}));
    EXPECT_EQ(index.generated, QDateTime(QDate(2026, 9, 24), QTime(21, 0), Qt::UTC));
}

TEST(ProductIndexTest, MayListNothing)
{
    const ProductIndex index = parseProductIndex(indexOf({}));
    ASSERT_TRUE(index.products);
    EXPECT_TRUE(index.products->isEmpty());
}

TEST(ProductIndexTest, IsNoneInWhatIsNone)
{
    const QByteArray deep = QByteArray(100'000, '[') + QByteArray(100'000, ']');
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("<html>"), QByteArray("[]"), QByteArray("{}"),
          QByteArray("{\"products\": {}}"), QByteArray("{\"products\": null}"),
          QByteArray("{\"products\": [}"), deep, QByteArray("{\"products\": " + deep + "}")}) {
        const ProductIndex index = parseProductIndex(bytes);
        EXPECT_FALSE(index.products) << bytes.left(40).constData();
        EXPECT_FALSE(index.generated) << bytes.left(40).constData();
    }
}

// Parsed, a document of 16 MB could take half a gigabyte.
TEST(ProductIndexTest, IsNoneWithValuesWithoutEnd)
{
    const auto indexWith = [](const QByteArray &values) {
        return parseProductIndex("{\"products\": [" + values + "{}]}").products.has_value();
    };
    EXPECT_TRUE(indexWith(QByteArray("{},").repeated(20'000)));
    for (const char *value : {"0,", "{},", "[],", "{\"a\":{\"b\":0}},"})
        EXPECT_FALSE(indexWith(QByteArray(value).repeated(1'000'000))) << value;
}

TEST(ProductIndexTest, HasADateOnlyWhereItIsOne)
{
    for (const char *date : {"\"yesterday\"", "1790000000", "\"2026-09-24 21:00\"", "null"}) {
        const ProductIndex index =
            parseProductIndex(QByteArray("{\"generated\": ") + date + ", \"products\": []}");
        EXPECT_TRUE(index.products) << date;
        EXPECT_FALSE(index.generated) << date;
    }
}

} // namespace
} // namespace corvella

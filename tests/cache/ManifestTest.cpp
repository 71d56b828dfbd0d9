#include "cache/Manifest.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(ParseManifestTest, GivesTheObjectsInTheirOrderWithAllTheirKeys)
{
    const QList<QJsonObject> entries =
        parseManifest(R"([{"id": "171", "extra": [1]}, {}, {"id": "94"}])");
    ASSERT_EQ(entries.size(), 3);
    EXPECT_EQ(entries.at(0).value(u"id").toString(), QStringLiteral("171"));
    EXPECT_TRUE(entries.at(0).contains(u"extra"));
    EXPECT_TRUE(entries.at(1).isEmpty());
    EXPECT_EQ(entries.at(2).value(u"id").toString(), QStringLiteral("94"));
}

TEST(ParseManifestTest, GivesNothingForAnythingButAnArrayOfObjects)
{
    const QByteArray rows[] = {
        "",
        "{}",
        R"({"id": "171"})",
        "null",
        "[]",
        "[null]",
        R"([{"id": "171"}, 1])",
        R"([{"id": "171"}, "text"])",
        R"([[{"id": "171"}]])",
        R"([{"id": "171"})",
        R"([{"id": "171"}] x)",
        R"([{id: 171}])",
        "[{\"id\": \"\xFF\"}]",
        QByteArray(100'000, '['),
        QByteArray(4096, '\0'),
        "\x89PNG\r\n",
    };
    for (const QByteArray &row : rows)
        EXPECT_TRUE(parseManifest(row).isEmpty()) << row.left(40).constData();
}

TEST(SerializeManifestTest, IsPrettyPrinted)
{
    const QJsonObject entry{{QStringLiteral("id"), QStringLiteral("171")},
                            {QStringLiteral("label"), QStringLiteral("AIA 171 \u00C5")}};
    EXPECT_EQ(serializeManifest({entry}),
              QByteArray("[\n"
                         "    {\n"
                         "        \"id\": \"171\",\n"
                         "        \"label\": \"AIA 171 \xC3\x85\"\n"
                         "    }\n"
                         "]\n"));
    EXPECT_EQ(parseManifest(serializeManifest({entry, {}})), (QList<QJsonObject>{entry, {}}));
}

TEST(PlainFileNameTest, NamesAFileInTheFolderItself)
{
    for (const QStringView name :
         {u"171.mp4", u"composite_uv.mp4", u".hidden", u"...", u"a b", u"~", u"a\\b"})
        EXPECT_TRUE(isPlainFileName(name.toString())) << name.toUtf8().constData();
}

TEST(PlainFileNameTest, NamesNothingElse)
{
    for (const QStringView name : {u"", u".", u"..", u"/", u"/etc/passwd", u"../171.mp4", u"a/b",
                                   u"171.mp4/", u"a/../171.mp4"})
        EXPECT_FALSE(isPlainFileName(name.toString())) << name.toUtf8().constData();
    EXPECT_FALSE(isPlainFileName(QStringLiteral("171.mp4") + QChar(u'\0') + QStringLiteral("x")));
}

} // namespace
} // namespace corvella

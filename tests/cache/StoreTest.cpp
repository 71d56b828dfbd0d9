#include "cache/Store.h"
#include "settings/Settings.h"
#include "support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

QString linkFor(const QString &id, const QJsonValue &updated)
{
    const std::optional<QUrl> link =
        Store::link({{QStringLiteral("id"), id}, {QStringLiteral("updated"), updated}});
    return link ? link->toString() : QStringLiteral("none");
}

TEST(StoreTest, LinksToTheMomentAndTheWavelength)
{
    const test::TemporaryHome home;
    const QString date = QStringLiteral("2025-03-01T09:05:00Z");
    const struct
    {
        QString id;
        QJsonValue updated;
        const char *link;
    } rows[] = {
        {QStringLiteral("171"), date,
         "https://corvella.example/?utm_source=corvella&d=2025-03-01&t=09:05&wl=171"},
        {QStringLiteral("rainbow"), date,
         "https://corvella.example/?utm_source=corvella&d=2025-03-01&t=09:05"},
        {QStringLiteral("171"), QStringLiteral("2025-03-01T23:35:00-02:30"),
         "https://corvella.example/?utm_source=corvella&d=2025-03-02&t=02:05&wl=171"},
        {QStringLiteral("171"), QStringLiteral("lately"),
         "https://corvella.example/?utm_source=corvella&wl=171"},
        {QStringLiteral("171"), QJsonValue(),
         "https://corvella.example/?utm_source=corvella&wl=171"},
        {QStringLiteral("-94"), QJsonValue(),
         "https://corvella.example/?utm_source=corvella&wl=-94"},
        {QStringLiteral("+94"), QJsonValue(),
         "https://corvella.example/?utm_source=corvella&wl=+94"},
        {QStringLiteral("composite_uv"), QJsonValue(),
         "https://corvella.example/?utm_source=corvella"},
        {QStringLiteral("dem"), QJsonValue(), "https://corvella.example/?utm_source=corvella"},
        {QStringLiteral("1.5"), QJsonValue(), "https://corvella.example/?utm_source=corvella"},
        {QStringLiteral(" 171"), QJsonValue(), "https://corvella.example/?utm_source=corvella"},
        {QString(), QJsonValue(), "https://corvella.example/?utm_source=corvella"},
        {QStringLiteral("99999999999999999999"), QJsonValue(),
         "https://corvella.example/?utm_source=corvella"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(linkFor(row.id, row.updated).toStdString(), row.link);
}

TEST(StoreTest, NamesTheMomentInUtcWhereverItIsRead)
{
    const test::TemporaryHome home;
    const QByteArray before = qgetenv("TZ");
    qputenv("TZ", "IST-05:30");
    const QString link = linkFor(QStringLiteral("dem"), QStringLiteral("2025-03-01T20:05:00Z"));
    qputenv("TZ", before);
    EXPECT_EQ(link.toStdString(),
              "https://corvella.example/?utm_source=corvella&d=2025-03-01&t=20:05");
}

TEST(StoreTest, LinksToTheStoreThatIsSet)
{
    const test::TemporaryHome home;
    Settings::setStoreHost(QStringLiteral(" https://museum.example/sun/ "));
    EXPECT_EQ(linkFor(QStringLiteral("dem"), {}).toStdString(),
              "https://museum.example/sun/?utm_source=corvella");
    for (const QString &host : {QString(), QStringLiteral("two words"), QStringLiteral("a:b:c")}) {
        Settings::setStoreHost(host);
        EXPECT_EQ(linkFor(QStringLiteral("dem"), {}).toStdString(), "none") << host.toStdString();
    }
}

} // namespace
} // namespace corvella

#include "support/StockedHome.h"

#include "support/TestClip.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace corvella::test {

const StockedHome &StockedHome::shared()
{
    static const StockedHome home;
    return home;
}

void StockedHome::clear() const
{
    QFile::remove(config(QStringLiteral("space.tarrow.corvella.json")));
    QDir(cache(QStringLiteral("Corvella"))).removeRecursively();
}

void StockedHome::stock(const QStringList &products) const
{
    QDir().mkpath(cache(QStringLiteral("Corvella")));
    QJsonArray manifest;
    for (const QString &product : products) {
        TestClip clip;
        clip.width = clip.height = 64;
        clip.marked = false;
        clip.colour = [](int) { return QColor(200, 160, 0); };
        clip.write(this->clip(product));
        manifest << QJsonObject{
            {QStringLiteral("id"), product},
            {QStringLiteral("label"), QStringLiteral("Product %1").arg(product)},
            {QStringLiteral("video"), QFileInfo(this->clip(product)).fileName()},
            {QStringLiteral("updated"), QStringLiteral("2026-11-14T18:00:00Z")}};
    }
    write(cache(QStringLiteral("Corvella/manifest.json")), QJsonDocument(manifest).toJson());
}

} // namespace corvella::test

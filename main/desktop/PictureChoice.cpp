#include "desktop/PictureChoice.h"

#include "cache/Manifest.h"

#include <QSet>

#include <algorithm>

namespace corvella {

namespace {

QString idOf(const QJsonObject &entry)
{
    return entry[u"id"].toString();
}

QList<QJsonObject> candidates(const QList<QJsonObject> &stills, const QStringList &products)
{
    if (products.isEmpty())
        return stills;
    QList<QJsonObject> candidates;
    for (const QString &product : products) {
        const auto still = std::find_if(stills.begin(), stills.end(), [&](const QJsonObject &each) {
            return each[u"id"] == product;
        });
        if (still != stills.end())
            candidates << *still;
    }
    return candidates;
}

const QJsonObject &firstUnused(const QList<QJsonObject> &candidates, qsizetype start,
                               const QSet<QString> &used)
{
    for (qsizetype k = 0; k < candidates.size(); ++k) {
        const QJsonObject &candidate = candidates[(start + k) % candidates.size()];
        if (!used.contains(idOf(candidate)))
            return candidate;
    }
    return candidates[start];
}

} // namespace

QList<QJsonObject> stillsOf(const QList<QJsonObject> &entries)
{
    QList<QJsonObject> stills = entries;
    stills.removeIf([](const QJsonObject &entry) { return !entry.contains(u"still"); });
    return stills;
}

QList<std::optional<QJsonObject>> choosePictures(const QList<QJsonObject> &stills,
                                                 const QList<ScreenWish> &screens, qint64 counter)
{
    QList<std::optional<QJsonObject>> chosen;
    QSet<QString> used;
    for (qsizetype i = 0; i < screens.size(); ++i) {
        const QList<QJsonObject> choice =
            screens[i] ? candidates(stills, *screens[i]) : QList<QJsonObject>();
        if (choice.isEmpty()) {
            chosen << std::nullopt;
            continue;
        }
        // The counter may be as large as numbers are: nothing is added to it.
        const qsizetype start = (counter % choice.size() + i) % choice.size();
        chosen << firstUnused(choice, start, used);
        used << idOf(*chosen.last());
    }
    return chosen;
}

std::optional<QString> pictureName(const QJsonObject &entry)
{
    if (!entry[u"still"].isString() || !entry[u"id"].isString())
        return std::nullopt;
    const QJsonValue stillUpdated = entry[u"stillUpdated"];
    QString stamp = (stillUpdated.isString() ? stillUpdated : entry[u"updated"]).toString();
    const QString name = idOf(entry) + u'-' + stamp.replace(u':', u'-') + QStringLiteral(".png");
    return isPlainFileName(name) ? std::optional(name) : std::nullopt;
}

} // namespace corvella

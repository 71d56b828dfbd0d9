#include "Preferences/ProductMenu.h"

#include "settings/Products.h"

#include <algorithm>

namespace corvella::ProductMenu {

namespace {

constexpr qsizetype kFewestToShuffle = 3;

QString offWord()
{
    return QStringLiteral("off");
}

bool isAll(const Product &product)
{
    return product.id == u"all";
}

const Product *find(const QString &id)
{
    const auto found =
        std::find_if(products().cbegin(), products().cend(),
                     [&id](const Product &product) { return product.id == id && !isAll(product); });
    return found == products().cend() ? nullptr : &*found;
}

// An id that is not in the catalogue is shown as it stands.
QString labelOf(const QString &id)
{
    const Product *const product = find(id);
    return product ? product->label : id;
}

QString allTitle()
{
    return products().front().label;
}

} // namespace

QStringList off()
{
    return {offWord()};
}

bool isOff(const QStringList &choices)
{
    return choices == off();
}

QString title(const QStringList &choices)
{
    if (isOff(choices))
        return QStringLiteral("Off");
    switch (choices.size()) {
    case 0:
        return allTitle();
    case 1:
        return find(choices[0]) ? labelOf(choices[0]) : QStringLiteral("1 product");
    case 2:
        return labelOf(choices[0]) + QStringLiteral(", ") + labelOf(choices[1]);
    default:
        return QStringLiteral("%1 products").arg(choices.size());
    }
}

QStringList plainTitles()
{
    QStringList titles{title(off())};
    for (const Product &product : products())
        titles << product.label;
    return titles;
}

QList<Item> items(const QStringList &choices)
{
    QList<Item> items;
    for (const QString &id : choices) {
        if (find(id))
            items << Item{id, labelOf(id), true};
    }
    for (const Product &product : products()) {
        if (!isAll(product) && !choices.contains(product.id))
            items << Item{product.id, product.label, false};
    }
    return items;
}

QStringList toggled(QStringList choices, const QString &id)
{
    choices.removeAll(offWord());
    if (!choices.removeOne(id))
        choices << id;
    return choices;
}

QStringList randomized(QStringList choices, const Random &random)
{
    if (choices.size() < kFewestToShuffle) {
        std::reverse(choices.begin(), choices.end());
        return choices;
    }
    // From the end, each changes places with itself or one before it (Fisher and Yates).
    for (qsizetype last = choices.size() - 1; last > 0; --last)
        choices.swapItemsAt(last, random(static_cast<quint32>(last + 1)));
    return choices;
}

} // namespace corvella::ProductMenu

// What a screen's product menu says and does to the screen's choice. A choice is a list of product
// ids in play order; empty for every product, and the single word "off" for a screen that is left
// alone. Pure functions; any thread.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace corvella::ProductMenu {

struct Item
{
    QString id;
    QString label;
    bool isTicked = false;

    bool operator==(const Item &) const = default;
};

// What the menu button says.
[[nodiscard]] QString title(const QStringList &choices);

// The widest titles that a button must show whole: those of one choice.
[[nodiscard]] QStringList plainTitles();

// The products on offer: the chosen ones in play order, then the others in the catalogue's order.
[[nodiscard]] QList<Item> items(const QStringList &choices);

[[nodiscard]] QStringList off();
[[nodiscard]] bool isOff(const QStringList &choices);

// The choice after a product was ticked or unticked. Ticking turns a screen on that was off.
[[nodiscard]] QStringList toggled(QStringList choices, const QString &id);

// A number from 0 up to, not including, the given one.
using Random = std::function<quint32(quint32 below)>;

// Another running order of the same choice: two products change places, more are shuffled.
[[nodiscard]] QStringList randomized(QStringList choices, const Random &random);

} // namespace corvella::ProductMenu

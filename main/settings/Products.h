// The catalogue of imagery products.
#pragma once

#include <QList>
#include <QString>

namespace corvella {

struct Product
{
    QString id; // compared as exact text everywhere; names the product's files
    QString label;

    bool operator==(const Product &) const = default;
};

// The catalogue, in the order in which people see it. The first row, "all", is no product but
// stands for every one; it names no file and no manifest entry. Built on first use, any thread; the
// reference lives as long as the program.
[[nodiscard]] const QList<Product> &products();

} // namespace corvella

#pragma once

#include <QString>

#include <array>
#include <optional>

namespace corvella::sun {

// The twelve pictures that the imagery host offers.
enum class Product {
    Rainbow,
    Aia171,
    Aia193,
    Aia211,
    Aia304,
    Aia335,
    Aia94,
    Aia131,
    Aia1600,
    Aia1700,
    CompositeUv,
    Dem
};

inline constexpr std::array kAllProducts{Product::Rainbow, Product::Aia171,      Product::Aia193,
                                         Product::Aia211,  Product::Aia304,      Product::Aia335,
                                         Product::Aia94,   Product::Aia131,      Product::Aia1600,
                                         Product::Aia1700, Product::CompositeUv, Product::Dem};

// The name in paths and records, such as "171".
QString productId(Product product);

// The name that people read, such as "AIA 171 Å".
QString productLabel(Product product);

std::optional<Product> productFromId(const QString &id);

} // namespace corvella::sun

#include "Product.h"

namespace corvella::sun {

namespace {

struct Names
{
    const char *id;
    const char *label; // UTF-8
};

Names namesOf(Product product)
{
    switch (product) {
    case Product::Rainbow:
        return {"rainbow", "Rainbow (RHEF composite)"};
    case Product::Aia171:
        return {"171", "AIA 171 \u00c5"};
    case Product::Aia193:
        return {"193", "AIA 193 \u00c5"};
    case Product::Aia211:
        return {"211", "AIA 211 \u00c5"};
    case Product::Aia304:
        return {"304", "AIA 304 \u00c5"};
    case Product::Aia335:
        return {"335", "AIA 335 \u00c5"};
    case Product::Aia94:
        return {"94", "AIA 94 \u00c5"};
    case Product::Aia131:
        return {"131", "AIA 131 \u00c5"};
    case Product::Aia1600:
        return {"1600", "AIA 1600 \u00c5 (UV)"};
    case Product::Aia1700:
        return {"1700", "AIA 1700 \u00c5 (UV)"};
    case Product::CompositeUv:
        return {"composite_uv", "Composite (1700/1600/304)"};
    case Product::Dem:
        return {"dem", "Temperature map (DEM)"};
    }
    return {"", ""};
}

} // namespace

QString productId(Product product)
{
    return QString::fromLatin1(namesOf(product).id);
}

QString productLabel(Product product)
{
    return QString::fromUtf8(namesOf(product).label);
}

std::optional<Product> productFromId(const QString &id)
{
    for (const Product product : kAllProducts) {
        if (productId(product) == id)
            return product;
    }
    return std::nullopt;
}

} // namespace corvella::sun

#include "settings/Products.h"

#include "Product.h"

#include <QByteArray>

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(ProductsTest, AreTheThirteenRowsOfTheCatalogueInOrder)
{
    // The Ångström sign as its two bytes in UTF-8, so that no other character can stand in for it.
    const struct
    {
        const char *id;
        const char *label;
    } rows[] = {
        {"all", "All products (cycle)"},    {"rainbow", "Rainbow (RHEF composite)"},
        {"171", "AIA 171 \xC3\x85"},        {"193", "AIA 193 \xC3\x85"},
        {"211", "AIA 211 \xC3\x85"},        {"304", "AIA 304 \xC3\x85"},
        {"335", "AIA 335 \xC3\x85"},        {"94", "AIA 94 \xC3\x85"},
        {"131", "AIA 131 \xC3\x85"},        {"1600", "AIA 1600 \xC3\x85 (UV)"},
        {"1700", "AIA 1700 \xC3\x85 (UV)"}, {"composite_uv", "Composite (1700/1600/304)"},
        {"dem", "Temperature map (DEM)"},
    };
    ASSERT_EQ(products().size(), 13);
    for (int i = 0; i < 13; ++i) {
        EXPECT_EQ(products().at(i).id.toUtf8(), QByteArray(rows[i].id));
        EXPECT_EQ(products().at(i).label.toUtf8(), QByteArray(rows[i].label));
    }
}

TEST(ProductsTest, BeginWithTheRowThatStandsForAllOfThem)
{
    EXPECT_EQ(products().first().id, QStringLiteral("all"));
    EXPECT_EQ(products().size() - 1, 12) << "products that have imagery";
}

TEST(ProductsTest, AreThoseThatAHostOfOnesOwnDraws)
{
    ASSERT_EQ(products().size() - 1, qsizetype(sun::kAllProducts.size()));
    for (size_t i = 0; i < sun::kAllProducts.size(); ++i) {
        const Product &product = products().at(qsizetype(i) + 1);
        EXPECT_EQ(sun::productId(sun::kAllProducts.at(i)), product.id);
        EXPECT_EQ(sun::productLabel(sun::kAllProducts.at(i)), product.label);
    }
}

TEST(ProductsTest, AreTheSameListEachTime)
{
    EXPECT_EQ(&products(), &products());
}

} // namespace
} // namespace corvella

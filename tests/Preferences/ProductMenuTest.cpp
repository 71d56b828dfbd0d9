#include "Preferences/ProductMenu.h"
#include "support/QtPrinting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::UnorderedElementsAreArray;

TEST(ProductMenuTest, TitlesTellWhatIsChosen)
{
    EXPECT_EQ(ProductMenu::title({u"off"_s}), u"Off"_s);
    EXPECT_EQ(ProductMenu::title({}), u"All products (cycle)"_s);
    EXPECT_EQ(ProductMenu::title({u"171"_s}), u"AIA 171 Å"_s);
    EXPECT_EQ(ProductMenu::title({u"rainbow"_s}), u"Rainbow (RHEF composite)"_s);
    EXPECT_EQ(ProductMenu::title({u"nobody"_s}), u"1 product"_s);
    EXPECT_EQ(ProductMenu::title({u"all"_s}), u"1 product"_s);
    EXPECT_EQ(ProductMenu::title({u"304"_s, u"171"_s}), u"AIA 304 Å, AIA 171 Å"_s);
    EXPECT_EQ(ProductMenu::title({u"304"_s, u"171"_s, u"94"_s}), u"3 products"_s);
    EXPECT_EQ(ProductMenu::title({u"off"_s, u"171"_s}), u"off, AIA 171 Å"_s);
}

QStringList idsOf(const QList<ProductMenu::Item> &items)
{
    QStringList ids;
    for (const ProductMenu::Item &item : items)
        ids << item.id;
    return ids;
}

TEST(ProductMenuTest, OffersTheCatalogueWithoutTheWordAll)
{
    for (const QStringList &choices : {QStringList(), QStringList{u"off"_s}}) {
        const QList<ProductMenu::Item> items = ProductMenu::items(choices);
        EXPECT_EQ(
            idsOf(items),
            (QStringList{u"rainbow"_s, u"171"_s, u"193"_s, u"211"_s, u"304"_s, u"335"_s, u"94"_s,
                         u"131"_s, u"1600"_s, u"1700"_s, u"composite_uv"_s, u"dem"_s}));
        for (const ProductMenu::Item &item : items)
            EXPECT_FALSE(item.isTicked);
    }
}

TEST(ProductMenuTest, TheChosenComeFirstInPlayOrder)
{
    const QList<ProductMenu::Item> items = ProductMenu::items({u"dem"_s, u"171"_s});
    ASSERT_EQ(items.size(), 12);
    EXPECT_EQ(items[0], (ProductMenu::Item{u"dem"_s, u"Temperature map (DEM)"_s, true}));
    EXPECT_EQ(items[1], (ProductMenu::Item{u"171"_s, u"AIA 171 Å"_s, true}));
    EXPECT_EQ(items[2], (ProductMenu::Item{u"rainbow"_s, u"Rainbow (RHEF composite)"_s, false}));
    EXPECT_EQ(items[3].id, u"193"_s);
}

TEST(ProductMenuTest, TickingAppendsAndUntickingRemovesTheFirst)
{
    EXPECT_EQ(ProductMenu::toggled({u"304"_s}, u"171"_s), (QStringList{u"304"_s, u"171"_s}));
    EXPECT_EQ(ProductMenu::toggled({u"304"_s, u"171"_s, u"304"_s}, u"304"_s),
              (QStringList{u"171"_s, u"304"_s}));
    EXPECT_EQ(ProductMenu::toggled({u"off"_s}, u"171"_s), QStringList{u"171"_s});
}

TEST(ProductMenuTest, FewerThanThreeAreReversed)
{
    const auto nobody = [](quint32) -> quint32 {
        ADD_FAILURE() << "nothing to draw lots for";
        return 0;
    };
    EXPECT_EQ(ProductMenu::randomized({u"304"_s, u"171"_s}, nobody),
              (QStringList{u"171"_s, u"304"_s}));
    EXPECT_EQ(ProductMenu::randomized({u"304"_s}, nobody), QStringList{u"304"_s});
    EXPECT_EQ(ProductMenu::randomized({}, nobody), QStringList());
    EXPECT_EQ(ProductMenu::randomized({u"off"_s}, nobody), QStringList{u"off"_s});
}

TEST(ProductMenuTest, EveryOrderOfThreeComesFromExactlyOneDraw)
{
    // 3 ways for the last place, then 2 for the one before it.
    QStringList orders;
    for (quint32 first = 0; first < 3; ++first) {
        for (quint32 second = 0; second < 2; ++second) {
            QList<quint32> draws{first, second};
            const QStringList order =
                ProductMenu::randomized({u"a"_s, u"b"_s, u"c"_s}, [&draws](quint32 below) {
                    EXPECT_EQ(below, draws.size() + 1U);
                    return draws.takeFirst();
                });
            orders << order.join(QString());
        }
    }
    EXPECT_THAT(
        orders,
        UnorderedElementsAreArray({u"abc"_s, u"acb"_s, u"bac"_s, u"bca"_s, u"cab"_s, u"cba"_s}));
}

} // namespace
} // namespace corvella

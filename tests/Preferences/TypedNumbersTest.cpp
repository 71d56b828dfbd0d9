#include "Preferences/TypedNumbers.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

TEST(TypedNumbersTest, Minutes)
{
    EXPECT_EQ(idleMinutesFrom(u"20"_s), 20);
    EXPECT_EQ(idleMinutesFrom(u"7.5"_s), 7.5);
    EXPECT_EQ(idleMinutesFrom(u"500"_s), 500); // only the stepper stops
    EXPECT_EQ(idleMinutesFrom(u"0"_s), 1);
    EXPECT_EQ(idleMinutesFrom(u"0.5"_s), 1);
    EXPECT_EQ(idleMinutesFrom(u"-3"_s), 1);
    for (const QString &noNumber : {u"abc"_s, u""_s, u"5 min"_s, u"inf"_s, u"nan"_s, u"7,5"_s})
        EXPECT_EQ(idleMinutesFrom(noNumber), 5) << noNumber.toStdString();
}

TEST(TypedNumbersTest, Loops)
{
    EXPECT_EQ(loopsFrom(u"3"_s), 3);
    EXPECT_EQ(loopsFrom(u"500"_s), 500);
    EXPECT_EQ(loopsFrom(u"0"_s), 1);
    EXPECT_EQ(loopsFrom(u"-3"_s), 1);
    EXPECT_EQ(loopsFrom(u"9999999999"_s), 2147483647);
    for (const QString &noNumber : {u"abc"_s, u""_s, u"2.5"_s, u"99999999999999999999"_s})
        EXPECT_EQ(loopsFrom(noNumber), 1) << noNumber.toStdString();
}

} // namespace
} // namespace corvella

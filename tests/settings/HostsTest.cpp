#include "settings/Hosts.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(HostsTest, AreThoseOfTheBuild)
{
    EXPECT_EQ(Hosts::origin(), QStringLiteral(CORVELLA_ORIGIN_HOST));
    EXPECT_EQ(Hosts::defaultImagery(), QStringLiteral(CORVELLA_IMAGERY_HOST));
    EXPECT_EQ(Hosts::defaultStore(), QStringLiteral(CORVELLA_STORE_HOST));
}

} // namespace
} // namespace corvella

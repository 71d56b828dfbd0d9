#include "settings/Build.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

TEST(Build, HasAQuestionMarkForWhatIsNotTold)
{
    EXPECT_EQ(Build::textOf({u"1.2.0"_s, 7, u"linux-x86_64"_s}), u"Version 1.2.0 (7)"_s);
    EXPECT_EQ(Build::textOf({u"1.2.0"_s, 0, {}}), u"Version 1.2.0 (?)"_s);
    EXPECT_EQ(Build::textOf({{}, 7, {}}), u"Version ? (7)"_s);
    EXPECT_EQ(Build::textOf({}), u"Version ? (?)"_s);
}

} // namespace
} // namespace corvella

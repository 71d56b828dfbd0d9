#include "platform/storage/BuildIdentity.h"
#include "support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(BuildIdentity, ReadsAnyBytes)
{
    const auto parse = [](const char *text) { return BuildIdentity::parse(text); };
    EXPECT_TRUE(parse(R"({"version": "1.0.0", "build": 1, "machine": "linux-x86_64"})"));
    EXPECT_FALSE(parse(""));
    EXPECT_FALSE(parse(R"({"version": "1.0.0", "build": 0, "machine": "linux-x86_64"})"));
    EXPECT_FALSE(parse(R"({"version": "1.0.0", "build": "1", "machine": "linux-x86_64"})"));
    EXPECT_FALSE(parse(R"({"version": "1 0", "build": 1, "machine": "linux-x86_64"})"));
    EXPECT_FALSE(parse(R"({"version": "1.0.0", "build": 1})"));
    EXPECT_FALSE(BuildIdentity::read(QStringLiteral("/nonexistent")));
}

TEST(BuildIdentity, IsWhatTheFolderSaysToHold)
{
    const test::TemporaryHome home;
    home.write(home.path(QStringLiteral("share/corvella/build.json")),
               R"({"version": "2.7", "build": 41, "machine": "linux-riscv64"})");
    const BuildIdentity expected{QStringLiteral("2.7"), 41, QStringLiteral("linux-riscv64")};
    EXPECT_EQ(BuildIdentity::read(home.path()), expected);
}

} // namespace
} // namespace corvella

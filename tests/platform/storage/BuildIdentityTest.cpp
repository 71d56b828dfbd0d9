#include "platform/storage/BuildIdentity.h"
#include "support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(BuildIdentity, ReadsAnyBytes)
{
    const QString version = QStringLiteral("1.0.0");
    const QString machine = QStringLiteral("linux-x86_64");
    const auto parse = [](const char *text) { return BuildIdentity::parse(text); };
    EXPECT_EQ(parse(R"({"version": "1.0.0", "build": 1, "machine": "linux-x86_64"})"),
              (BuildIdentity{version, 1, machine}));
    EXPECT_EQ(parse(""), BuildIdentity());
    for (const char *noBuild : {"-1", "0", "\"1\"", "1.5", "null"}) {
        const QByteArray json = R"({"version": "1.0.0", "machine": "linux-x86_64", "build": )";
        EXPECT_EQ(BuildIdentity::parse(json + noBuild + "}"), (BuildIdentity{version, 0, machine}))
            << noBuild;
    }
    EXPECT_EQ(parse(R"({"version": "1 0", "build": 1, "machine": "linux-x86_64"})"),
              (BuildIdentity{QString(), 1, machine}));
    EXPECT_EQ(parse(R"({"version": "1.0.0", "build": 1})"), (BuildIdentity{version, 1, QString()}));
}

TEST(BuildIdentity, IsNoneUnlessItIsWhole)
{
    const test::TemporaryHome home;
    EXPECT_FALSE(BuildIdentity::read(home.path()));
    for (const char *part : {"", R"({"build": 41, "machine": "linux-riscv64"})",
                             R"({"version": "2.7", "machine": "linux-riscv64"})",
                             R"({"version": "2.7", "build": 41})"}) {
        home.write(home.path(QStringLiteral("share/corvella/build.json")), part);
        EXPECT_FALSE(BuildIdentity::read(home.path())) << part;
    }
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

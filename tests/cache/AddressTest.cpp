// What becomes of a host that somebody typed.
#include "cache/Address.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

std::string addressOf(const char *host)
{
    const std::optional<QUrl> url =
        Cache::address(QString::fromUtf8(host), QStringLiteral("v/171/1.mp4"));
    return url ? url->toEncoded().toStdString() : "none";
}

TEST(AddressTest, IsThatHostsByHttps)
{
    EXPECT_EQ(addressOf("sun.example"), "https://sun.example/v/171/1.mp4");
    EXPECT_EQ(addressOf("sun.example:8443"), "https://sun.example:8443/v/171/1.mp4");
    EXPECT_EQ(addressOf("SUN.example/of/ours"), "https://sun.example/of/ours/v/171/1.mp4");
    EXPECT_EQ(addressOf("[::1]:8443"), "https://[::1]:8443/v/171/1.mp4");
    EXPECT_EQ(addressOf("s\u00fcn.example"), "https://xn--sn-xka.example/v/171/1.mp4");
}

TEST(AddressTest, IsNoneForWhatIsNoHost)
{
    for (const char *text : {"", "two words", "a:b:c", "sun.example:99999", "sun.example\\@other",
                             "a%2fb", "[::1", "..", "\t"})
        EXPECT_EQ(addressOf(text), "none") << text;
}

TEST(AddressTest, IsNoneForAHostWithMoreThanAPathBehindIt)
{
    for (const char *text : {"sun.example?", "sun.example?list=1", "sun.example/x?y",
                             "sun.example#", "sun.example/#x", "?sun.example", "#"})
        EXPECT_EQ(addressOf(text), "none") << text;
}

TEST(AddressTest, IsNoneForAHostWithAUserInFrontOfIt)
{
    for (const char *text : {"user@sun.example", "user:word@sun.example", "@sun.example",
                             ":@sun.example", "sun.example@other.example"})
        EXPECT_EQ(addressOf(text), "none") << text;
}

} // namespace
} // namespace corvella

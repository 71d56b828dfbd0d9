#include "platform/update/UpdateState.h"
#include "platform/update/Now.h"
#include "support/TemporaryHome.h"

#include <QDir>

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(UpdateState, IsKeptInAFile)
{
    const test::TemporaryHome home;
    EXPECT_EQ(UpdateState::read(home.path()), UpdateState());
    UpdateState state;
    state.seen = {.issued = kNow.addMSecs(-1), .digest = QByteArray::fromHex("00ff")};
    state.lastCheck = kNow;
    state.phase = 6;
    ASSERT_TRUE(state.write(home.path()).isOk());
    EXPECT_EQ(UpdateState::read(home.path()), state);
}

TEST(UpdateState, CountsAsNoneWhereItIsDamaged)
{
    for (const char *text : {"", "nonsense", "[]", "{\"phase\": 7}", "{\"phase\": -2}",
                             "{\"feedIssued\": 5}", "{\"lastCheck\": \"yesterday\"}"})
        EXPECT_EQ(UpdateState::parse(text), UpdateState()) << text;
}

TEST(UpdateState, AllowsOneCheckADay)
{
    EXPECT_TRUE(isCheckDue({}, kNow));
    EXPECT_FALSE(isCheckDue(kNow, kNow));
    EXPECT_FALSE(isCheckDue(kNow.addSecs(-86'399), kNow));
    EXPECT_TRUE(isCheckDue(kNow.addSecs(-86'400), kNow));
    EXPECT_TRUE(isCheckDue(kNow.addSecs(1), kNow)); // made with a wrong clock
}

} // namespace
} // namespace corvella

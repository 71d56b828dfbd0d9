#include "platform/session/Screens.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(Screens, TellsFrameAndScaleOfEachDisplay)
{
    const Screens screens;
    const QList<Screen> list = screens.list();
    ASSERT_EQ(list.size(), 1); // the offscreen platform's one
    EXPECT_EQ(list[0].screen, QGuiApplication::primaryScreen());
    EXPECT_EQ(list[0].frame, QRect(0, 0, 800, 800));
    EXPECT_EQ(list[0].scale, 1);
}

} // namespace
} // namespace corvella

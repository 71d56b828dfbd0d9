// OpenGL needs a display: these tests bring one.
#include "support/VirtualDisplay.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const corvella::test::VirtualDisplay display({1280, 720});
    qputenv("DISPLAY", display.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

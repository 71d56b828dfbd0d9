// Every test executable starts here: a Qt application exists, so that timers, fonts and images work.
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

// Every test executable starts here: a Qt application exists, so that timers, fonts and images
// work.
#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS(); // the build asks for their names, wherever it runs
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

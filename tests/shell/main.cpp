// These tests show windows of widgets, on the screens that the offscreen platform is told to have.
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

constexpr const char *kScreens = R"({"screens": [
    {"name": "Left", "x": 0, "y": 0, "width": 1280, "height": 720,
     "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "Right", "x": 1280, "y": 0, "width": 800, "height": 600,
     "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 2}]})";

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const QTemporaryDir dir;
    QFile screens(dir.filePath(QStringLiteral("screens.json")));
    if (!screens.open(QIODevice::WriteOnly) || screens.write(kScreens) < 0)
        return 1;
    screens.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screens.fileName().toLocal8Bit());
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

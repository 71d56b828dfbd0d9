// OpenGL needs a display, and the application object must find it: these tests start an X server
// and run themselves again on it.
#include "support/VirtualDisplay.h"

#include <QGuiApplication>
#include <QProcess>

#include <gtest/gtest.h>

namespace {

constexpr const char *kOnDisplay = "CORVELLA_TEST_ON_DISPLAY";

int runAgainOnADisplay(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const corvella::test::VirtualDisplay display({1280, 720});
    QProcess again;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display.display());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    environment.insert(QString::fromLatin1(kOnDisplay), QStringLiteral("1"));
    again.setProcessEnvironment(environment);
    again.setProcessChannelMode(QProcess::ForwardedChannels);
    again.start(QCoreApplication::applicationFilePath(), QCoreApplication::arguments().mid(1));
    again.waitForFinished(-1);
    return again.exitStatus() == QProcess::NormalExit ? again.exitCode() : 1;
}

} // namespace

#ifdef __SANITIZE_ADDRESS__
// Takes the place of the system's: OpenGL's driver leaves what it keeps to the end of the process,
// and once it is unloaded the leak checker no longer finds who holds that.
extern "C" int dlclose(void * /*library*/)
{
    return 0;
}
#endif

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet(kOnDisplay) && argc > 0
        && std::none_of(argv, argv + argc, [](const char *argument) {
               return QByteArrayView(argument) == "--gtest_list_tests";
           }))
        return runAgainOnADisplay(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    if (testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS();
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

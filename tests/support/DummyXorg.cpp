#include "support/DummyXorg.h"

#include <QFile>

#include <gtest/gtest.h>

namespace corvella::test {

namespace {

constexpr const char *kConfiguration = R"(
Section "Device"
    Identifier "card"
    Driver "dummy"
    VideoRam 64000
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0 - 1000.0
    VertRefresh 5.0 - 200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "card"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "640x480" "800x600"
    EndSubSection
EndSection
Section "ServerFlags"
    Option "AutoAddDevices" "false"
EndSection
)";

QString modeOf(const QRect &frame)
{
    return QStringLiteral("%1x%2").arg(frame.width()).arg(frame.height());
}

} // namespace

std::unique_ptr<DummyXorg> DummyXorg::create()
{
    std::unique_ptr<DummyXorg> server(new DummyXorg);
    return server->start() ? std::move(server) : nullptr;
}

bool DummyXorg::start()
{
    QFile configuration(m_folder.filePath(QStringLiteral("xorg.conf")));
    EXPECT_TRUE(configuration.open(QIODevice::WriteOnly));
    configuration.write(kConfiguration);
    configuration.close();
    // Started in the folder, because an ordinary user may name the configuration by a relative path
    // only.
    return startServer(
        {QStringLiteral("Xorg"),
         {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-config"),
          QStringLiteral("xorg.conf"), QStringLiteral("-logfile"),
          m_folder.filePath(QStringLiteral("log")), QStringLiteral("-noreset"),
          QStringLiteral("-novtswitch"), QStringLiteral("-sharevts"), QStringLiteral("-nolisten"),
          QStringLiteral("tcp")},
         bareEnvironment(),
         m_folder.path()});
}

void DummyXorg::plugIn(const QString &monitor, const QRect &frame)
{
    const QString xrandr = QStringLiteral("xrandr");
    // Only the first output knows modes by itself.
    if (monitor != QStringLiteral("DUMMY0"))
        runHere(xrandr, {QStringLiteral("--addmode"), monitor, modeOf(frame)});
    runHere(xrandr,
            {QStringLiteral("--output"), monitor, QStringLiteral("--mode"), modeOf(frame),
             QStringLiteral("--pos"), QStringLiteral("%1x%2").arg(frame.x()).arg(frame.y())});
}

void DummyXorg::pullOut(const QString &monitor)
{
    runHere(QStringLiteral("xrandr"),
            {QStringLiteral("--output"), monitor, QStringLiteral("--off")});
}

} // namespace corvella::test

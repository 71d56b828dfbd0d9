#include "support/OffscreenScreens.h"

#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <qpa/qplatformnativeinterface.h>

#include <gtest/gtest.h>

namespace corvella::test {

namespace {

constexpr double kBaseDpi = 96;

QJsonObject described(const OffscreenScreen &screen)
{
    return {{QStringLiteral("name"), screen.name},
            {QStringLiteral("x"), screen.frame.x()},
            {QStringLiteral("y"), screen.frame.y()},
            {QStringLiteral("width"), screen.frame.width()},
            {QStringLiteral("height"), screen.frame.height()},
            {QStringLiteral("logicalDpi"), kBaseDpi},
            {QStringLiteral("logicalBaseDpi"), kBaseDpi},
            {QStringLiteral("dpr"), screen.scale}};
}

} // namespace

void setOffscreenScreens(const QList<OffscreenScreen> &screens)
{
    QJsonArray list;
    for (const OffscreenScreen &screen : screens)
        list << described(screen);
    // As Qt's own tests reach it; there is no header for it.
    using SetConfiguration = void (*)(const QJsonObject &, QPlatformNativeInterface *);
    QPlatformNativeInterface *const platform = QGuiApplication::platformNativeInterface();
    const auto setConfiguration = reinterpret_cast<SetConfiguration>(
        platform->nativeResourceForIntegration("setConfiguration"));
    ASSERT_TRUE(setConfiguration) << "not the offscreen platform";
    setConfiguration({{QStringLiteral("screens"), list}}, platform);
    QCoreApplication::processEvents();
}

} // namespace corvella::test

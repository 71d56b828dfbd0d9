#include "shell/SelfTest.h"

#include "Wall/WallView.h"
#include "cache/RefreshRules.h"
#include "settings/Settings.h"
#include "updater/Updater.h"

#include <QDateTime>
#include <QTimeZone>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace corvella {

namespace {

void check(bool holds)
{
    if (!holds)
        std::abort();
}

QSet<QString> set(std::initializer_list<QString> ids)
{
    return QSet<QString>(ids);
}

void checkPlaylistChooser()
{
    const QString a = QStringLiteral("171");
    const QString b = QStringLiteral("193");
    const QStringList ids{a, b, QStringLiteral("304")};
    check(WallView::nextIndex(ids, 0, {}, {}) == 0);
    check(WallView::nextIndex(ids, 0, {}, a) == 1);
    check(WallView::nextIndex(ids, 1, {b}, {}) == 2);
    check(WallView::nextIndex(ids, 0, {b}, a) == 2);
    check(WallView::nextIndex({a}, 0, {a}, {}) == 0);
    check(WallView::nextIndex({a, b}, 0, {b}, a) == 0);
    check(WallView::nextIndex({}, 0, {}, {}) == std::nullopt);
}

void checkBackStep()
{
    check(WallView::rewound(1, 3) == 2);
    check(WallView::rewound(2, 3) == 0);
    check(WallView::rewound(3, 3) == 1);
    check(WallView::rewound(0, 1) == 0);
    check(WallView::rewound(0, 0) == 0);
}

void checkDownloadSet()
{
    const QString a = QStringLiteral("171");
    const QString b = QStringLiteral("193");
    const QString c = QStringLiteral("304");
    const QString off = QStringLiteral("off");
    check(Settings::inUse({a, c}) == set({a, c}));
    check(Settings::inUse({a + QLatin1Char(',') + b, c}) == set({a, b, c}));
    check(Settings::inUse({a, off}) == set({a}));
    check(Settings::inUse({a, QString()}) == std::nullopt);
    check(Settings::inUse({a, QStringLiteral("all")}) == std::nullopt);
    check(Settings::inUse({}) == std::nullopt);
    check(Settings::inUse({off, off}) == std::nullopt);
}

void checkRefreshInterval()
{
    check(Settings::refreshInterval(std::nullopt) == 1440.0);
    check(Settings::refreshInterval(60.0) == 1440.0);
    check(Settings::refreshInterval(720.0) == 720.0);
    check(Settings::refreshInterval(5.0) == 1440.0);
}

void checkCadence(const QDateTime &t)
{
    check(Cache::isDue(Settings::distantPast(), std::chrono::hours(24), t));
    check(!Cache::isDue(t, std::chrono::hours(24), t.addSecs(43199)));
    check(Cache::isDue(t, std::chrono::hours(24), t.addSecs(86400)));
    check(!Cache::isDue(t, Cache::manualSpacing, t.addSecs(3599)));
    check(Cache::isDue(t, Cache::manualSpacing, t.addSecs(3600)));
}

void checkOriginFallback(const QDateTime &t)
{
    check(Cache::shouldUseOrigin(false, std::nullopt, t));
    check(!Cache::shouldUseOrigin(true, std::nullopt, t));
    check(!Cache::shouldUseOrigin(true, t.addSecs(-21600), t));
    check(!Cache::shouldUseOrigin(true, t.addSecs(-64800), t));
    check(Cache::shouldUseOrigin(true, t.addSecs(-64801), t));
}

void checkForwardOnly()
{
    const QString newer = QStringLiteral("v/171/20260924T204216.mp4");
    const QString older = QStringLiteral("v/171/20260924T182303.mp4");
    const QString unstamped = QStringLiteral("video/rhef_171_1k.mp4");
    check(Cache::isNewer(newer, older));
    check(!Cache::isNewer(older, newer));
    check(!Cache::isNewer(older, older));
    check(Cache::isNewer(older, std::nullopt));
    check(Cache::isNewer(older, unstamped));
    check(Cache::isNewer(unstamped, older));
}

void checkKioskUpdateHour()
{
    const QTimeZone zone("America/Denver");
    check(zone.isValid());
    const auto october = [&zone](int day, int hour, int minute) {
        QDateTime date(QDate(2026, 10, day), QTime(hour, minute), zone);
        check(date.isValid());
        return date;
    };
    check(Updater::quietHour(october(5, 14, 0), zone) == october(6, 3, 0));
    check(Updater::quietHour(october(5, 1, 30), zone) == october(5, 3, 0));
    check(Updater::quietHour(october(5, 3, 30), zone) == october(5, 3, 30));
    check(Updater::quietHour(october(5, 5, 0), zone) == october(6, 3, 0));
}

} // namespace

void runSelfTest()
{
    const QDateTime t = QDateTime::fromSecsSinceEpoch(1'000'000, Qt::UTC);
    checkPlaylistChooser();
    checkBackStep();
    checkDownloadSet();
    checkRefreshInterval();
    checkCadence(t);
    checkOriginFallback(t);
    checkForwardOnly();
    checkKioskUpdateHour();
    std::puts("selftest: playlist chooser, back-step, download set, cadence, origin fallback, "
              "forward-only and kiosk update hour ok");
    std::fflush(stdout);
}

} // namespace corvella

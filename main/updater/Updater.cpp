#include "updater/Updater.h"

#include "log.h"
#include "platform/storage/Resources.h"
#include "platform/update/Relaunch.h"
#include "settings/Settings.h"
#include "updater/UpdateTexts.h"
#include "updater/UpdateTrust.h"
#include "updater/UpdateWindow.h"

#include <QCoreApplication>

#include <algorithm>

namespace corvella {

namespace {

using namespace std::chrono_literals;

// The quiet span, in hours of local time.
constexpr int kQuietFrom = 3;
constexpr int kQuietUntil = 5;
// A timer counts time that passes, and knows nothing of a clock that is set or a machine that
// sleeps: it looks at the clock at least this often.
constexpr std::chrono::milliseconds kLongestWait = 15min;

const QString kCheckAtLaunch = QStringLiteral("checkUpdatesNow");
const QString kFeed = QStringLiteral("updateFeed");
const QString kChannel = QStringLiteral("updateChannel");
const QString kOffline =
    QStringLiteral("Offline is on in Corvella's Settings, so it is not checking for updates.");
const QString kNotUpdated = QStringLiteral("Corvella was not updated");

// The first moment of a day at which its clocks show 03:00, or, where they jump over that, the
// moment of the jump. Qt 6.4 gives an invalid time for the one and the second of two for 03:00 that
// comes twice.
QDateTime quietStart(const QDate &day, const QTimeZone &zone)
{
    const QDateTime shown(day, QTime(kQuietFrom, 0), Qt::UTC); // as if it were UTC
    const auto [behind, ahead] =
        std::minmax({zone.offsetFromUtc(shown.addDays(-1)), zone.offsetFromUtc(shown.addDays(1))});
    for (const int offset : {ahead, behind}) {
        const QDateTime moment = shown.addSecs(-offset);
        if (zone.offsetFromUtc(moment) == offset)
            return moment.toTimeZone(zone);
    }
    return zone.nextTransition(shown.addSecs(-ahead)).atUtc.toTimeZone(zone);
}

QString logText(const QDateTime &instant)
{
    return instant.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}

} // namespace

Updater &Updater::shared()
{
    static Updater updater({.executable = executablePath(),
                            .key = UpdateTrust::key(),
                            .feed = UpdateTrust::feed(),
                            .quit = &QCoreApplication::quit});
    return updater;
}

Updater::Updater(Surroundings surroundings)
    : m_surroundings(std::move(surroundings))
{
    m_nightly.setSingleShot(true);
    m_nightly.setTimerType(Qt::PreciseTimer);
    connect(&m_nightly, &QTimer::timeout, this, &Updater::nightlyFired);
}

Updater::~Updater() = default;

QDateTime Updater::quietHour(const QDateTime &after, const QTimeZone &zone)
{
    const QDateTime local = after.toTimeZone(zone);
    const int hour = local.time().hour();
    if (hour >= kQuietFrom && hour < kQuietUntil)
        return after;
    const QDateTime candidate = quietStart(local.date(), zone);
    return candidate > after ? candidate : quietStart(local.date().addDays(1), zone);
}

// The machine's; UTC, as for the C library, where that is set to one that nobody knows.
QTimeZone Updater::zone()
{
    const QTimeZone machines = QTimeZone::systemTimeZone();
    if (machines.isValid())
        return machines;
    if (!std::exchange(m_isZoneMissed, true))
        log(QStringLiteral(
            "update: the machine's time zone is not known; its night is that of UTC"));
    return QTimeZone::utc();
}

QDateTime Updater::nextQuietHour()
{
    return quietHour(m_surroundings.now(), zone());
}

void Updater::start()
{
    m_controller = std::make_unique<UpdaterController>(
        UpdaterController::Surroundings{.executable = m_surroundings.executable,
                                        .key = m_surroundings.key,
                                        .now = m_surroundings.now},
        UpdaterController::Delegate{
            .feedUrl = [this] { return Settings::d().string(kFeed).value_or(m_surroundings.feed); },
            .channels =
                [] {
                    const std::optional<QString> channel = Settings::d().string(kChannel);
                    return channel ? QStringList{*channel} : QStringList();
                },
            .refusal = [] { return Settings::offline() ? std::optional(kOffline) : std::nullopt; },
            .willInstallUpdateOnQuit =
                [this](const QString &version, std::function<void()> installNow) {
                    return willInstallUpdateOnQuit(version, std::move(installNow));
                }});
    connect(m_controller.get(), &UpdaterController::endRequested, this,
            [this] { m_surroundings.quit(); });
    m_controller->start();
    if (Settings::d().boolean(kCheckAtLaunch).value_or(false))
        m_controller->checkInBackground();
}

void Updater::lookAfterSleep()
{
    if (m_controller)
        m_controller->checkIfDue();
    if (m_nightly.isActive())
        nightlyFired();
}

void Updater::checkNow()
{
    if (!m_controller)
        return;
    if (!m_window)
        buildWindow();
    m_window->showChecking();
    m_window->QWidget::show();
    m_window->raise();
    m_window->activateWindow();
    m_controller->checkForUpdates();
}

void Updater::buildWindow()
{
    m_window = std::make_unique<UpdateWindow>();
    UpdateWindow *window = m_window.get();
    UpdaterController *controller = m_controller.get();
    connect(window, &UpdateWindow::installChosen, controller, &UpdaterController::accept);
    connect(window, &UpdateWindow::relaunchChosen, controller, &UpdaterController::installNow);
    connect(controller, &UpdaterController::offered, window,
            [window, controller](const QString &version, const QString &notes) {
                window->showOffer(version, controller->runningVersion(), notes);
            });
    connect(controller, &UpdaterController::downloading, window, &UpdateWindow::showDownload);
    connect(controller, &UpdaterController::preparing, window, &UpdateWindow::showPreparing);
    connect(controller, &UpdaterController::ready, this, &Updater::tellReady);
    connect(controller, &UpdaterController::upToDate, window, [window, controller] {
        window->showMessage(
            QStringLiteral("Corvella is up to date"),
            QStringLiteral("Version %1 is the newest.").arg(controller->runningVersion()));
    });
    connect(controller, &UpdaterController::refused, window,
            [window](const QString &text) { window->showMessage(kNotUpdated, text); });
    connect(controller, &UpdaterController::failed, window, [window](UpdateFault fault) {
        window->showMessage(kNotUpdated, UpdateTexts::sentence(fault));
    });
}

void Updater::tellReady(const QString &version)
{
    m_window->showReady(version,
                        when() == When::overnight
                            ? QStringLiteral("It is installed at night, between 3 and 5 o'clock.")
                            : QStringLiteral("It is installed when Corvella quits."));
}

void Updater::applicationWillTerminate()
{
    m_window.reset();
    if (m_controller)
        m_controller->terminate();
    stop();
}

void Updater::stop()
{
    m_nightly.stop();
    m_pending = nullptr;
    m_window.reset();
    if (!m_controller)
        return;
    m_relaunch = m_controller->relaunch();
    m_controller.reset();
}

void Updater::relaunchIfInstalled(const QStringList &arguments) const
{
    if (m_relaunch)
        relaunch(*m_relaunch, arguments);
}

bool Updater::willInstallUpdateOnQuit(const QString &version, std::function<void()> installNow)
{
    switch (when()) {
    case When::now:
        m_pending = std::move(installNow);
        install(version);
        return true;
    case When::overnight:
        m_pending = std::move(installNow);
        scheduleOvernight(version);
        return true;
    case When::onQuit:
        break;
    }
    log(QStringLiteral("update: %1 downloaded; installs on quit").arg(version));
    return false;
}

void Updater::scheduleOvernight(const QString &version)
{
    m_installAt = nextQuietHour();
    m_nightlyVersion = version;
    log(QStringLiteral("update: %1 downloaded; this kiosk installs it at ").arg(version)
        + logText(m_installAt));
    waitUntilNight();
}

void Updater::waitUntilNight()
{
    const std::chrono::milliseconds left(m_surroundings.now().msecsTo(m_installAt));
    m_nightly.start(std::clamp(left, 0ms, kLongestWait));
}

void Updater::nightlyFired()
{
    if (m_surroundings.now() >= m_installAt)
        return installIfStillQuiet(m_nightlyVersion);
    m_installAt = std::min(m_installAt, nextQuietHour()); // the clock may have been set back
    waitUntilNight();
}

void Updater::installIfStillQuiet(const QString &version)
{
    if (!m_pending)
        return;
    switch (when()) {
    case When::onQuit:
        return;
    case When::overnight:
        if (const QDateTime now = m_surroundings.now(); quietHour(now, zone()) != now) {
            scheduleOvernight(version);
            return;
        }
        break;
    case When::now:
        break;
    }
    install(version);
}

void Updater::install(const QString &version)
{
    log(QStringLiteral("update: installing %1 now and relaunching").arg(version));
    std::exchange(m_pending, nullptr)();
}

} // namespace corvella

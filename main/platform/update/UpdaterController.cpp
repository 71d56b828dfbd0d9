#include "platform/update/UpdaterController.h"

#include "log.h"

#include <QElapsedTimer>
#include <QPointer>

#include <gnu/libc-version.h>
#include <utility>

namespace corvella {

namespace {

using namespace std::chrono_literals;

// A build that crashes does so when its first wall comes up.
constexpr auto kStarted = 10s;
constexpr auto kBetweenLooks = 1h; // at whether a check is due; after a failure, until the next try
constexpr int kMostFailures = 2;   // of a build's own test
constexpr qint64 kBetweenSteps = 100; // milliseconds between two tellings of a download's progress

QVersionNumber systemVersion()
{
    return QVersionNumber::fromString(QLatin1String(gnu_get_libc_version()));
}

} // namespace

UpdaterController::UpdaterController(const Surroundings &surroundings, Delegate delegate)
    : m_installation(surroundings.executable)
    , m_key(PublicKey::parse(surroundings.key))
    , m_now(surroundings.now)
    , m_delegate(std::move(delegate))
{
    m_started.setSingleShot(true);
    connect(&m_started, &QTimer::timeout, this, &UpdaterController::confirmStart);
    connect(&m_hourly, &QTimer::timeout, this, &UpdaterController::checkIfDue);
}

UpdaterController::~UpdaterController()
{
    if (m_preparation)
        m_preparation->cancel();
    m_background.finish();
}

QString UpdaterController::runningVersion() const
{
    return m_installation.identity() ? m_installation.identity()->version : QString();
}

UpdateFault UpdaterController::obstacle() const
{
    switch (m_installation.kind()) {
    case Installation::Kind::packageManager:
        return UpdateFault::packageManager;
    case Installation::Kind::loose:
        return UpdateFault::loose;
    case Installation::Kind::fromBundle:
        break;
    }
    return m_key ? UpdateFault::none : UpdateFault::noKey;
}

void UpdaterController::start()
{
    if (m_installation.kind() != Installation::Kind::fromBundle)
        return;
    if (const qint64 failed = m_installation.failedBuild();
        failed > m_installation.identity()->build)
        log(QStringLiteral("update: build %1 did not start; %2 was put back")
                .arg(failed)
                .arg(runningVersion()));
    m_started.start(kStarted);
}

void UpdaterController::confirmStart()
{
    m_installation.endTrial();
    m_background.start([installation = m_installation] { installation.clearUp(); });
    m_hourly.start(kBetweenLooks);
    checkIfDue();
}

std::shared_ptr<UpdatePreparation> UpdaterController::newPreparation() const
{
    return std::make_shared<UpdatePreparation>(
        UpdateSetup{.installation = m_installation,
                    .key = *m_key,
                    .feedUrl = m_delegate.feedUrl(),
                    .channels = m_delegate.channels(),
                    .system = systemVersion(),
                    .failingBuild = m_failures >= kMostFailures ? m_failingBuild : 0,
                    .now = m_now});
}

void UpdaterController::checkIfDue()
{
    check(Asked::daily);
}

void UpdaterController::checkInBackground()
{
    check(Asked::atOnce);
}

void UpdaterController::checkForUpdates()
{
    check(Asked::byHand);
}

void UpdaterController::check(Asked asked)
{
    if (const std::optional<QString> refusal = m_delegate.refusal()) {
        if (asked == Asked::byHand)
            Q_EMIT refused(*refusal);
        return;
    }
    if (const UpdateFault fault = obstacle(); fault != UpdateFault::none) {
        if (asked == Asked::byHand)
            Q_EMIT failed(fault, QString());
        return;
    }
    Q_EMIT checking();
    if (m_preparation) { // whose signals tell the one who asks now, too
        m_isAskedMeanwhile = m_isAskedMeanwhile || asked == Asked::byHand;
        return;
    }
    m_isAskedMeanwhile = false;
    m_preparation = newPreparation();
    const CheckKind kind = asked == Asked::byHand ? CheckKind::byHand : CheckKind::automatic;
    // A program that was killed no longer knows of what lay ready, which does not wait for
    // tomorrow.
    m_background.run(
        [preparation = m_preparation, installation = m_installation, kind,
         atOnce = asked != Asked::daily, knowsFeed = m_knowsFeed] {
            return preparation->find(kind, atOnce || (!knowsFeed && installation.hasSuccessor()));
        },
        [this, asked](const UpdatePreparation::Finding &finding) { found(asked, finding); });
}

void UpdaterController::found(Asked asked, const UpdatePreparation::Finding &finding)
{
    m_preparation.reset();
    // An automatic check passes over in silence what somebody who asks is to be told.
    if (m_isAskedMeanwhile && asked != Asked::byHand) {
        check(Asked::byHand);
        return;
    }
    if (finding.result.fault != UpdateFault::none) {
        fail(finding.result);
        return;
    }
    m_knowsFeed = true;
    m_lastComplaint.clear();
    if (!finding.item) {
        Q_EMIT upToDate();
    } else if (asked == Asked::byHand) {
        m_offer = finding.item;
        Q_EMIT offered(finding.item->version, finding.item->notes);
    } else {
        prepare(*finding.item);
    }
}

void UpdaterController::accept()
{
    if (!m_offer || m_preparation)
        return;
    prepare(*std::exchange(m_offer, std::nullopt));
}

void UpdaterController::prepare(const AppcastItem &item)
{
    // It may have been given since the check began.
    if (const std::optional<QString> refusal = m_delegate.refusal()) {
        Q_EMIT refused(*refusal);
        return;
    }
    m_preparation = newPreparation();
    // On the worker.
    const auto progress = [this, told = QElapsedTimer()](qint64 done, qint64 total) mutable {
        if (told.isValid() && told.elapsed() < kBetweenSteps && done < total)
            return;
        told.start();
        m_background.tell([this, done, total] { downloaded(done, total); });
    };
    m_background.run(
        [preparation = m_preparation, item, progress] {
            return preparation->prepare(item, progress);
        },
        [this, item](const UpdatePreparation::Result &result) { prepared(item, result); });
}

void UpdaterController::downloaded(qint64 done, qint64 total)
{
    if (!m_preparation)
        return;
    if (done == total) {
        Q_EMIT downloading(done, total);
        Q_EMIT preparing();
    } else if (const std::optional<QString> refusal = m_delegate.refusal()) {
        m_preparation->cancel(); // what is there of it is kept
        Q_EMIT refused(*refusal);
    } else {
        Q_EMIT downloading(done, total);
    }
}

void UpdaterController::prepared(const AppcastItem &item, const UpdatePreparation::Result &result)
{
    m_preparation.reset();
    if (result.fault == UpdateFault::doesNotRun) {
        if (std::exchange(m_failingBuild, item.build) != item.build)
            m_failures = 0;
        ++m_failures;
    }
    if (result.fault != UpdateFault::none) {
        fail(result);
        return;
    }
    m_ready = {.version = item.version, .build = item.build};
    Q_EMIT ready(item.version);
    m_delegate.willInstallUpdateOnQuit(item.version, [self = QPointer(this)] {
        if (self)
            self->installNow();
    });
}

void UpdaterController::fail(const UpdatePreparation::Result &result)
{
    if (result.fault == UpdateFault::notDue || result.fault == UpdateFault::cancelled)
        return;
    if (std::exchange(m_lastComplaint, result.reason) != result.reason)
        log(QStringLiteral("update: ") + result.reason);
    Q_EMIT failed(result.fault, result.reason);
}

void UpdaterController::installNow()
{
    if (!m_ready || m_relaunch)
        return;
    const FileResult switched = m_installation.switchTo(m_ready->build);
    if (!switched.isOk()) {
        fail({.fault = !m_installation.isCurrent()         ? UpdateFault::superseded
                  : switched.status == FileStatus::noSpace ? UpdateFault::noSpace
                                                           : UpdateFault::cannotWrite,
              .reason = switched.reason});
        return;
    }
    m_relaunch = m_installation.launcher();
    Q_EMIT endRequested();
}

void UpdaterController::terminate()
{
    if (m_preparation)
        m_preparation->cancel();
    m_started.stop();
    m_hourly.stop();
    m_background.finish();
    if (!m_ready || m_relaunch)
        return;
    const FileResult switched = m_installation.switchTo(m_ready->build);
    log(switched.isOk()
            ? QStringLiteral("update: %1 installed; it starts next time").arg(m_ready->version)
            : QStringLiteral("update: %1 is not installed: ").arg(m_ready->version)
                + switched.reason);
    m_ready.reset();
}

} // namespace corvella

// What the settings window's controls do.
#include "Preferences/Preferences.h"

#include "Preferences/BusyIndicator.h"
#include "Preferences/CacheStatus.h"
#include "Preferences/ModeRules.h"
#include "Preferences/Note.h"
#include "Preferences/NumberField.h"
#include "Preferences/PreferencesWindow.h"
#include "Preferences/SaverInstall.h"
#include "Preferences/ScreensGrid.h"
#include "Preferences/Stepper.h"
#include "Preferences/TurnOff.h"
#include "Preferences/TypedNumbers.h"
#include "Preferences/WallControls.h"
#include "cache/Cache.h"
#include "desktop/Desktop.h"
#include "log.h"
#include "settings/Products.h"
#include "settings/Settings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>

namespace corvella {

namespace {

// What the network setting was before the kiosk turned it off.
const QString kOfflineBeforeKiosk = QStringLiteral("offlineBeforeKiosk");

} // namespace

void Preferences::modeChanged(int segment)
{
    const Mode old = Settings::mode();
    const Mode chosen = kModeSegments[static_cast<size_t>(segment)];
    const ModeChange change = modeChange(old, chosen, Settings::desktop());
    Settings::d().saveTogether([&] {
        Settings::setMode(chosen);
        if (change.turnsKioskOn)
            applyKioskPreset(change.savesOffline);
    });
    if (m_controls)
        m_controls->keepWalls();
    if (change.startsDesktop) {
        if (m_controls)
            m_controls->hide();
        Desktop::remember();
        desktopUpdateNow();
    }
    if (change.restoresDesktop)
        Desktop::restore();
    if (change.turnsKioskOn)
        primeIfIncomplete();
    if (change.turnsKioskBack)
        undoKioskPreset();
    load();
}

void Preferences::applyKioskPreset(bool savesOffline)
{
    if (savesOffline)
        Settings::d().setBoolean(kOfflineBeforeKiosk, Settings::offline());
    Settings::setOffline(true);
    Settings::setAttribution(true);
    Settings::setOpenAtLogin(true);
}

void Preferences::primeIfIncomplete()
{
    m_background->run([] { return Cache::count(); },
                      [this](qsizetype count) {
                          const qsizetype complete = products().size() - 1; // without "all"
                          if (count < complete && Settings::mode() == Mode::kiosk)
                              prime();
                      });
}

void Preferences::undoKioskPreset()
{
    Settings::d().saveTogether([] {
        // Not there where a shell or the machine's administrator chose the kiosk.
        if (const std::optional<bool> before = Settings::d().boolean(kOfflineBeforeKiosk))
            Settings::setOffline(*before);
        Settings::resetAttribution();
    });
    // It goes on opening at login: whoever set a kiosk up may have wanted that before.
}

void Preferences::idleStepped(int minutes)
{
    m_idleField->show(QString::number(minutes));
    save();
    showModeRules(); // the note beside it speaks of the minutes
}

void Preferences::idleTyped()
{
    const double minutes = idleMinutesFrom(m_idleField->text());
    m_idleField->show(QString::number(minutes, 'g', 10));
    m_idleStepper->show(static_cast<int>(std::min(minutes, double(m_idleStepper->maximum()))));
    save();
    showModeRules();
}

void Preferences::loopsStepped(int loops)
{
    m_loopsField->show(QString::number(loops));
    save();
}

void Preferences::loopsTyped()
{
    const int loops = loopsFrom(m_loopsField->text());
    m_loopsField->show(QString::number(loops));
    m_loopsStepper->show(loops);
    save();
}

void Preferences::finishTyping()
{
    m_idleField->finish();
    m_loopsField->finish();
}

void Preferences::loginToggled()
{
    Settings::setOpenAtLogin(m_loginBox->isChecked());
    setTicked(*m_loginBox, Settings::openAtLogin()); // the system may have refused
}

void Preferences::networkChanged()
{
    saveWith([this] { Settings::setOffline(m_offlineRadio->isChecked()); });
    refreshCacheStatus();
}

void Preferences::desktopToggled()
{
    const bool isOn = m_desktopBox->isChecked();
    saveWith([isOn] { Settings::setDesktop(isOn); });
    m_desktopNow->setEnabled(isOn && !m_updating);
    if (isOn) {
        Desktop::remember();
        Desktop::apply();
    } else {
        Desktop::restore();
    }
}

void Preferences::desktopUpdateNow()
{
    save();
    if (std::exchange(m_updating, true))
        return;
    const bool offline = Settings::offline();
    m_cacheStatus->setText(offline ? QStringLiteral("Updating from disk…")
                                   : QStringLiteral("Checking for new imagery…"));
    m_busy->start();
    disable(*m_startButton);
    disable(*m_desktopNow);
    m_background->run([offline] { return offline ? std::nullopt : Cache::refreshNow(false); },
                      [this](const std::optional<QDateTime> &refused) { desktopUpdated(refused); });
}

// The keys would go to the next control, where Return and Space do something else.
void Preferences::disable(QPushButton &button)
{
    if (button.hasFocus())
        m_window->focusNothing();
    button.setEnabled(false);
}

void Preferences::desktopUpdated(const std::optional<QDateTime> &refused)
{
    m_updating = false;
    Desktop::apply();
    refreshCacheStatus(refused);
    m_busy->stop();
    m_startButton->setEnabled(true);
    m_desktopNow->setEnabled(Settings::desktopActive());
}

void Preferences::prime()
{
    if (std::exchange(m_priming, true))
        return;
    disable(*m_primeButton);
    m_busy->start();
    m_cacheStatus->setText(QStringLiteral("Downloading…"));
    const auto progress = [this, background = m_background.get()](int done, int total) {
        background->tell(
            [this, done, total] { m_cacheStatus->setText(downloadingText(done, total)); });
    };
    m_background->run([progress] { return Cache::refreshNow(true, progress); },
                      [this](const std::optional<QDateTime> &refused) { primed(refused); });
}

void Preferences::primed(const std::optional<QDateTime> &refused)
{
    m_priming = false;
    m_primeButton->setEnabled(true);
    m_busy->stop();
    refreshCacheStatus(refused);
}

void Preferences::start()
{
    save();
    if (Settings::mode() == Mode::desktop)
        desktopUpdateNow();
    else if (m_controls)
        m_controls->show();
}

void Preferences::arm()
{
    save();
    if (m_controls)
        m_controls->arm();
}

void Preferences::save()
{
    saveWith([] {});
}

void Preferences::saveWith(const std::function<void()> &more)
{
    bool needsOthers = false;
    Settings::d().saveTogether([&] {
        more();
        needsOthers = saveProducts();
        Settings::setIdleMinutes(idleMinutesFrom(m_idleField->text()));
        Settings::setLockOnDismiss(m_lockBox->isChecked());
        Settings::setAttribution(m_attributionBox->isChecked());
        Settings::setRefreshMinutes(m_refreshPopup->currentData().toDouble());
        Settings::setShuffle(m_shuffleBox->isChecked());
        const QString transition = m_transitionPopup->currentData().toString();
        if (const auto chosen = transitionFromRawValue(transition))
            Settings::setTransition(*chosen);
        Settings::setLoops(loopsFrom(m_loopsField->text()));
        Settings::setConfigured(true);
    });
    if (needsOthers && !Settings::offline())
        refreshImagery();
}

bool Preferences::saveProducts()
{
    QStringList lists;
    for (const QStringList &choices : m_screensGrid->screenChoices())
        lists << choices.join(u',');
    // While no display is attached there is nothing to say about any.
    if (lists.isEmpty())
        return false;
    const QStringList before = Settings::products();
    Settings::setProducts(lists);
    return lists != before;
}

void Preferences::refreshImagery()
{
    m_background->run(
        [] {
            Cache::refresh();
            return 0;
        },
        [this](int) { refreshCacheStatus(); });
}

void Preferences::installSaver()
{
    disable(*m_installButton); // two at once would take each other's copy away
    m_background->run([] { return corvella::installSaver(); },
                      [this](const std::optional<QString> &note) {
                          m_installButton->setEnabled(true);
                          if (note)
                              m_installNote->setText(*note);
                      });
}

void Preferences::deactivate()
{
    const TurnOffFacts facts{Settings::desktopActive() && Settings::previousDesktop(),
                             Settings::openAtLogin(), bundledSaver().has_value()};
    auto *const alert = new QMessageBox(m_window.get());
    m_question = alert;
    connect(alert, &QMessageBox::finished, alert, &QObject::deleteLater);
    alert->setIcon(QMessageBox::Question);
    alert->setText(QStringLiteral("Turn Corvella off and quit?"));
    alert->setInformativeText(turnOffText(facts));
    QPushButton *const confirm =
        alert->addButton(QStringLiteral("Turn Off and Quit"), QMessageBox::AcceptRole);
    alert->setDefaultButton(confirm);
    alert->setEscapeButton(alert->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole));
    connect(confirm, &QPushButton::clicked, this, &Preferences::turnOff);
    alert->open();
}

void Preferences::turnOff()
{
    save();
    if (m_controls)
        m_controls->hide();
    if (Settings::desktopActive()) {
        Settings::setDesktop(false);
        Desktop::restore();
    }
    Settings::setOpenAtLogin(false);
    log(QStringLiteral("deactivated and quit at the user's request"));
    QCoreApplication::quit();
}

} // namespace corvella

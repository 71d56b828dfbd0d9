#include "Preferences/Preferences.h"

#include "Preferences/CacheStatus.h"
#include "Preferences/ModeRules.h"
#include "Preferences/Note.h"
#include "Preferences/NumberField.h"
#include "Preferences/PreferencesWindow.h"
#include "Preferences/ProductMenu.h"
#include "Preferences/ScreenNames.h"
#include "Preferences/ScreensGrid.h"
#include "Preferences/SegmentedControl.h"
#include "Preferences/Stepper.h"
#include "Preferences/WallControls.h"
#include "cache/Cache.h"
#include "settings/Build.h"
#include "settings/Settings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSignalBlocker>

#include <algorithm>

namespace corvella {

namespace {

// Downloads wait for each other; what reads the disk need not wait for them.
constexpr size_t kMostAtOnce = 8;

// A note without words takes no room either.
void setNote(Note &note, const QString &text)
{
    note.setText(text);
    note.setVisible(!text.isEmpty());
}

QString doubledAmpersands(QString text)
{
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace

Preferences &Preferences::shared()
{
    static Preferences preferences;
    return preferences;
}

Preferences::Preferences() = default;
Preferences::~Preferences() = default;

void Preferences::show()
{
    if (m_controls)
        m_controls->disarm();
    if (!m_window) {
        layout();
        connectControls();
        if (m_makeMenu)
            m_window->setMenu(m_makeMenu());
        m_background = std::make_unique<BackgroundWork>(kMostAtOnce);
        m_screens = std::make_unique<Screens>();
        // Later, because a screen that goes is still being taken away when it is told.
        connect(m_screens.get(), &Screens::changed, this, &Preferences::rebuildScreens,
                Qt::QueuedConnection);
    }
    load();
    m_window->bringToFront();
}

void Preferences::hide()
{
    if (m_question)
        m_question->reject(); // alone on the desktop it would block the window that comes next
    if (m_window)
        m_window->hide();
}

void Preferences::close()
{
    m_background.reset();
    m_screens.reset();
    m_window.reset();
    m_priming = false;
    m_updating = false;
}

void Preferences::setTicked(QAbstractButton &button, bool isTicked)
{
    const QSignalBlocker quiet(button);
    button.setChecked(isTicked);
}

bool Preferences::isVisible() const
{
    return m_window && m_window->isVisible();
}

void Preferences::load()
{
    const auto *const segment =
        std::find(kModeSegments.begin(), kModeSegments.end(), Settings::mode());
    m_mode->select(static_cast<int>(segment - kModeSegments.begin()));
    const auto idleMinutes = static_cast<int>(Settings::idleMinutes());
    m_idleField->show(QString::number(idleMinutes));
    m_idleStepper->show(idleMinutes);
    setTicked(*m_lockBox, Settings::lockOnDismiss());
    setTicked(*m_loginBox, Settings::openAtLogin());
    m_attributionBox->setText(
        doubledAmpersands(QStringLiteral("Show %1 on screen").arg(Settings::storeHost())));
    setTicked(*m_attributionBox, Settings::attribution());
    // One of the two unticks the other, and it is this one that tells.
    const QSignalBlocker quiet(m_offlineRadio);
    (Settings::offline() ? m_offlineRadio : m_onlineRadio)->setChecked(true);
    // Any other interval than those on offer shows as the first of them.
    m_refreshPopup->setCurrentIndex(
        std::max(0, m_refreshPopup->findData(Settings::refreshMinutes())));
    setTicked(*m_shuffleBox, Settings::shuffle());
    m_transitionPopup->setCurrentIndex(
        m_transitionPopup->findData(rawValue(Settings::transition())));
    m_loopsField->show(QString::number(Settings::loops()));
    m_loopsStepper->show(Settings::loops());
    m_versionLabel->setText(Build::text());
    rebuildScreens();
    showModeRules();
    refreshCacheStatus();
}

void Preferences::showModeRules()
{
    const Mode mode = Settings::mode();
    const ModeRules rules = modeRules(mode, Settings::idleMinutes(), Settings::desktop());
    m_modeHelp->setText(helpText(mode));
    m_startButton->setText(rules.startTitle);
    m_armButton->setToolTip(rules.armTooltip);
    setNote(*m_armNote, rules.armNote);
    setNote(*m_lockNote, rules.lockNote);
    setNote(*m_presetNote, rules.presetNote);
    m_idleRow->setEnabled(rules.idleTime);
    m_lockBox->setEnabled(rules.lock);
    for (QWidget *control : std::initializer_list<QWidget *>{m_shuffleBox, m_loopsField,
                                                             m_loopsStepper, m_transitionPopup})
        control->setEnabled(rules.playback);
    setTicked(*m_desktopBox, rules.desktopAlways || Settings::desktop());
    m_desktopNow->setEnabled(rules.desktopNow && !m_updating);
}

void Preferences::rebuildScreens()
{
    if (!m_window)
        return;
    const QList<Screen> screens = m_screens->list();
    QList<ScreenLabel> labels;
    for (const Screen &screen : screens)
        labels << ScreenLabel{screen.screen->name(), screen.screen->model()};
    const QStringList names = screenNames(labels);
    QList<ScreensGrid::Row> rows;
    for (int i = 0; i < screens.size(); ++i) {
        rows << ScreensGrid::Row{
            names[i], Settings::isEnabled(i) ? Settings::productList(i) : ProductMenu::off()};
    }
    m_screensGrid->rebuild(rows);
    m_window->orderTabs();
    m_window->fit();
}

void Preferences::refreshCacheStatus(const std::optional<QDateTime> &refused)
{
    // What is under way has the line to itself, and comes here when it is through.
    if (m_priming || m_updating)
        return;
    m_background->run([] { return summary(Cache::entries()); },
                      [this, refused, read = ++m_statusReads](const CacheSummary &found) {
                          if (read == m_statusReads && !m_priming && !m_updating)
                              m_cacheStatus->setText(
                                  cacheStatusText(found, Settings::offline(), refused, QLocale()));
                      });
}

} // namespace corvella

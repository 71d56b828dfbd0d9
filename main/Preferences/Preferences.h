// The settings window: every choice of the user, acted on at once, and the actions beside them.
// Main thread only; what takes long runs beside it and comes back.
#pragma once

#include "platform/session/Screens.h"
#include "platform/threads/BackgroundWork.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QMenuBar;
class QMessageBox;
class QPushButton;
class QRadioButton;

namespace corvella {

class BusyIndicator;
class Note;
class NumberField;
class PreferencesWindow;
class ScreensGrid;
class SegmentedControl;
class Stepper;
class WallControls;

class Preferences : public QObject
{
    Q_OBJECT

public:
    // The one settings window, made at the first call. The window itself is built when it is first
    // shown, kept when it is hidden, and gone with close().
    static Preferences &shared();
    ~Preferences() override;

    // Whom Start and Arm reach; null for nobody. Must be reset before that object goes.
    void setWallControls(WallControls *controls) { m_controls = controls; }

    // Makes the menu bar at the top of the window, which owns it; asked for when the window is
    // built.
    void setMainMenu(const std::function<std::unique_ptr<QMenuBar>()> &make) { m_makeMenu = make; }

    // Opens the window or brings it to the front. What waits for the idle time stops waiting.
    void show();
    void hide();
    // Lets the window go, as it must before the application object does. What it started in the
    // background is awaited: cancel that first.
    void close();
    [[nodiscard]] bool isVisible() const;
    // Null before it is first shown.
    [[nodiscard]] PreferencesWindow *window() const { return m_window.get(); }

private:
    Preferences();

    // How the window is built: PreferencesLayout.cpp.
    void layout();
    [[nodiscard]] QWidget *modeCard();
    [[nodiscard]] QWidget *screensCard();
    [[nodiscard]] QWidget *playbackCard();
    [[nodiscard]] QWidget *desktopCard();
    [[nodiscard]] QWidget *generalCard();
    [[nodiscard]] QWidget *startingCard();
    [[nodiscard]] QWidget *imageryCard();
    [[nodiscard]] QWidget *saverCard();
    [[nodiscard]] QWidget *bottomBar();
    void connectControls();

    // Shows what the settings say.
    void load();
    void showModeRules();
    // Acts on nothing, as if it had always been so.
    static void setTicked(QAbstractButton &button, bool isTicked);
    void rebuildScreens();
    // Shows what is on disk, soon; `refused` is when a check that was refused is allowed again.
    void refreshCacheStatus(const std::optional<QDateTime> &refused = std::nullopt);

    // What the controls do: PreferencesActions.cpp.
    void modeChanged(int segment);
    void applyKioskPreset(bool savesOffline);
    void undoKioskPreset();
    void primeIfIncomplete();
    void idleStepped(int minutes);
    void idleTyped();
    void loopsStepped(int loops);
    void loopsTyped();
    void finishTyping();
    void loginToggled();
    void networkChanged();
    void desktopToggled();
    void desktopUpdateNow();
    void disable(QPushButton &button);
    void desktopUpdated(const std::optional<QDateTime> &refused);
    void prime();
    void primed(const std::optional<QDateTime> &refused);
    void start();
    void arm();
    void save();
    // Together with what this sets.
    void saveWith(const std::function<void()> &more);
    // Whether the screens now show other products than before.
    [[nodiscard]] bool saveProducts();
    void refreshImagery();
    void installSaver();
    void deactivate();
    void turnOff();

    WallControls *m_controls = nullptr;
    std::function<std::unique_ptr<QMenuBar>()> m_makeMenu;
    std::unique_ptr<PreferencesWindow> m_window;
    std::unique_ptr<Screens> m_screens;           // while there is a window
    std::unique_ptr<BackgroundWork> m_background; // while there is a window

    // The window owns these. In their order from top to bottom, left to right.
    SegmentedControl *m_mode = nullptr;
    Note *m_modeHelp = nullptr;
    ScreensGrid *m_screensGrid = nullptr;
    QCheckBox *m_shuffleBox = nullptr;
    NumberField *m_loopsField = nullptr;
    Stepper *m_loopsStepper = nullptr;
    QComboBox *m_transitionPopup = nullptr;
    QCheckBox *m_desktopBox = nullptr;
    QPushButton *m_desktopNow = nullptr;
    QCheckBox *m_loginBox = nullptr;
    QCheckBox *m_attributionBox = nullptr;
    Note *m_presetNote = nullptr;
    QWidget *m_idleRow = nullptr;
    NumberField *m_idleField = nullptr;
    Stepper *m_idleStepper = nullptr;
    QCheckBox *m_lockBox = nullptr;
    Note *m_lockNote = nullptr;
    Note *m_armNote = nullptr;
    QRadioButton *m_onlineRadio = nullptr;
    QRadioButton *m_offlineRadio = nullptr;
    QComboBox *m_refreshPopup = nullptr;
    QPushButton *m_primeButton = nullptr;
    Note *m_cacheStatus = nullptr;
    QWidget *m_saverSection = nullptr;
    QPushButton *m_installButton = nullptr;
    Note *m_installNote = nullptr;
    QPushButton *m_quitButton = nullptr;
    Note *m_versionLabel = nullptr;
    BusyIndicator *m_busy = nullptr;
    QPointer<QMessageBox> m_question; // whether to turn off, while it is open; of m_window
    QPushButton *m_armButton = nullptr;
    QPushButton *m_startButton = nullptr;

    bool m_priming = false;  // a download of everything is under way
    bool m_updating = false; // the desktop pictures are being brought up to date
    int m_statusReads = 0;   // the last one's answer counts
};

} // namespace corvella

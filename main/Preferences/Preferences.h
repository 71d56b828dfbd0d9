// The settings window: chooses the mode and starts it. Main thread only.
#pragma once

#include <QObject>
#include <QPointer>

#include <memory>

class QButtonGroup;
class QLabel;
class QPushButton;
class QWidget;

namespace corvella {

class WallControls;

class Preferences : public QObject
{
    Q_OBJECT

public:
    // The one settings window, made at the first call; its window lives until close().
    static Preferences &shared();
    ~Preferences() override;

    // Whom Start and Arm reach; null for nobody. Must be reset before that object goes.
    void setWallControls(WallControls *controls) { m_controls = controls; }

    // Opens the window or brings it to the front. What waits for the idle time stops waiting.
    void show();
    void hide();
    // Lets the window go, as it must before the application object does.
    void close();
    [[nodiscard]] bool isVisible() const;

private:
    Preferences();

    void buildWindow();
    [[nodiscard]] QWidget *buildModes();
    [[nodiscard]] QWidget *buildActions();
    // Shows what the settings say.
    void load();
    void chooseMode(int segment);

    WallControls *m_controls = nullptr;
    std::unique_ptr<QWidget> m_window;
    // Owned by the window.
    QButtonGroup *m_modes = nullptr;
    QLabel *m_help = nullptr;
    QPushButton *m_start = nullptr;
};

} // namespace corvella

// The settings window's frame: as large as what it holds, and no larger than its screen, where its
// content scrolls instead, above a foot that stays. Closing only hides it. Main thread only.
#pragma once

#include <QDialog>

#include <memory>

class QMenuBar;
class QScrollArea;

namespace corvella {

// A dialog because that gives its default button the Return key.
class PreferencesWindow : public QDialog
{
    Q_OBJECT

public:
    // Owns both from now on.
    PreferencesWindow(QWidget *content, QWidget *foot);
    ~PreferencesWindow() override;

    // Puts a menu bar at its top.
    void setMenu(std::unique_ptr<QMenuBar> menu);

    // Takes the size that the content needs. It does so by itself a turn of the event loop after
    // the content has changed.
    void fit();

    // In the middle of its screen, before all other windows, and no control of it with the keys.
    void bringToFront();

    // Takes the keys from whatever control has them.
    void focusNothing();

    // Lets the wheel scroll the window where the pointer is on this control, instead of changing
    // what it shows in passing.
    void leaveWheelAlone(QWidget &control) { control.installEventFilter(this); }

    // Lets Tab reach the controls in the order in which they are read.
    void orderTabs();

Q_SIGNALS:
    // The user turns away from it: what is half typed is typed.
    void left();

protected:
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void resizeToContent();
    void showFocused(const QWidget *old, QWidget *focused);

    QWidget *m_content;
    QWidget *m_foot;
    QScrollArea *m_scroller;
    QMenuBar *m_menu = nullptr;
};

} // namespace corvella

// The program's menus: the one behind its item in the status area, the main one in the settings
// window, and the panel and the page that they open by themselves. Main thread only.
#pragma once

#include "platform/session/StatusItem.h"
#include "shell/MenuActions.h"
#include "shell/StatusLine.h"

#include <QObject>

#include <memory>

namespace corvella {

class AboutPanel;
class StatusMenu;

class Menus : public QObject
{
    Q_OBJECT

public:
    // showAbout and showHelp may be left out: they are these menus' own.
    Menus(MenuActions actions, std::function<StatusFacts()> facts);
    ~Menus() override;

    // The main menu, from now on in the settings window.
    void buildMenu();
    // The item in the status area; `activated` when it is clicked and no menu opens.
    void buildStatusItem(const std::function<void()> &activated);
    // What is shown may have changed.
    void update();

private:
    void showAbout();
    static void showHelp();

    MenuActions m_actions;
    const std::function<StatusFacts()> m_facts;
    std::unique_ptr<StatusMenu> m_statusMenu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<AboutPanel> m_about;
};

} // namespace corvella

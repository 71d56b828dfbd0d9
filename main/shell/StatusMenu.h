// The menu of the program's item in the status area. Main thread only.
#pragma once

#include "shell/MenuActions.h"
#include "shell/StatusLine.h"

#include <QMenu>

namespace corvella {

class StatusMenu : public QMenu
{
    Q_OBJECT

public:
    // The facts are asked for before the menu opens.
    StatusMenu(const MenuActions &actions, std::function<StatusFacts()> facts);

    // Brings the entries up to date. Hosts of status items may show what they fetched before, so
    // this is also for whenever the facts may have changed.
    void update();

private:
    void makeLineReadable();

    const std::function<StatusFacts()> m_facts;
    std::optional<StatusFacts> m_shown;
    QAction *m_line = nullptr;
    QAction *m_start = nullptr;
    QAction *m_desktop = nullptr;
    QAction *m_checkForUpdates = nullptr;
};

} // namespace corvella

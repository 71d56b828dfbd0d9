#include "shell/StatusMenu.h"

#include "Preferences/Colours.h"

#include <QApplication>

namespace corvella {

StatusMenu::StatusMenu(const MenuActions &actions, std::function<StatusFacts()> facts)
    : m_facts(std::move(facts))
{
    const auto add = [this](const QString &title, const std::function<void()> &action) {
        QAction *const entry = addAction(title);
        connect(entry, &QAction::triggered, this, action);
        return entry;
    };
    m_line = addAction(QString());
    m_line->setEnabled(false);
    addSeparator();
    m_start = add(QStringLiteral("Start Now"), actions.start);
    m_desktop = add(QStringLiteral("Update Desktop Now"), actions.updateDesktop);
    addSeparator();
    add(QStringLiteral("Settings…"), actions.showPreferences);
    m_checkForUpdates = add(QStringLiteral("Check for Updates…"), actions.checkForUpdates);
    addSeparator();
    add(QStringLiteral("Quit Corvella"), actions.quit);
    connect(this, &QMenu::aboutToShow, this, [this] {
        makeLineReadable();
        update();
    });
    update();
}

void StatusMenu::update()
{
    const StatusFacts facts = m_facts();
    if (std::exchange(m_shown, facts) == facts)
        return;
    m_line->setText(statusLine(facts));
    m_checkForUpdates->setVisible(facts.mode != Mode::kiosk);
    m_start->setText(startTitle(facts.mode));
    m_start->setVisible(facts.mode != Mode::desktop);
    m_desktop->setVisible(facts.isDesktopActive);
}

// It cannot be chosen, and is there to be read all the same.
void StatusMenu::makeLineReadable()
{
    QPalette own;
    own.setColor(QPalette::Disabled, QPalette::Text,
                 textColour(QApplication::palette(this), Tone::secondary));
    setPalette(own);
}

} // namespace corvella

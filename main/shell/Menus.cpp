#include "shell/Menus.h"

#include "Preferences/Preferences.h"
#include "platform/storage/Resources.h"
#include "platform/symbols/Symbol.h"
#include "shell/About.h"
#include "shell/MainMenu.h"
#include "shell/StatusMenu.h"

#include <QDesktopServices>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QUrl>

namespace corvella {

namespace {

// Of the sun in the status area: to be seen on light panels and on dark ones, whose colour nobody
// tells.
constexpr QColor kSun(0xf0, 0x96, 0x1e);

// Hosts take it as pixels, in a size of their choice.
QIcon statusIcon()
{
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 44, 48, 64}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(side / 2.0, side / 2.0);
        painter.fillPath(symbolPath(QStringLiteral("sun.max.fill"), side).value_or(QPainterPath()),
                         kSun);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

Menus::Menus(MenuActions actions, std::function<StatusFacts()> facts)
    : m_actions(std::move(actions))
    , m_facts(std::move(facts))
{
    // The settings window may live on for a moment.
    m_actions.showAbout = [self = QPointer(this)] {
        if (self)
            self->showAbout();
    };
    m_actions.showHelp = &Menus::showHelp;
}

Menus::~Menus()
{
    Preferences::shared().setMainMenu({});
}

void Menus::buildMenu()
{
    Preferences::shared().setMainMenu([actions = m_actions] { return makeMainMenu(actions); });
}

void Menus::buildStatusItem(const std::function<void()> &activated)
{
    m_statusMenu = std::make_unique<StatusMenu>(m_actions, m_facts);
    m_statusItem =
        std::make_unique<StatusItem>(statusIcon(), QStringLiteral("Corvella"), *m_statusMenu);
    QObject::connect(m_statusItem.get(), &StatusItem::activated, m_statusItem.get(), activated);
}

void Menus::update()
{
    if (m_statusItem && m_statusItem->isShown())
        m_statusMenu->update();
}

void Menus::showAbout()
{
    if (!m_about)
        m_about = std::make_unique<AboutPanel>();
    m_about->show();
    m_about->raise();
    m_about->activateWindow();
}

void Menus::showHelp()
{
    if (const std::optional<QString> page = resourcePath(QStringLiteral("Help.html")))
        QDesktopServices::openUrl(QUrl::fromLocalFile(*page));
}

} // namespace corvella

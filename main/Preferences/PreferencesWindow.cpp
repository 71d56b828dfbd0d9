#include "Preferences/PreferencesWindow.h"

#include "platform/session/WindowActivation.h"
#include "platform/storage/Resources.h"

#include <QEvent>
#include <QIcon>
#include <QLayout>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWindow>

namespace corvella {

namespace {

// What a window manager may need around a window that it has not framed yet.
constexpr QSize kFrame{16, 48}; // points

void collectControls(const QLayout &layout, QWidgetList &controls)
{
    for (int i = 0; i < layout.count(); ++i) {
        QLayoutItem *const item = layout.itemAt(i);
        if (const QLayout *const inner = item->widget() ? item->widget()->layout() : item->layout())
            collectControls(*inner, controls);
        else if (item->widget() && item->widget()->focusPolicy() != Qt::NoFocus)
            controls << item->widget();
    }
}

} // namespace

PreferencesWindow::PreferencesWindow(QWidget *content)
    : m_content(content)
    , m_scroller(new QScrollArea)
{
    setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
                   | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    setWindowTitle(QStringLiteral("Corvella"));
    setWindowIcon(QIcon(resourcePath(QStringLiteral("icon.png")).value_or(QString())));
    m_scroller->setFrameShape(QFrame::NoFrame);
    m_scroller->setFocusPolicy(Qt::NoFocus);
    m_scroller->setWidgetResizable(true);
    m_scroller->setWidget(content);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroller);
    content->installEventFilter(this);
}

void PreferencesWindow::setMenu(std::unique_ptr<QMenuBar> menu)
{
    m_menu = menu.release();
    layout()->setMenuBar(m_menu);
}

void PreferencesWindow::fit()
{
    // From the inside out, because what has changed inside a card is known outside of it only when
    // the card's own layout is up to date, which nobody sees to before a window is shown.
    const QWidgetList inside = m_content->findChildren<QWidget *>();
    for (auto widget = inside.crbegin(); widget != inside.crend(); ++widget) {
        if (QLayout *const layout = (*widget)->layout())
            layout->activate();
    }
    resizeToContent();
}

void PreferencesWindow::resizeToContent()
{
    m_content->layout()->activate();
    QSize size = m_content->sizeHint();
    const QSize room = screen()->availableSize() - kFrame;
    // A bar along one side takes its room from the other.
    if (size.height() > room.height())
        size.rwidth() += m_scroller->verticalScrollBar()->sizeHint().width();
    if (size.width() > room.width())
        size.rheight() += m_scroller->horizontalScrollBar()->sizeHint().height();
    // Some desktops show menus in a place of their own.
    if (m_menu && !m_menu->isNativeMenuBar())
        size.rheight() += m_menu->sizeHint().height();
    setFixedSize(size.boundedTo(room));
}

void PreferencesWindow::bringToFront()
{
    fit();
    if (!isVisible()) {
        QRect place(QPoint(), size());
        place.moveCenter(screen()->availableGeometry().center());
        move(place.topLeft());
    }
    setWindowState(windowState() & ~Qt::WindowMinimized);
    m_content->setFocus();
    show();
    raise();
    activateForUser(*windowHandle());
}

void PreferencesWindow::orderTabs()
{
    QWidgetList controls;
    collectControls(*m_content->layout(), controls);
    for (qsizetype i = 1; i < controls.size(); ++i)
        setTabOrder(controls[i - 1], controls[i]);
}

bool PreferencesWindow::event(QEvent *event)
{
    if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Hide)
        Q_EMIT left();
    return QDialog::event(event);
}

bool PreferencesWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_content && event->type() == QEvent::LayoutRequest)
        resizeToContent();
    return QDialog::eventFilter(watched, event);
}

} // namespace corvella

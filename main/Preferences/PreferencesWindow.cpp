#include "Preferences/PreferencesWindow.h"

#include "platform/session/WindowActivation.h"
#include "platform/storage/Resources.h"

#include <QApplication>
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

PreferencesWindow::PreferencesWindow(QWidget *content, QWidget *foot)
    : m_content(content)
    , m_foot(foot)
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
    layout->setSpacing(0);
    layout->addWidget(m_scroller);
    layout->addWidget(foot);
    for (QWidget *part : {content, foot})
        part->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this, &PreferencesWindow::showFocused);
}

PreferencesWindow::~PreferencesWindow()
{
    // The focus leaves its controls when they go, and what is left of this then must not hear of
    // it.
    disconnect(qApp, &QApplication::focusChanged, this, &PreferencesWindow::showFocused);
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
    for (const QWidget *part : {m_content, m_foot}) {
        const QWidgetList inside = part->findChildren<QWidget *>();
        for (auto widget = inside.crbegin(); widget != inside.crend(); ++widget) {
            if (QLayout *const layout = (*widget)->layout())
                layout->activate();
        }
    }
    resizeToContent();
}

void PreferencesWindow::resizeToContent()
{
    for (const QWidget *part : {m_content, m_foot})
        part->layout()->activate();
    QSize size = m_content->sizeHint().expandedTo({m_foot->sizeHint().width(), 0});
    size.setHeight(m_content->heightForWidth(size.width()));
    int around = m_foot->sizeHint().height();
    // Some desktops show menus in a place of their own.
    if (m_menu && !m_menu->isNativeMenuBar())
        around += m_menu->sizeHint().height();
    const QSize room = screen()->availableSize() - kFrame - QSize(0, around);
    // A bar along one side takes its room from the other.
    if (size.height() > room.height())
        size.rwidth() += m_scroller->verticalScrollBar()->sizeHint().width();
    if (size.width() > room.width())
        size.rheight() += m_scroller->horizontalScrollBar()->sizeHint().height();
    setFixedSize(size.boundedTo(room) + QSize(0, around));
}

// Qt does so by itself only where the keys go from one control of the content to another.
void PreferencesWindow::showFocused(const QWidget * /*old*/, QWidget *focused)
{
    // To Qt a widget is an ancestor of itself.
    if (focused != m_content && m_content->isAncestorOf(focused))
        m_scroller->ensureWidgetVisible(focused);
}

void PreferencesWindow::bringToFront()
{
    fit();
    QRect place = frameGeometry();
    place.moveCenter(screen()->availableGeometry().center());
    move(place.topLeft());
    setWindowState(windowState() & ~Qt::WindowMinimized);
    focusNothing();
    show();
    raise();
    activateForUser(*windowHandle());
}

void PreferencesWindow::focusNothing()
{
    m_content->setFocus();
}

void PreferencesWindow::orderTabs()
{
    QWidgetList controls;
    for (const QWidget *part : {m_content, m_foot})
        collectControls(*part->layout(), controls);
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
    const bool isPart = watched == m_content || watched == m_foot;
    if (isPart && event->type() == QEvent::LayoutRequest)
        resizeToContent();
    if (!isPart && event->type() == QEvent::Wheel) {
        event->ignore(); // it goes to what the control lies on
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace corvella

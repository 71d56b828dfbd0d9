#include "shell/AccessibleWall.h"

#include "shell/WallWindow.h"

#include <QAccessibleActionInterface>
#include <QAccessibleObject>
#include <QPointer>

namespace corvella {

namespace {

class AccessibleChrome final : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    // The chrome lives as long as its window.
    AccessibleChrome(WallWindow &window, Chrome &chrome)
        : m_window(&window)
        , m_chrome(chrome)
    {
    }

    bool isValid() const override { return !m_window.isNull(); }
    QObject *object() const override { return nullptr; }
    QAccessibleInterface *parent() const override
    {
        return m_window ? accessibleWall(*m_window) : nullptr;
    }
    QAccessibleInterface *child(int /*index*/) const override { return nullptr; }
    QAccessibleInterface *childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface * /*child*/) const override { return -1; }

    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? m_chrome.accessibilityLabel() : QString();
    }
    void setText(QAccessible::Text /*kind*/, const QString & /*text*/) override {}
    QRect rect() const override
    {
        return m_window ? m_window->onDisplay(m_chrome.frame()) : QRect();
    }
    QAccessible::Role role() const override
    {
        return isValid() ? m_chrome.accessibilityRole() : QAccessible::NoRole;
    }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        return state;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        const bool isAsked = type == QAccessible::ActionInterface && role() == QAccessible::Button;
        return isAsked ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (isValid() && name == pressAction())
            m_chrome.mouseDown();
    }
    QStringList keyBindingsForAction(const QString & /*name*/) const override { return {}; }

private:
    const QPointer<WallWindow> m_window;
    Chrome &m_chrome;
};

class AccessibleWindow final : public QAccessibleObject
{
public:
    explicit AccessibleWindow(WallWindow &window)
        : QAccessibleObject(&window)
        , m_window(window)
    {
    }
    ~AccessibleWindow() override
    {
        for (const auto &[chrome, id] : m_children)
            QAccessible::deleteAccessibleInterface(id);
    }

    QWindow *window() const override { return isValid() ? &m_window : nullptr; }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(qApp);
    }
    int childCount() const override
    {
        return isValid() ? static_cast<int>(m_window.chrome().size()) : 0;
    }
    QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        Chrome *const chrome = m_window.chrome()[static_cast<size_t>(index)];
        const auto known = m_children.find(chrome);
        const QAccessible::Id id = known != m_children.end()
            ? known->second
            : QAccessible::registerAccessibleInterface(new AccessibleChrome(m_window, *chrome));
        m_children[chrome] = id;
        return QAccessible::accessibleInterface(id);
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        for (int i = 0; i < childCount(); ++i) {
            if (AccessibleWindow::child(i) == child)
                return i;
        }
        return -1;
    }
    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? m_window.title() : QString();
    }
    QRect rect() const override { return isValid() ? m_window.geometry() : QRect(); }
    QAccessible::Role role() const override { return QAccessible::Window; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        state.active = isValid() && m_window.isActive();
        return state;
    }

private:
    WallWindow &m_window;
    mutable std::map<Chrome *, QAccessible::Id> m_children; // owned by Qt's table
};

QAccessibleInterface *makeInterface(const QString & /*className*/, QObject *object)
{
    auto *const window = qobject_cast<WallWindow *>(object);
    return window ? new AccessibleWindow(*window) : nullptr;
}

} // namespace

QAccessibleInterface *accessibleWall(const WallWindow &window)
{
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory(makeInterface);
        return true;
    }();
    return QAccessible::queryAccessibleInterface(const_cast<WallWindow *>(&window));
}

} // namespace corvella

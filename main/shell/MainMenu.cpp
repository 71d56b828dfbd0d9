#include "shell/MainMenu.h"

#include <QApplication>
#include <QMenuBar>
#include <QWidget>

#include <array>

namespace corvella {

namespace {

using Action = std::function<void()>;

struct Entry
{
    QString title; // empty for a line between entries
    Action action = {};
    QKeySequence keys = {};
};

// The platform's own word for it, said to whatever has the keys; what does not know it lets it be.
Action edit(const char *slot)
{
    return [slot] {
        QWidget *const target = QApplication::focusWidget();
        const QByteArray signature = QByteArray(slot) + "()";
        if (target && target->metaObject()->indexOfSlot(signature.constData()) >= 0)
            QMetaObject::invokeMethod(target, slot);
    };
}

Action toActiveWindow(void (QWidget::*verb)())
{
    return [verb] {
        if (QWidget *const window = QApplication::activeWindow())
            (window->*verb)();
    };
}

void addMenu(QMenuBar &bar, const QString &title, const QList<Entry> &entries)
{
    QMenu *const menu = bar.addMenu(title);
    for (const Entry &entry : entries) {
        if (entry.title.isEmpty()) {
            menu->addSeparator();
            continue;
        }
        QAction *const action = menu->addAction(entry.title);
        action->setShortcut(entry.keys);
        action->setMenuRole(QAction::NoRole);
        QObject::connect(action, &QAction::triggered, &bar, entry.action);
    }
}

} // namespace

std::unique_ptr<QMenuBar> makeMainMenu(const MenuActions &actions)
{
    auto bar = std::make_unique<QMenuBar>();
    addMenu(*bar, QStringLiteral("Corvella"),
            {{QStringLiteral("About Corvella"), actions.showAbout},
             {QStringLiteral("Check for Updates…"), actions.checkForUpdates},
             {},
             {QStringLiteral("Settings…"), actions.showPreferences, Qt::CTRL | Qt::Key_Comma},
             {},
             {QStringLiteral("Quit Corvella"), actions.quit, Qt::CTRL | Qt::Key_Q}});
    addMenu(*bar, QStringLiteral("Edit"),
            {{QStringLiteral("Undo"), edit("undo"), Qt::CTRL | Qt::Key_Z},
             {QStringLiteral("Redo"), edit("redo"), Qt::CTRL | Qt::SHIFT | Qt::Key_Z},
             {},
             {QStringLiteral("Cut"), edit("cut"), Qt::CTRL | Qt::Key_X},
             {QStringLiteral("Copy"), edit("copy"), Qt::CTRL | Qt::Key_C},
             {QStringLiteral("Paste"), edit("paste"), Qt::CTRL | Qt::Key_V},
             {QStringLiteral("Select All"), edit("selectAll"), Qt::CTRL | Qt::Key_A}});
    addMenu(*bar, QStringLiteral("Display"),
            {{QStringLiteral("Start Now"), actions.start, Qt::CTRL | Qt::Key_Return},
             {QStringLiteral("Update Desktop Now"), actions.updateDesktop, Qt::CTRL | Qt::Key_U}});
    addMenu(*bar, QStringLiteral("Window"),
            {{QStringLiteral("Minimize"), toActiveWindow(&QWidget::showMinimized),
              Qt::CTRL | Qt::Key_M},
             {QStringLiteral("Close"),
              [] {
                  if (QWidget *const window = QApplication::activeWindow())
                      window->close();
              },
              Qt::CTRL | Qt::Key_W}});
    addMenu(*bar, QStringLiteral("Help"),
            {{QStringLiteral("Corvella Help"), actions.showHelp, Qt::CTRL | Qt::Key_Question}});
    return bar;
}

} // namespace corvella

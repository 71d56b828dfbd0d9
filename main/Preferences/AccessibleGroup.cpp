#include "Preferences/AccessibleGroup.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QWidget>

namespace corvella {

namespace {

constexpr auto kIsGroup = "corvellaIsGroup";

QAccessibleInterface *groupFor(const QString & /*className*/, QObject *object)
{
    auto *const widget = qobject_cast<QWidget *>(object);
    if (!widget || !widget->property(kIsGroup).toBool())
        return nullptr;
    return new QAccessibleWidget(widget, QAccessible::Grouping);
}

} // namespace

void makeAccessibleGroup(QWidget &widget, const QString &name)
{
    // Installing it again changes nothing.
    QAccessible::installFactory(groupFor);
    widget.setProperty(kIsGroup, true);
    widget.setAccessibleName(name); // the last: what is told of it may be settled by that
}

} // namespace corvella

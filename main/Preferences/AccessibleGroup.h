// Tells screen readers that a widget is a group of controls. Main thread only.
#pragma once

class QString;
class QWidget;

namespace corvella {

void makeAccessibleGroup(QWidget &widget, const QString &name);

} // namespace corvella

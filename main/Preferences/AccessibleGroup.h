// Tells screen readers that a widget is a group of controls. Main thread only.
#pragma once

class QWidget;

namespace corvella {

// Give the widget an accessible name, too.
void makeAccessibleGroup(QWidget &widget);

} // namespace corvella

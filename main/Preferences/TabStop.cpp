#include "Preferences/TabStop.h"

#include <QAbstractButton>
#include <QButtonGroup>

namespace corvella {

void letTabReachTheChosen(QButtonGroup &group)
{
    // Qt does so by itself only for a choice by mouse or keys.
    QObject::connect(&group, &QButtonGroup::buttonToggled, &group,
                     [](QAbstractButton *button, bool isChosen) {
                         button->setFocusPolicy(isChosen ? Qt::StrongFocus : Qt::ClickFocus);
                     });
    for (QAbstractButton *button : group.buttons())
        button->setFocusPolicy(button->isChecked() ? Qt::StrongFocus : Qt::ClickFocus);
}

} // namespace corvella

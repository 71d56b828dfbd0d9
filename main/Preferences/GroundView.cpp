#include "Preferences/GroundView.h"

#include <QPainter>

namespace corvella {

GroundView::GroundView(QWidget *parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::ClickFocus);
}

void GroundView::paintEvent(QPaintEvent * /*event*/)
{
    QPainter(this).fillRect(rect(), palette().window());
}

} // namespace corvella

#include "Preferences/CardView.h"

#include "Preferences/AccessibleGroup.h"
#include "Preferences/Colours.h"

#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace corvella {

namespace {

constexpr int kSpacing = 6;
constexpr double kCornerRadius = 10;
constexpr double kBorder = 1;

QLabel *titleLabel(const QString &title)
{
    auto *label = new QLabel(title);
    label->setTextFormat(Qt::PlainText);
    QFont bold; // the rest of it goes on following the widget's
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

} // namespace

CardView::CardView(const QString &title, const QWidgetList &widgets)
{
    setAccessibleName(title);
    makeAccessibleGroup(*this);
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(kInsets);
    stack->setSpacing(kSpacing);
    stack->addWidget(titleLabel(title), 0, Qt::AlignLeading);
    for (QWidget *widget : widgets)
        stack->addWidget(widget, 0, Qt::AlignLeading);
}

void CardView::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(palette().base());
    painter.setPen(QPen(separatorColour(palette()), kBorder));
    constexpr double kHalf = kBorder / 2; // the pen's middle runs half its width inside the edge
    painter.drawRoundedRect(QRectF(rect()).adjusted(kHalf, kHalf, -kHalf, -kHalf),
                            kCornerRadius - kHalf, kCornerRadius - kHalf);
}

} // namespace corvella

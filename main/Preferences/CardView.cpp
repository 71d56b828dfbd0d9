#include "Preferences/CardView.h"

#include "Preferences/AccessibleGroup.h"
#include "Preferences/Colours.h"

#include <QLabel>
#include <QPainter>
#include <QPainterPath>
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
    makeAccessibleGroup(*this, title);
    auto *stack = new QVBoxLayout(this);
    stack->setContentsMargins(kInsets);
    stack->setSpacing(kSpacing);
    stack->addWidget(titleLabel(title), 0, Qt::AlignLeading);
    for (QWidget *widget : widgets) {
        const bool usesWholeLine = widget->hasHeightForWidth()
            || widget->sizePolicy().horizontalPolicy() == QSizePolicy::Expanding;
        stack->addWidget(widget, 0, usesWholeLine ? Qt::Alignment() : Qt::AlignLeading);
    }
}

void CardView::paintEvent(QPaintEvent * /*event*/)
{
    // The border as an area of its own: a pen along the edge would leave a trace in the pixels
    // beside it.
    const QRectF edge(rect());
    QPainterPath card;
    card.addRoundedRect(edge, kCornerRadius, kCornerRadius);
    QPainterPath border = card;
    border.addRoundedRect(edge.adjusted(kBorder, kBorder, -kBorder, -kBorder),
                          kCornerRadius - kBorder, kCornerRadius - kBorder);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(card, palette().base());
    painter.fillPath(border, separatorColour(palette()));
}

} // namespace corvella

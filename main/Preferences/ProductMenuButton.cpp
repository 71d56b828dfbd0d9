#include "Preferences/ProductMenuButton.h"

#include "Preferences/ProductMenu.h"

#include <QMenu>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>

namespace corvella {

namespace {

constexpr int kWidth = 168;      // points
constexpr int kTextMargin = 6;   // points, left of the title
constexpr int kArrowMargin = 24; // right of it, with the arrow
constexpr int kArrow = 13;

QAction *addChoice(QMenu &menu, const QString &label, bool isTicked)
{
    QAction *const action = menu.addAction(label);
    action->setCheckable(true);
    action->setChecked(isTicked);
    return action;
}

} // namespace

ProductMenuButton::ProductMenuButton(const QString &screenName)
    : m_screenName(screenName)
{
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void ProductMenuButton::rebuild(const QStringList &choices)
{
    const QString title = ProductMenu::title(choices);
    setText(title);
    setAccessibleName(m_screenName + QStringLiteral(": ") + title);
    // This may be the doing of the menu that is there: it goes when it is through.
    QMenu *const old = menu();
    setMenu(makeMenu(choices));
    if (old)
        old->deleteLater();
    updateGeometry();
}

QMenu *ProductMenuButton::makeMenu(const QStringList &choices)
{
    auto *menu = new QMenu(this);
    for (const ProductMenu::Item &item : ProductMenu::items(choices)) {
        connect(addChoice(*menu, item.label, item.isTicked), &QAction::triggered, this,
                [this, id = item.id] { Q_EMIT productToggled(id); });
    }
    menu->addSeparator();
    connect(addChoice(*menu, ProductMenu::title({}), choices.isEmpty()), &QAction::triggered, this,
            &ProductMenuButton::productsCleared);
    connect(addChoice(*menu, QStringLiteral("Off: leave this screen alone"),
                      ProductMenu::isOff(choices)),
            &QAction::triggered, this, &ProductMenuButton::screenDisabled);
    return menu;
}

int ProductMenuButton::widthFor(const QString &title) const
{
    return fontMetrics().horizontalAdvance(title) + kTextMargin + kArrowMargin;
}

QSize ProductMenuButton::sizeHint() const
{
    int widestPlain = 0;
    for (const QString &title : ProductMenu::plainTitles())
        widestPlain = std::max(widestPlain, widthFor(title));
    return {std::max(kWidth, std::min(widthFor(text()), widestPlain)),
            QPushButton::sizeHint().height()};
}

void ProductMenuButton::paintEvent(QPaintEvent * /*event*/)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.features &= ~QStyleOptionButton::HasMenu; // its arrow is smaller than a combo box's
    painter.drawControl(QStyle::CE_PushButtonBevel, option);
    QStyleOption arrow = option;
    arrow.rect = QRect(0, 0, kArrow, kArrow);
    arrow.rect.moveCenter({width() - kArrowMargin / 2, height() / 2});
    arrow.rect = QStyle::visualRect(layoutDirection(), rect(), arrow.rect);
    painter.drawPrimitive(QStyle::PE_IndicatorArrowDown, arrow);
    const QRect room = rect().adjusted(kTextMargin, 0, -kArrowMargin, 0);
    const QString shown = fontMetrics().elidedText(option.text, Qt::ElideRight, room.width());
    painter.drawItemText(QStyle::visualRect(layoutDirection(), rect(), room),
                         static_cast<int>(QStyle::visualAlignment(
                             layoutDirection(), Qt::AlignLeading | Qt::AlignVCenter)),
                         palette(), isEnabled(), shown, QPalette::ButtonText);
}

} // namespace corvella

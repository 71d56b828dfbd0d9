#include "Preferences/Stepper.h"

#include "Preferences/Colours.h"

#include <QLineEdit>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionSpinBox>
#include <QStylePainter>

namespace corvella {

namespace {

constexpr int kStepperArrow = 8; // points

} // namespace

Stepper::Stepper(int minimum, int maximum)
{
    setRange(minimum, maximum);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    lineEdit()->setReadOnly(true); // or digits typed here would count unseen
    lineEdit()->hide();
}

QSize Stepper::sizeHint() const
{
    ensurePolished();
    // As high as any spin box of this style, and as wide as its arrows and the frame around them.
    QSize size = QSpinBox::sizeHint();
    QStyleOptionSpinBox option;
    initStyleOption(&option);
    option.rect = QRect(QPoint(0, 0), size);
    const QRect arrows =
        style()->subControlRect(QStyle::CC_SpinBox, &option, QStyle::SC_SpinBoxUp, this);
    const int frame = style()->pixelMetric(QStyle::PM_SpinBoxFrameWidth, &option, this);
    size.setWidth(arrows.width() + 2 * frame);
    return size;
}

// A style's own spin box would show the empty end of a field beside the arrows.
void Stepper::paintEvent(QPaintEvent * /*event*/)
{
    QStyleOptionSpinBox spin;
    initStyleOption(&spin);
    QStylePainter painter(this);
    QStyleOption bevel = spin;
    bevel.state |= QStyle::State_Raised;
    bevel.state &= ~QStyle::State_Sunken;
    painter.drawPrimitive(QStyle::PE_PanelButtonCommand, bevel);

    const QRect upper(0, 0, width(), height() / 2);
    const QRect lower(0, height() - upper.height(), width(), upper.height());
    const auto drawHalf = [&](const QRect &half, QStyle::SubControl control, StepEnabledFlag flag,
                              QStyle::PrimitiveElement arrow) {
        const bool isPressed =
            spin.activeSubControls & control && spin.state & QStyle::State_Sunken;
        if (isPressed)
            painter.fillRect(half.adjusted(1, 1, -1, -1), separatorColour(palette()));
        QStyleOption option = spin;
        option.rect = QRect(0, 0, kStepperArrow, kStepperArrow);
        option.rect.moveCenter(half.center());
        option.state.setFlag(QStyle::State_Enabled, isEnabled() && stepEnabled() & flag);
        option.palette.setCurrentColorGroup(
            option.state & QStyle::State_Enabled ? QPalette::Active : QPalette::Disabled);
        painter.drawPrimitive(arrow, option);
    };
    drawHalf(upper, QStyle::SC_SpinBoxUp, StepUpEnabled, QStyle::PE_IndicatorArrowUp);
    drawHalf(lower, QStyle::SC_SpinBoxDown, StepDownEnabled, QStyle::PE_IndicatorArrowDown);
    painter.setPen(separatorColour(palette()));
    painter.drawLine(4, height() / 2, width() - 5, height() / 2);
}

void Stepper::show(int value)
{
    const QSignalBlocker quiet(this);
    setValue(value);
}

} // namespace corvella

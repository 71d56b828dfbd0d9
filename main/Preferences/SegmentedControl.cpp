#include "Preferences/SegmentedControl.h"

#include "Preferences/AccessibleGroup.h"
#include "Preferences/Colours.h"
#include "Preferences/TabStop.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QRadioButton>

#include <algorithm>

namespace corvella {

namespace {

constexpr double kCornerRadius = 6;
constexpr int kLabelMargin = 16; // points, on either side of a label
constexpr int kTextPadding = 6;  // above and below it
constexpr double kRing = 1.5;    // around the segment that has the keys
constexpr double kRingInset = 3;

// A radio button to keyboards and screen readers; what it looks like is the control's.
class Segment final : public QRadioButton
{
public:
    explicit Segment(const QString &label)
        : QRadioButton(label)
    {
        setAttribute(Qt::WA_Hover);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    [[nodiscard]] QSize sizeHint() const override
    {
        const QSize text = fontMetrics().size(Qt::TextShowMnemonic, this->text());
        return text + QSize(2 * kLabelMargin, 2 * kTextPadding);
    }
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    [[nodiscard]] bool hitButton(const QPoint &point) const override
    {
        return rect().contains(point);
    }

    // The arrow keys go to another segment and do not choose it: passing a mode on the way to the
    // next must neither change desktop pictures nor start a kiosk.
    void keyPressEvent(QKeyEvent *event) override
    {
        const bool rightToLeft = layoutDirection() == Qt::RightToLeft;
        switch (event->key()) {
        case Qt::Key_Left:
            return moveFocus(rightToLeft ? +1 : -1);
        case Qt::Key_Right:
            return moveFocus(rightToLeft ? -1 : +1);
        case Qt::Key_Up:
            return moveFocus(-1);
        case Qt::Key_Down:
            return moveFocus(+1);
        default:
            return QRadioButton::keyPressEvent(event);
        }
    }

    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPalette::ColorRole text =
            isChecked() ? QPalette::HighlightedText : QPalette::ButtonText;
        painter.setPen(palette().color(text));
        painter.drawText(rect(), Qt::AlignCenter, this->text());
        if (!hasFocus())
            return;
        painter.setPen(QPen(isChecked() ? palette().color(text) : focusColour(palette()), kRing));
        painter.drawRoundedRect(
            QRectF(rect()).adjusted(kRingInset, kRingInset, -kRingInset, -kRingInset),
            kCornerRadius - kRingInset, kCornerRadius - kRingInset);
    }

private:
    void moveFocus(int step)
    {
        const QList<QAbstractButton *> segments = group()->buttons();
        const qsizetype next = segments.indexOf(this) + step;
        if (next >= 0 && next < segments.size())
            segments[next]->setFocus(step < 0 ? Qt::BacktabFocusReason : Qt::TabFocusReason);
    }
};

} // namespace

SegmentedControl::SegmentedControl(const QString &accessibleName, const QStringList &labels)
    : m_segments(new QButtonGroup(this))
{
    makeAccessibleGroup(*this, accessibleName);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (int i = 0; i < labels.size(); ++i) {
        auto *segment = new Segment(labels[i]);
        m_segments->addButton(segment, i);
        row->addWidget(segment);
        connect(segment, &Segment::toggled, this, qOverload<>(&QWidget::update));
    }
    letTabReachTheChosen(*m_segments);
    connectSegments();
}

// A press may choose the segment that is selected already; a screen reader selects without a press.
void SegmentedControl::connectSegments()
{
    connect(m_segments, &QButtonGroup::idPressed, this, [this] { m_isTold = false; });
    connect(m_segments, &QButtonGroup::idToggled, this, [this](int segment, bool isSelected) {
        if (!isSelected || m_isSelecting)
            return;
        m_isTold = true;
        Q_EMIT chosen(segment);
    });
    connect(m_segments, &QButtonGroup::idClicked, this, [this](int segment) {
        if (!m_isTold)
            Q_EMIT chosen(segment);
    });
}

int SegmentedControl::selected() const
{
    return m_segments->checkedId();
}

void SegmentedControl::select(int segment)
{
    m_isSelecting = true;
    m_segments->button(segment)->setChecked(true);
    m_isSelecting = false;
}

QAbstractButton *SegmentedControl::segment(int index) const
{
    return m_segments->button(index);
}

void SegmentedControl::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF edge = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(edge, kCornerRadius, kCornerRadius);
    painter.fillPath(outline, palette().button());

    const QAbstractButton *const selected = m_segments->checkedButton();
    const QPen line(separatorColour(palette()), 1);
    painter.setPen(line);
    const QAbstractButton *previous = nullptr;
    for (const QAbstractButton *segment : m_segments->buttons()) {
        // No line beside the selected one: its fill ends there.
        if (previous && previous != selected && segment != selected) {
            const double x = std::max(segment->x(), previous->x()) + 0.5;
            painter.drawLine(QPointF(x, 6), QPointF(x, height() - 6));
        }
        previous = segment;
    }
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
    if (!selected)
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(selectionColour(palette()));
    painter.drawRoundedRect(QRectF(selected->geometry()), kCornerRadius, kCornerRadius);
}

} // namespace corvella

#include "Preferences/BusyIndicator.h"

#include "Preferences/Colours.h"

#include <QPainter>
#include <QTimerEvent>

namespace corvella {

namespace {

constexpr int kSide = 16; // points
constexpr int kSpokes = 8;
constexpr int kStepMilliseconds = 100;
constexpr double kFaintest = 0.2;

} // namespace

BusyIndicator::BusyIndicator()
{
    setRange(0, 0); // to screen readers: under way, nobody knows how far
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    hide();
}

void BusyIndicator::start()
{
    ++m_started;
    show();
}

void BusyIndicator::stop()
{
    if (m_started > 0 && --m_started == 0)
        hide();
}

QSize BusyIndicator::sizeHint() const
{
    return {kSide, kSide};
}

void BusyIndicator::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QRectF(rect()).center());
    QColor colour = textColour(palette(), Tone::secondary);
    const double opacity = colour.alphaF();
    for (int i = 0; i < kSpokes; ++i) {
        const int behind = (m_spoke - i + kSpokes) % kSpokes;
        const double brightness = 1 - (1 - kFaintest) * behind / (kSpokes - 1);
        colour.setAlphaF(static_cast<float>(opacity * brightness));
        painter.setPen(QPen(colour, 2, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 / kSpokes * i);
        painter.drawLine(QPointF(0, -3.5), QPointF(0, -6.5));
        painter.restore();
    }
}

void BusyIndicator::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_turn.timerId())
        return QProgressBar::timerEvent(event);
    m_spoke = (m_spoke + 1) % kSpokes;
    update();
}

void BusyIndicator::showEvent(QShowEvent *event)
{
    QProgressBar::showEvent(event);
    m_turn.start(kStepMilliseconds, this);
}

void BusyIndicator::hideEvent(QHideEvent *event)
{
    QProgressBar::hideEvent(event);
    m_turn.stop();
}

} // namespace corvella

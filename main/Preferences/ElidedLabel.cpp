#include "Preferences/ElidedLabel.h"

#include <QEvent>
#include <QStyle>
#include <QStylePainter>

#include <algorithm>

namespace corvella {

namespace {

constexpr int kLeastLetters = 6;
constexpr int kMostLetters = 19;

} // namespace

ElidedLabel::ElidedLabel(const QString &text)
    : QLabel(text)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    setMaximumWidth(QLabel::sizeHint().width());
}

QSize ElidedLabel::sizeHint() const
{
    return room(kMostLetters);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return room(kLeastLetters);
}

QSize ElidedLabel::room(int letters) const
{
    const QSize whole = QLabel::sizeHint();
    return {std::min(whole.width(), fontMetrics().averageCharWidth() * letters), whole.height()};
}

void ElidedLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        setMaximumWidth(QLabel::sizeHint().width());
}

void ElidedLabel::paintEvent(QPaintEvent * /*event*/)
{
    QStylePainter painter(this);
    const QRect room = contentsRect();
    painter.drawItemText(
        room, static_cast<int>(QStyle::visualAlignment(layoutDirection(), alignment())), palette(),
        isEnabled(), fontMetrics().elidedText(text(), Qt::ElideRight, room.width()),
        foregroundRole());
}

} // namespace corvella

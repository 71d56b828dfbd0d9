#include "Preferences/Note.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr int kUsual = 13;    // pixels at scale 1, that is points of the window
constexpr int kSmallest = 11; // a small note's, beside a font of the usual size or a smaller one
constexpr double kSmallShare = double(kSmallest) / kUsual;

QFont smallFont()
{
    const QFont system = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    QFont font;
    font.setPixelSize(std::max(
        kSmallest, static_cast<int>(std::lround(QFontInfo(system).pixelSize() * kSmallShare))));
    return font;
}

// A line may end after a hyphen, but the names of keys that are pressed together stay together.
QString unbroken(QString text)
{
    const QChar wordJoiner(0x2060);
    return text.replace(u'-', QString(u'-') + wordJoiner);
}

} // namespace

Note::Note(Tone tone, int lineWidth, Size size)
    : m_tone(tone)
    , m_lineWidth(lineWidth)
    , m_size(size)
{
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    if (lineWidth == 0)
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    if (size == Size::small)
        setFont(smallFont());
}

int Note::textFlags() const
{
    const Qt::Alignment visual = QStyle::visualAlignment(layoutDirection(), alignment());
    return static_cast<int>(visual) | (m_lineWidth > 0 ? Qt::TextWordWrap : Qt::TextSingleLine);
}

QSize Note::textSize(int width) const
{
    ensurePolished();
    return fontMetrics()
        .boundingRect(0, 0, width, QWIDGETSIZE_MAX, textFlags(), unbroken(text()))
        .size();
}

// So that a line holds about as many letters in every font.
int Note::widestLine() const
{
    const double usual = m_size == Size::small ? kSmallest : kUsual;
    const double share = std::max(1.0, QFontInfo(font()).pixelSize() / usual);
    return static_cast<int>(std::lround(m_lineWidth * share));
}

QSize Note::sizeHint() const
{
    return textSize(m_lineWidth > 0 ? m_lineWidth : QWIDGETSIZE_MAX);
}

QSize Note::minimumSizeHint() const
{
    const QSize hint = sizeHint();
    return {hint.width(), std::min(hint.height(), fontMetrics().height())};
}

int Note::heightForWidth(int width) const
{
    return m_lineWidth > 0 ? textSize(std::min(width, widestLine())).height() : -1;
}

void Note::paintEvent(QPaintEvent * /*event*/)
{
    QPalette toned = palette();
    toned.setColor(foregroundRole(), textColour(palette(), m_tone));
    QRect lines = contentsRect();
    if (m_lineWidth > 0)
        lines.setWidth(std::min(lines.width(), widestLine()));
    QPainter painter(this);
    style()->drawItemText(&painter, QStyle::visualRect(layoutDirection(), contentsRect(), lines),
                          textFlags(), toned, isEnabled(), unbroken(text()), foregroundRole());
}

} // namespace corvella

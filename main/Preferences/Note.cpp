#include "Preferences/Note.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QPainter>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

constexpr int kSmallest = 11;             // pixels at scale 1, that is points of the window
constexpr double kSmallShare = 11.0 / 13; // of the system's font, where that is a large one

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
{
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    if (size == Size::small)
        setFont(smallFont());
}

int Note::textFlags() const
{
    const Qt::Alignment visual = QStyle::visualAlignment(layoutDirection(), alignment());
    return static_cast<int>(visual) | (m_lineWidth > 0 ? Qt::TextWordWrap : Qt::TextSingleLine);
}

QSize Note::sizeHint() const
{
    ensurePolished();
    const int width = m_lineWidth > 0 ? m_lineWidth : QWIDGETSIZE_MAX;
    return fontMetrics()
        .boundingRect(0, 0, width, QWIDGETSIZE_MAX, textFlags(), unbroken(text()))
        .size();
}

void Note::paintEvent(QPaintEvent * /*event*/)
{
    QPalette toned = palette();
    toned.setColor(foregroundRole(), textColour(palette(), m_tone));
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), textFlags(), toned, isEnabled(),
                          unbroken(text()), foregroundRole());
}

} // namespace corvella

#include "platform/layers/TextLayer.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace corvella {

namespace {

// A blur by three passes of a box, close to a Gaussian of this radius; good enough under text.
QImage blurred(const QImage &alpha, int radius)
{
    QImage result = alpha;
    for (int pass = 0; pass < 3 && radius > 0; ++pass) {
        // Shrinking and growing back smoothly averages over about `radius` pixels.
        const QSize small(std::max(1, result.width() / (radius + 1)),
                          std::max(1, result.height() / (radius + 1)));
        result = result.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .scaled(alpha.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        radius /= 2;
    }
    return result;
}

} // namespace

void TextLayer::setFont(const QFont &font, double size)
{
    m_font = font;
    m_size = size;
    setNeedsContents();
}

void TextLayer::setText(const AttributedText &text)
{
    if (m_text == text)
        return;
    m_text = text;
    setNeedsContents();
}

void TextLayer::setAlignment(Qt::Alignment horizontal)
{
    m_alignment = horizontal;
    setNeedsContents();
}

void TextLayer::setShadow(const TextShadow &shadow)
{
    m_shadow = shadow;
    setNeedsContents();
}

QFont TextLayer::fontAt(double scale) const
{
    QFont font = m_font;
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(m_size * scale))));
    font.setLetterSpacing(QFont::AbsoluteSpacing, m_text.kerning * scale);
    return font;
}

QSizeF TextLayer::sizeToFit() const
{
    const QFontMetricsF metrics(fontAt(1));
    const double blur = 2 * m_shadow.blurRadius;
    return {std::ceil(metrics.horizontalAdvance(m_text.text)) + blur,
            std::ceil(metrics.height()) + blur};
}

QImage TextLayer::drawContents(QSize pixels, double scale) const
{
    if (m_text.text.isEmpty())
        return {};
    const QFont font = fontAt(scale);
    const QString shown =
        QFontMetricsF(font).elidedText(m_text.text, Qt::ElideRight, pixels.width());

    const auto drawn = [&](const QColor &colour) {
        QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setFont(font);
        painter.setPen(colour);
        painter.drawText(QRectF(image.rect()), static_cast<int>(m_alignment | Qt::AlignVCenter),
                         shown);
        return image;
    };
    QImage image = drawn(m_text.colour);
    if (m_shadow.colour.alpha() > 0) {
        const QImage shadow = blurred(drawn(m_shadow.colour),
                                      static_cast<int>(std::lround(m_shadow.blurRadius * scale)));
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter.drawImage(QPointF(m_shadow.offset.x(), -m_shadow.offset.y()) * scale, shadow);
    }
    return image;
}

} // namespace corvella

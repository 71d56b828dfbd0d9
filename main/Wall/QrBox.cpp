#include "Wall/QrBox.h"

#include <QPainter>

#include <exception>
#include <qrcodegen/qrcodegen.hpp>

namespace corvella {

namespace {

using qrcodegen::QrCode;
using qrcodegen::QrSegment;

constexpr double kMargin = 7; // points of white around the code
constexpr double kCornerRadius = 6;
// With the card's own margin it makes the four modules that scanners ask for.
constexpr int kQuietModules = 1;

QImage drawn(const QrCode &code)
{
    const int size = code.getSize() + 2 * kQuietModules;
    QImage image(size, size, QImage::Format_RGB32);
    image.fill(Qt::white);
    for (int y = 0; y < code.getSize(); ++y) {
        for (int x = 0; x < code.getSize(); ++x) {
            if (code.getModule(x, y))
                image.setPixel(x + kQuietModules, y + kQuietModules, qRgb(0, 0, 0));
        }
    }
    return image;
}

} // namespace

QImage qrCode(const QByteArray &message)
{
    try {
        // Exactly the level asked for: a higher one that fits would have to be of smaller modules.
        const bool raiseLevel = false;
        const int anyMask = -1;
        return drawn(QrCode::encodeSegments(
            {QrSegment::makeBytes({message.begin(), message.end()})}, QrCode::Ecc::MEDIUM,
            QrCode::MIN_VERSION, QrCode::MAX_VERSION, anyMask, raiseLevel));
    } catch (const std::exception &) { // the library's way to say "too long"
        return {};
    }
}

QrBox::QrBox()
{
    setOpacity(0);
}

void QrBox::setCode(const QImage &code)
{
    m_code = code;
    setNeedsContents();
}

QImage QrBox::drawContents(QSize pixels, double scale) const
{
    if (m_code.isNull())
        return {};
    QImage card(pixels, QImage::Format_ARGB32_Premultiplied);
    card.fill(Qt::transparent);
    QPainter painter(&card);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(card.rect(), kCornerRadius * scale, kCornerRadius * scale);
    painter.setRenderHint(QPainter::Antialiasing, false);
    const int margin = qRound(kMargin * scale);
    painter.drawImage(card.rect().adjusted(margin, margin, -margin, -margin), m_code);
    return card;
}

} // namespace corvella

// One line of text, drawn at the tree's pixel scale, cut with an ellipsis where it is too wide.
#pragma once

#include "platform/layers/Layer.h"

#include <QFont>

namespace corvella {

// A text with its letter spacing (points added after each letter) and colour.
struct AttributedText
{
    QString text;
    double kerning = 0;
    QColor colour = Qt::white;

    bool operator==(const AttributedText &) const = default;
};

struct TextShadow
{
    QColor colour = Qt::transparent;
    double blurRadius = 0; // points
    QPointF offset;        // points, upwards positive

    bool operator==(const TextShadow &) const = default;
};

class TextLayer final : public Layer
{
public:
    // The font's size in points of the tree.
    void setFont(const QFont &font, double size);
    void setText(const AttributedText &text);
    [[nodiscard]] const AttributedText &text() const { return m_text; }
    void setAlignment(Qt::Alignment horizontal);
    void setShadow(const TextShadow &shadow);
    // What the whole text takes up, in points; with the shadow's blur on every side.
    [[nodiscard]] QSizeF sizeToFit() const;

protected:
    [[nodiscard]] QImage drawContents(QSize pixels, double scale) const override;

private:
    // At this many pixels per point.
    [[nodiscard]] QFont fontAt(double scale) const;

    AttributedText m_text;
    QFont m_font;
    double m_size = 15;
    Qt::Alignment m_alignment = Qt::AlignLeft;
    TextShadow m_shadow;
};

} // namespace corvella

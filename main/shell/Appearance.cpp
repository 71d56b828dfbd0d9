#include "shell/Appearance.h"

#include "Preferences/Colours.h"

#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

#include <utility>

namespace corvella {

namespace {

void setText(QPalette &palette, QPalette::ColorRole role, const QColor &colour)
{
    palette.setColor(role, colour);
    palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
}

// Cards are lighter than the ground, as what lies on it catches the light; controls lighter still.
QPalette darkPalette()
{
    const QColor ground(0x28, 0x28, 0x28);
    const QColor card(0x32, 0x32, 0x32);
    const QColor control(0x48, 0x48, 0x48);
    const QColor accent(0x2a, 0x7a, 0xb8);
    const QColor text(0xf0, 0xf0, 0xf0);

    QPalette palette(text, control, control.lighter(130), ground.darker(150), control, text,
                     Qt::white, card, ground);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        setText(palette, role, text);
    palette.setColor(QPalette::AlternateBase, control);
    palette.setColor(QPalette::ToolTipBase, control);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, accent.lighter(150));
    QColor placeholder = text;
    placeholder.setAlphaF(0.5F);
    palette.setColor(QPalette::PlaceholderText, placeholder);
    return palette;
}

// The plain style outlines its controls in a shade that is darker than the ground. In the dark
// nobody sees that, nor which of them has the keys: here they have a light outline.
class DarkFusion final : public QProxyStyle
{
public:
    DarkFusion()
        : QProxyStyle(QStringLiteral("Fusion"))
    {
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        if (element == PE_IndicatorRadioButton)
            outline(*option, *painter, option->rect.height() / 2.0);
        else if (element == PE_IndicatorCheckBox)
            outline(*option, *painter, 0);
        else if (element == PE_PanelButtonCommand || element == PE_FrameLineEdit)
            outline(*option, *painter, kCorner);
        else if (element == PE_PanelMenu) // around lists that pop up, too
            outline(*option, *painter, 0, kSeen);
    }

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        const auto *const item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
        const bool isLine = element == CE_MenuItem && item
            && item->menuItemType == QStyleOptionMenuItem::Separator && item->text.isEmpty();
        if (!isLine)
            return QProxyStyle::drawControl(element, option, painter, widget);
        QRect line(option->rect);
        line.setTop(line.center().y());
        line.setHeight(1);
        painter->fillRect(line.adjusted(kLineInset, 0, -kLineInset, 0),
                          separatorColour(option->palette));
    }

private:
    static constexpr double kCorner = 2;
    static constexpr int kLineInset = 5;
    static constexpr float kSeen = 0.38F;
    static constexpr float kFaint = 0.15F;

    static void outline(const QStyleOption &option, QPainter &painter, double corner)
    {
        outline(option, painter, corner, option.state & State_Enabled ? kSeen : kFaint);
    }

    static void outline(const QStyleOption &option, QPainter &painter, double corner, float opacity)
    {
        QColor light = option.palette.color(QPalette::WindowText);
        light.setAlphaF(opacity);
        if (option.state & State_HasFocus)
            light = focusColour(option.palette);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(light);
        painter.drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5), corner, corner);
        painter.restore();
    }
};

// The desktop's, while there is one of ours in its place; else empty.
QString &replacedStyle()
{
    static QString name;
    return name;
}

} // namespace

std::optional<Appearance> appearanceFromText(const QString &text)
{
    if (text == u"dark")
        return Appearance::dark;
    if (text == u"light")
        return Appearance::light;
    return std::nullopt;
}

Appearance appearanceOf(const QPalette &palette)
{
    const auto lightness = [&palette](QPalette::ColorRole role) {
        return palette.color(role).lightness();
    };
    return lightness(QPalette::WindowText) > lightness(QPalette::Window) ? Appearance::dark
                                                                         : Appearance::light;
}

void setAppearance(Appearance appearance)
{
    if (appearanceOf(QApplication::palette()) == appearance)
        return;
    if (replacedStyle().isEmpty())
        replacedStyle() = QApplication::style()->objectName();
    const bool isDark = appearance == Appearance::dark;
    QApplication::setStyle(isDark ? new DarkFusion
                                  : QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(isDark ? darkPalette() : QApplication::style()->standardPalette());
}

void resetAppearance()
{
    if (replacedStyle().isEmpty())
        return;
    QApplication::setStyle(std::exchange(replacedStyle(), {}));
    QApplication::setPalette(QPalette()); // says nothing: all of it is the desktop's
}

} // namespace corvella

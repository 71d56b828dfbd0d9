// What controls look like: in the palette of the moment, readable, sharp at every scale.
#include "Preferences/BusyIndicator.h"
#include "Preferences/CardView.h"
#include "Preferences/Colours.h"
#include "Preferences/GroundView.h"
#include "Preferences/Note.h"
#include "Preferences/SegmentedControl.h"
#include "platform/symbols/Symbol.h"
#include "support/QtPrinting.h"
#include "support/Waiting.h"

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

const QColor kLightGround(0xef, 0xef, 0xef);
const QColor kDarkGround(0x28, 0x28, 0x28);
const QColor kDarkCard(0x32, 0x32, 0x32);

QPalette light()
{
    QPalette palette(Qt::black, Qt::lightGray, Qt::white, Qt::gray, Qt::gray, Qt::black, Qt::white,
                     Qt::white, kLightGround);
    palette.setColor(QPalette::Highlight, Qt::blue);
    return palette;
}

QPalette dark()
{
    QPalette palette(Qt::white, Qt::darkGray, Qt::gray, Qt::black, Qt::darkGray, Qt::white,
                     Qt::white, kDarkCard, kDarkGround);
    palette.setColor(QPalette::Highlight, Qt::blue);
    return palette;
}

// A widget's pixels at a scale.
QImage picture(QWidget &widget, double scale = 1)
{
    QImage image((QSizeF(widget.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

// Of sRGB colours, as WCAG 2 defines it.
double luminance(const QColor &colour)
{
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &text, const QColor &ground)
{
    const auto over = [&](float above, float below) {
        return above * text.alphaF() + below * (1 - text.alphaF());
    };
    const QColor seen =
        QColor::fromRgbF(over(text.redF(), ground.redF()), over(text.greenF(), ground.greenF()),
                         over(text.blueF(), ground.blueF()));
    const double a = luminance(seen);
    const double b = luminance(ground);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

TEST(ColoursTest, SofterTextsStayReadable)
{
    for (const Tone tone : {Tone::secondary, Tone::tertiary}) {
        EXPECT_GE(contrast(textColour(light(), tone), Qt::white), 4.5);
        EXPECT_GE(contrast(textColour(light(), tone), kLightGround), 4.5);
        EXPECT_GE(contrast(textColour(dark(), tone), kDarkCard), 4.5);
        EXPECT_GE(contrast(textColour(dark(), tone), kDarkGround), 4.5);
    }
    EXPECT_LT(textColour(light(), Tone::tertiary).alpha(),
              textColour(light(), Tone::secondary).alpha());
    EXPECT_EQ(textColour(light(), Tone::primary), QColor(Qt::black));
}

TEST(ColoursTest, TheSelectionIsReadableWhateverThePaletteChose)
{
    for (const auto &[ground, text] : {std::pair{QColor(0x30, 0x8c, 0xc6), QColor(Qt::white)},
                                       std::pair{QColor(Qt::yellow), QColor(Qt::white)},
                                       std::pair{QColor(0x30, 0x40, 0x60), QColor(Qt::black)}}) {
        QPalette palette;
        palette.setColor(QPalette::Highlight, ground);
        palette.setColor(QPalette::HighlightedText, text);
        EXPECT_GE(contrast(text, selectionColour(palette)), 4.5) << ground.name().toStdString();
    }
    EXPECT_EQ(selectionColour(light()), QColor(Qt::blue)) << "readable as it is";
}

TEST(ColoursTest, WhatHasTheKeysIsSeenWhateverThePaletteChose)
{
    for (const QColor &button : {QColor(Qt::white), QColor(0x48, 0x48, 0x48), QColor(Qt::black)}) {
        QPalette palette;
        palette.setColor(QPalette::Button, button);
        palette.setColor(QPalette::Highlight, QColor(0x2a, 0x7a, 0xb8));
        EXPECT_GE(contrast(focusColour(palette), button), 3) << button.name().toStdString();
    }
}

TEST(GroundViewTest, HasTheWindowsColourOfTheMoment)
{
    GroundView ground;
    ground.resize(10, 10);
    ground.setPalette(light());
    EXPECT_EQ(picture(ground).pixelColor(5, 5), kLightGround);
    ground.setPalette(dark());
    EXPECT_EQ(picture(ground).pixelColor(5, 5), kDarkGround);
}

// The painter rounds a little where it smooths edges; nobody sees that.
bool isAlike(const QColor &one, const QColor &other)
{
    constexpr int kUnseen = 10; // of 255
    return std::abs(one.red() - other.red()) <= kUnseen
        && std::abs(one.alpha() - other.alpha()) <= kUnseen;
}

class CardViewTest : public testing::TestWithParam<double>
{
};

TEST_P(CardViewTest, IsARoundedBoxWithASharpBorder)
{
    const double scale = GetParam();
    CardView card(u"Card"_s, {});
    card.resize(100, 60);
    for (const auto &[palette, ground] :
         {std::pair{light(), QColor(Qt::white)}, std::pair{dark(), kDarkCard}}) {
        card.setPalette(palette);
        const QImage image = picture(card, scale);
        const auto at = [&](double x, double y) {
            return image.pixelColor(int(x * scale), int(y * scale));
        };
        EXPECT_TRUE(isAlike(at(50, 50), ground));
        // The border is one point wide, and not one pixel more.
        const QColor edge = at(0, 50);
        EXPECT_FALSE(isAlike(edge, ground));
        const double pixel = 1 / scale;
        for (const auto &[border, inside] : {std::pair{1 - pixel, 1.0}, std::pair{99.0, 98.0}}) {
            EXPECT_TRUE(isAlike(at(border, 50), edge));
            EXPECT_TRUE(isAlike(at(inside, 50), ground));
        }
        // The corner's radius is 10: on the diagonal it ends 10 - 10/√2, about 2.9, from either
        // edge.
        EXPECT_EQ(at(1.5, 1.5).alpha(), 0);
        EXPECT_GT(at(3.7, 3.7).alpha(), 200);
    }
}

INSTANTIATE_TEST_SUITE_P(Scales, CardViewTest, testing::Values(1, 2, 3));

TEST(NoteTest, TakesTheRoomItsTextNeeds)
{
    Note note(Tone::secondary, 200);
    note.setText(u"short"_s);
    const QSize line = note.sizeHint();
    EXPECT_LT(line.width(), 100);
    note.setText(u"a text that is long enough for three lines of this width, "_s.repeated(2));
    EXPECT_LE(note.sizeHint().width(), 200);
    EXPECT_GE(note.sizeHint().height(), 3 * line.height());
    note.setText(QString());
    EXPECT_EQ(note.sizeHint().height(), line.height()) << "or the window jumps when it is filled";
}

TEST(NoteTest, ALargeFontMakesUseOfACardThatHasGrown)
{
    QFont font;
    font.setPixelSize(26); // twice the usual
    Note note(Tone::secondary, 300);
    note.setFont(font);
    note.setText(u"a text that is long enough for several lines, "_s.repeated(4));
    EXPECT_LE(note.sizeHint().width(), 300) << "by itself it makes no card grow";
    const int narrow = note.heightForWidth(300);
    EXPECT_EQ(narrow, note.sizeHint().height());
    EXPECT_LT(note.heightForWidth(600), narrow);
    EXPECT_EQ(note.heightForWidth(900), note.heightForWidth(600)) << "longer lines read badly";
    font.setPixelSize(13);
    note.setFont(font);
    EXPECT_EQ(note.heightForWidth(900), note.heightForWidth(300));
}

TEST(NoteTest, KeysThatArePressedTogetherStayTogether)
{
    const QString keys = u"Control-Option-Command-Q"_s;
    Note note(Tone::secondary, 10); // narrower than any word
    note.setText(keys);
    EXPECT_EQ(note.sizeHint().height(), QFontMetrics(note.font()).height());
    EXPECT_EQ(note.text(), keys);
}

TEST(NoteTest, IsDrawnInItsTone)
{
    Note note(Tone::secondary, 0);
    note.setText(u"████"_s);
    note.adjustSize();
    for (const QPalette &palette : {light(), dark()}) {
        note.setPalette(palette);
        const QColor drawn = picture(note).pixelColor(note.width() / 2, note.height() / 2);
        EXPECT_NEAR(drawn.alpha(), textColour(palette, Tone::secondary).alpha(), 1);
    }
}

TEST(SegmentedControlTest, FillsTheSelectedSegment)
{
    SegmentedControl control(u"Choice"_s, {u"One"_s, u"Two"_s, u"Three"_s});
    control.setPalette(light());
    control.adjustSize();
    control.select(1);
    const QImage image = picture(control);
    const auto fill = [&](int segment) {
        const QRect place = control.segment(segment)->geometry();
        return image.pixelColor(place.left() + 6, place.center().y());
    };
    EXPECT_EQ(fill(0), QColor(Qt::lightGray));
    EXPECT_EQ(fill(1), QColor(Qt::blue));
    EXPECT_EQ(fill(2), QColor(Qt::lightGray));
}

TEST(BusyIndicatorTest, TurnsUntilAllIsThrough)
{
    QWidget window;
    auto *busy = new BusyIndicator;
    busy->setParent(&window);
    window.show();
    EXPECT_FALSE(busy->isVisible());
    busy->start();
    busy->start();
    busy->stop();
    EXPECT_TRUE(busy->isVisible());
    const QImage before = picture(*busy);
    EXPECT_TRUE(test::becomes([&] { return picture(*busy) != before; }));
    busy->stop();
    EXPECT_FALSE(busy->isVisible());
    busy->stop();
    busy->start();
    EXPECT_TRUE(busy->isVisible());
}

class DrawnSymbol : public testing::TestWithParam<QString>
{
};

TEST_P(DrawnSymbol, HasTheColourOfTextsAndFillsItsSquare)
{
    const QPalette before = QApplication::palette();
    for (const auto &[palette, colour] :
         {std::pair{light(), QColor(Qt::black)}, std::pair{dark(), QColor(Qt::white)}}) {
        QApplication::setPalette(palette);
        const QImage image = symbolIcon(GetParam()).pixmap(QSize(64, 64)).toImage();
        QRect drawn;
        bool isOfOneColour = true;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() == 255) {
                    drawn |= QRect(x, y, 1, 1);
                    isOfOneColour = isOfOneColour && pixel == palette.color(QPalette::ButtonText);
                }
            }
        }
        EXPECT_TRUE(isOfOneColour);
        EXPECT_GT(std::max(drawn.width(), drawn.height()), 54);
        EXPECT_NEAR(drawn.center().x(), 32, 2);
        EXPECT_NEAR(drawn.center().y(), 32, 2);
    }
    QApplication::setPalette(before);
}

INSTANTIATE_TEST_SUITE_P(Each, DrawnSymbol, testing::Values(u"shuffle"_s, u"lock.fill"_s));

TEST(SymbolIconTest, AnUnknownOneIsEmpty)
{
    EXPECT_TRUE(symbolIcon(u"nothing"_s).isNull());
}

} // namespace
} // namespace corvella

#include "shell/Appearance.h"
#include "settings/Settings.h"
#include "shell/AppFixture.h"
#include "shell/StatusMenu.h"
#include "support/QtPrinting.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleOption>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

class AppearanceTest : public test::AppFixture
{
protected:
    void TearDown() override
    {
        AppFixture::TearDown();
        resetAppearance();
    }

    static Appearance seen() { return appearanceOf(QApplication::palette()); }
};

TEST_F(AppearanceTest, TheDesktopChoosesUnlessTheUserDoes)
{
    for (const QString &none : {u""_s, u"Dark"_s, u"black"_s})
        EXPECT_EQ(appearanceFromText(none), std::nullopt);
    const QPalette before = QApplication::palette();
    Settings::d().setString(u"appearance"_s, u"nonsense"_s);
    launch();
    EXPECT_EQ(QApplication::palette(), before);
}

TEST_F(AppearanceTest, IsDarkOrLightAsStored)
{
    Settings::d().setString(u"appearance"_s, u"dark"_s);
    launch();
    EXPECT_EQ(seen(), Appearance::dark);
    setAppearance(Appearance::light);
    EXPECT_EQ(seen(), Appearance::light);
}

TEST_F(AppearanceTest, ADesktopThatLooksSoAlreadyIsLeftAlone)
{
    const QStyle *const style = QApplication::style();
    const QPalette palette = QApplication::palette();
    setAppearance(Appearance::light);
    EXPECT_EQ(QApplication::style(), style);
    EXPECT_EQ(QApplication::palette(), palette);
}

TEST_F(AppearanceTest, LooksAsTheDesktopHasItAgain)
{
    const QString style = QApplication::style()->objectName();
    const QPalette palette = QApplication::palette();
    setAppearance(Appearance::dark);
    setAppearance(Appearance::light);
    setAppearance(Appearance::dark);
    resetAppearance();
    EXPECT_EQ(QApplication::style()->objectName(), style);
    EXPECT_FALSE(qobject_cast<QProxyStyle *>(QApplication::style()));
    EXPECT_EQ(QApplication::palette(), palette);
}

// Of an empty check box the outline is all there is.
QColor outlineOfCheckBox(QStyle::State more)
{
    QStyleOptionButton box;
    box.rect = QRect(0, 0, 13, 13);
    box.palette = QApplication::palette();
    box.state = QStyle::State_Enabled | QStyle::State_Off | more;
    QImage image(13, 13, QImage::Format_RGB32);
    image.fill(box.palette.color(QPalette::Base));
    QPainter painter(&image);
    QApplication::style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, &painter);
    return image.pixelColor(0, 6);
}

TEST_F(AppearanceTest, ControlsHaveOutlinesThatAreSeenInTheDark)
{
    setAppearance(Appearance::dark);
    const QColor plain = outlineOfCheckBox({});
    EXPECT_GT(plain.lightness(), QApplication::palette().color(QPalette::Base).lightness() + 50);
    const QColor focused = outlineOfCheckBox(QStyle::State_HasFocus);
    EXPECT_GE(focused.lightness(), plain.lightness()) << "which has the keys is seen, too";
    EXPECT_GT(focused.saturation(), plain.saturation() + 50) << "in colour";
}

// What a control of this height and width looks like at the middle of its left edge.
template <typename Draw> QColor leftEdge(const Draw &draw)
{
    QImage image(80, 24, QImage::Format_RGB32);
    image.fill(QApplication::palette().color(QPalette::Base));
    QPainter painter(&image);
    draw(painter);
    return image.pixelColor(0, 12);
}

TEST_F(AppearanceTest, PopupsAndButtonsHaveOutlinesOfOneBrightnessInTheDark)
{
    setAppearance(Appearance::dark);
    const QStyle *const style = QApplication::style();
    QStyleOptionButton button;
    QStyleOptionComboBox popup;
    for (QStyleOption *option :
         {static_cast<QStyleOption *>(&button), static_cast<QStyleOption *>(&popup)}) {
        option->rect = QRect(0, 0, 80, 24);
        option->palette = QApplication::palette();
        option->state = QStyle::State_Enabled;
    }
    EXPECT_EQ(leftEdge([&](QPainter &painter) {
                  style->drawComplexControl(QStyle::CC_ComboBox, &popup, &painter);
              }),
              leftEdge([&](QPainter &painter) {
                  style->drawPrimitive(QStyle::PE_PanelButtonCommand, &button, &painter);
              }));
}

TEST_F(AppearanceTest, MenusStandOutFromWhatTheyLieOnInTheDark)
{
    setAppearance(Appearance::dark);
    QMenu menu;
    menu.addAction(u"one"_s);
    QAction *const line = menu.addSeparator();
    menu.addAction(u"two"_s);
    menu.resize(menu.sizeHint());
    const QImage picture = menu.grab().toImage();
    const auto lightness = [&picture](QPoint at) { return picture.pixelColor(at).lightness(); };
    const int ground = lightness({2, 2});
    EXPECT_GT(lightness({0, picture.height() / 2}), ground + 40);
    EXPECT_GT(lightness(menu.actionGeometry(line).center()), ground + 15);
}

// Its first line cannot be chosen, and says what the program is doing.
TEST_F(AppearanceTest, TheStatusMenusFirstLineIsReadInTheLightAndInTheDark)
{
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        setAppearance(appearance);
        StatusMenu menu({}, [] { return StatusFacts{}; });
        Q_EMIT menu.aboutToShow();
        const QColor text = menu.palette().color(QPalette::Disabled, QPalette::Text);
        const QColor ground = menu.palette().color(QPalette::Window);
        const int difference = text.alpha() * (text.lightness() - ground.lightness()) / 255;
        EXPECT_GT(std::abs(difference), 100);
    }
}

} // namespace
} // namespace corvella

// What App lays over its walls: close buttons, badges, the hint; and the pointer that goes with
// them.
#include "platform/layers/LayerTree.h"
#include "platform/layers/TextLayer.h"
#include "shell/AppFixture.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QMouseEvent>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

class WallChrome : public test::AppFixture
{
protected:
    void showWalls(Mode mode, const QStringList &products = {u"all"_s})
    {
        configure(mode, products);
        launch();
    }

    // The first wall's layers by what they say.
    TextLayer *label(const QString &text)
    {
        for (const auto &layer : m_app->walls().front()->tree().root().sublayers()) {
            auto *const found = dynamic_cast<TextLayer *>(layer.get());
            if (found && found->text().text == text)
                return found;
        }
        return nullptr;
    }
    TextLayer *hint() { return label(u"Move the mouse to reveal the close button"_s); }

    void pass(MediaTime time)
    {
        m_clock.advance(time);
        for (const auto &wall : m_app->walls())
            wall->tree().advance();
    }
    double opacityOf(const Layer &layer) { return layer.presentedOpacity(m_clock.now()); }
    static bool isPointerHidden() { return QGuiApplication::overrideCursor() != nullptr; }

    // Points from the top left of the first wall, as a mouse has them.
    void click(QPointF point, Qt::MouseButton button = Qt::LeftButton)
    {
        QWindow &window = *m_app->windows().front();
        QMouseEvent press(QEvent::MouseButtonPress, point, window.mapToGlobal(point), button,
                          button, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &press);
    }
};

TEST_F(WallChrome, EachWallHasACloseButtonInItsCorner)
{
    showWalls(Mode::wall);
    ASSERT_EQ(m_app->closeButtons().size(), 2U);
    EXPECT_TRUE(m_app->badges().empty());
    // 64 points, 28 from the top and the right, of 1280 x 720 and of 800 x 600; from the bottom
    // left.
    EXPECT_EQ(m_app->closeButtons()[0]->frame(), QRectF(1188, 628, 64, 64));
    EXPECT_EQ(m_app->closeButtons()[1]->frame(), QRectF(708, 508, 64, 64));
    EXPECT_EQ(opacityOf(*m_app->closeButtons()[0]), 0);
}

TEST_F(WallChrome, AKioskHasBadgesAndASaverNeither)
{
    showWalls(Mode::kiosk);
    ASSERT_EQ(m_app->badges().size(), 2U);
    EXPECT_TRUE(m_app->closeButtons().empty());
    EXPECT_EQ(m_app->badges()[0]->frame(), QRectF(1188, 628, 64, 64));
    EXPECT_EQ(m_app->badges()[0]->accessibilityLabel(), u"Kiosk mode, locked"_s);
    m_app->hide();
    EXPECT_TRUE(m_app->badges().empty());
    Settings::setMode(Mode::saver);
    m_app->show();
    EXPECT_TRUE(m_app->badges().empty());
    EXPECT_TRUE(m_app->closeButtons().empty());
}

TEST_F(WallChrome, ABadgeStaysForTwoAndAHalfSeconds)
{
    showWalls(Mode::kiosk);
    tickAfterIdle(2.49);
    pass(150ms);
    EXPECT_EQ(opacityOf(*m_app->badges()[0]), 1);
    tickAfterIdle(2.5);
    pass(800ms);
    EXPECT_EQ(opacityOf(*m_app->badges()[0]), 0);
}

TEST_F(WallChrome, KeepsItsPlaceWhenTheWallChangesItsSize)
{
    showWalls(Mode::wall);
    m_app->walls().front()->tree().setSize({1000, 500});
    EXPECT_EQ(m_app->closeButtons()[0]->frame(), QRectF(908, 408, 64, 64));
}

TEST_F(WallChrome, ButtonsComeWithInputAndGoAfterTwoAndAHalfSeconds)
{
    showWalls(Mode::wall);
    const CloseButton &button = *m_app->closeButtons()[0];
    tickAfterIdle(2.49);
    EXPECT_EQ(opacityOf(button), 0);
    pass(75ms); // half way; the standard curve is at 80.24 % then
    EXPECT_NEAR(opacityOf(button), 0.8024, 1e-3);
    pass(75ms);
    EXPECT_EQ(opacityOf(button), 1);
    EXPECT_EQ(opacityOf(*m_app->closeButtons()[1]), 1);
    tickAfterIdle(2.5);
    pass(400ms);
    EXPECT_NEAR(opacityOf(button), 0.1976, 1e-3);
    pass(400ms);
    EXPECT_EQ(opacityOf(button), 0);
}

TEST_F(WallChrome, ThePointerShowsWithTheButtonsWhereEveryScreenIsCovered)
{
    showWalls(Mode::wall);
    EXPECT_TRUE(isPointerHidden());
    tickAfterIdle(0);
    EXPECT_FALSE(isPointerHidden());
    tickAfterIdle(3);
    EXPECT_TRUE(isPointerHidden());
    m_app->hide();
    EXPECT_FALSE(isPointerHidden());
}

TEST_F(WallChrome, ThePointerStaysHiddenInAKiosk)
{
    showWalls(Mode::kiosk);
    tickAfterIdle(0);
    pass(150ms);
    EXPECT_EQ(opacityOf(*m_app->badges()[0]), 1);
    EXPECT_TRUE(isPointerHidden());
    tickAfterIdle(2.5);
    pass(800ms);
    EXPECT_EQ(opacityOf(*m_app->badges()[0]), 0);
    EXPECT_TRUE(isPointerHidden());
}

TEST_F(WallChrome, ThePointerIsGivenBackWhenAScreenInUseIsPluggedIn)
{
    test::setOffscreenScreens({test::kLeft});
    showWalls(Mode::wall, {u"all"_s, u"off"_s});
    EXPECT_TRUE(isPointerHidden());
    test::setOffscreenScreens({test::kLeft, test::kRight});
    m_clock.advance(500ms);
    m_app->workQueue().advance();
    EXPECT_FALSE(m_app->coversAll());
    EXPECT_FALSE(isPointerHidden());
}

TEST_F(WallChrome, BesideAScreenInUseButtonsComeOnlyForThePointerOverTheWall)
{
    showWalls(Mode::wall, {u"all"_s, u"off"_s});
    QCursor::setPos(1500, 100); // on the right screen
    tickAfterIdle(0);
    EXPECT_FALSE(m_app->buttonsVisible());
    QCursor::setPos(1279, 719);
    tickAfterIdle(0);
    EXPECT_TRUE(m_app->buttonsVisible());
    EXPECT_FALSE(isPointerHidden());
    tickAfterIdle(2.49);
    EXPECT_TRUE(m_app->buttonsVisible());
    tickAfterIdle(2.5);
    EXPECT_FALSE(m_app->buttonsVisible()) << "it lies there forgotten";
    tickAfterIdle(0);
    EXPECT_TRUE(m_app->buttonsVisible());
    QCursor::setPos(1280, 719);
    tickAfterIdle(0);
    EXPECT_FALSE(m_app->buttonsVisible());
    EXPECT_FALSE(isPointerHidden());
}

TEST_F(WallChrome, ARebuiltWallHasItsButtonsAsTheyWere)
{
    showWalls(Mode::wall);
    tickAfterIdle(0);
    pass(150ms);
    test::setOffscreenScreens({test::kLeft});
    m_clock.advance(500ms);
    m_app->workQueue().advance();
    ASSERT_EQ(m_app->closeButtons().size(), 1U);
    EXPECT_EQ(opacityOf(*m_app->closeButtons()[0]), 1);
}

TEST_F(WallChrome, ARebuiltKioskHasItsBadgeAsItWas)
{
    showWalls(Mode::kiosk);
    tickAfterIdle(0);
    pass(150ms);
    test::setOffscreenScreens({test::kLeft});
    m_clock.advance(500ms);
    m_app->workQueue().advance();
    ASSERT_EQ(m_app->badges().size(), 1U);
    EXPECT_EQ(opacityOf(*m_app->badges()[0]), 1);
}

TEST_F(WallChrome, AWallThatIsShownAnewHasItsButtonHidden)
{
    showWalls(Mode::wall);
    tickAfterIdle(0);
    pass(150ms);
    m_app->hide();
    m_app->show();
    EXPECT_EQ(opacityOf(*m_app->closeButtons()[0]), 0);
    EXPECT_TRUE(isPointerHidden());
    tickAfterIdle(0);
    pass(150ms);
    EXPECT_EQ(opacityOf(*m_app->closeButtons()[0]), 1);
}

TEST_F(WallChrome, AClickAnywhereInTheButtonsSquareClosesTheWall)
{
    for (const QPointF corner : {QPointF(1189, 29), QPointF(1251, 91), QPointF(1220, 60)}) {
        showWalls(Mode::wall);
        click({1187, 60}); // beside it
        EXPECT_TRUE(m_app->isShowing());
        click(corner);
        EXPECT_FALSE(m_app->isShowing());
        EXPECT_TRUE(settingsOpen());
    }
}

TEST_F(WallChrome, OnlyTheMainButtonOfTheMouseClosesTheWall)
{
    showWalls(Mode::wall);
    for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton, Qt::BackButton}) {
        click({1220, 60}, button);
        EXPECT_TRUE(m_app->isShowing());
    }
}

TEST_F(WallChrome, AClickOnABadgeDoesNothing)
{
    showWalls(Mode::kiosk);
    tickAfterIdle(0);
    click({1220, 60});
    EXPECT_TRUE(m_app->isShowing());
}

TEST_F(WallChrome, TheVeryFirstWallSaysHowToCloseIt)
{
    showWalls(Mode::wall);
    ASSERT_NE(hint(), nullptr);
    const QRectF frame = hint()->frame();
    EXPECT_DOUBLE_EQ(frame.center().x(), 640);
    EXPECT_DOUBLE_EQ(frame.y(), 57.6); // 8 % of 720
    pass(5999ms);
    EXPECT_EQ(opacityOf(*hint()), 1);
    pass(1ms);
    pass(600ms);
    EXPECT_NEAR(opacityOf(*hint()), 0.1976, 1e-3);
    pass(600ms);
    EXPECT_EQ(hint(), nullptr);
    m_app->walls().front()->tree().setSize({1000, 500}); // whoever placed it has let it go
}

TEST_F(WallChrome, TheHintIsWhiteWithABlackShadow)
{
    showWalls(Mode::wall);
    ASSERT_NE(hint(), nullptr);
    TextLayer expected;
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::Medium);
    expected.setFont(font, 16);
    expected.setShadow({Qt::black, 4, {}});
    expected.setAlignment(Qt::AlignHCenter);
    expected.setText({hint()->text().text, 0, Qt::white});
    const QSize pixels = (hint()->frame().size() * 2).toSize();
    EXPECT_EQ(hint()->contents(pixels, 2), expected.contents(pixels, 2));
}

TEST_F(WallChrome, NoLaterWallSaysIt)
{
    showWalls(Mode::wall);
    m_app->hide();
    m_app->show();
    EXPECT_EQ(hint(), nullptr);
    EXPECT_EQ(Settings::d().boolean(u"wallHintShown"_s), true);
}

TEST_F(WallChrome, OnlyAWallSpendsTheHint)
{
    showWalls(Mode::kiosk);
    EXPECT_EQ(hint(), nullptr);
    m_app->hide();
    configure(Mode::wall, {u"off"_s});
    m_app->show(); // nothing to show
    configure(Mode::wall);
    m_app->show();
    EXPECT_NE(hint(), nullptr);
}

} // namespace
} // namespace corvella

// The screens, their menus, and screens that come and go.
#include "Preferences/PreferencesFixture.h"

#include <QLabel>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ScreensTest : public test::PreferencesFixture
{
protected:
    void SetUp() override
    {
        PreferencesFixture::SetUp();
        Settings::setMode(Mode::wall);
        Settings::setProducts({QString(), u"off"_s});
    }

    static QStringList menuOf(qsizetype screen)
    {
        QStringList entries;
        for (const QAction *action : popup(screen).menu()->actions()) {
            entries << (action->isSeparator()
                            ? u"-"_s
                            : (action->isChecked() ? u"+ "_s : u"  "_s) + action->text());
        }
        return entries;
    }

    // The buttons that shuffle, in the screens' order.
    static QList<QPushButton *> shuffleButtons()
    {
        QList<QPushButton *> buttons;
        for (QPushButton *button : grid().findChildren<QPushButton *>()) {
            if (button->isVisible() && !qobject_cast<ProductMenuButton *>(button))
                buttons << button;
        }
        return buttons;
    }

    static QStringList names()
    {
        QStringList names;
        for (const QLabel *label : grid().findChildren<QLabel *>()) {
            if (label->isVisible())
                names << label->text() + u" = "_s + label->toolTip();
        }
        return names;
    }
};

TEST_F(ScreensTest, EachScreenHasItsRow)
{
    open();
    EXPECT_EQ(names(), (QStringList{u"Left = Screen 1"_s, u"Right = Screen 2"_s}));
    EXPECT_EQ(title(0), u"All products (cycle)"_s);
    EXPECT_EQ(title(1), u"Off"_s) << "a screen that is off stays off";
    ASSERT_EQ(shuffleButtons().size(), 2);
    EXPECT_EQ(shuffleButtons()[0]->toolTip(),
              u"Shuffle the running order for this screen. The ticked products do not change."_s);
    EXPECT_EQ(shuffleButtons()[0]->accessibleName(), u"Randomize the running order"_s);
}

TEST_F(ScreensTest, TheMenuOffersAllProductsAndTheTwoOtherChoices)
{
    Settings::setProducts({u"dem,171"_s});
    open();
    EXPECT_EQ(menuOf(0),
              (QStringList{u"+ Temperature map (DEM)"_s, u"+ AIA 171 Å"_s,
                           u"  Rainbow (RHEF composite)"_s, u"  AIA 193 Å"_s, u"  AIA 211 Å"_s,
                           u"  AIA 304 Å"_s, u"  AIA 335 Å"_s, u"  AIA 94 Å"_s, u"  AIA 131 Å"_s,
                           u"  AIA 1600 Å (UV)"_s, u"  AIA 1700 Å (UV)"_s,
                           u"  Composite (1700/1600/304)"_s, u"-"_s, u"  All products (cycle)"_s,
                           u"  Off: leave this screen alone"_s}));
}

TEST_F(ScreensTest, AllAndOffAreTickedWhenChosen)
{
    open();
    EXPECT_EQ(menuOf(0).mid(13),
              (QStringList{u"+ All products (cycle)"_s, u"  Off: leave this screen alone"_s}));
    EXPECT_EQ(menuOf(1).mid(13),
              (QStringList{u"  All products (cycle)"_s, u"+ Off: leave this screen alone"_s}));
}

TEST_F(ScreensTest, TickingOnAScreenThatIsOffTurnsItOn)
{
    open();
    pick(1, u"AIA 193 Å"_s);
    EXPECT_EQ(title(1), u"AIA 193 Å"_s);
    EXPECT_EQ(Settings::products(), (QStringList{QString(), u"193"_s}));
    EXPECT_TRUE(Settings::configured());
}

TEST_F(ScreensTest, TheOrderOfTickingIsThePlayOrder)
{
    open();
    pick(0, u"AIA 171 Å"_s);
    pick(0, u"AIA 304 Å"_s);
    EXPECT_EQ(title(0), u"AIA 171 Å, AIA 304 Å"_s);
    pick(0, u"AIA 193 Å"_s);
    EXPECT_EQ(title(0), u"3 products"_s);
    EXPECT_EQ(Settings::products()[0], u"171,304,193"_s);
    EXPECT_EQ(menuOf(0).first(3),
              (QStringList{u"+ AIA 171 Å"_s, u"+ AIA 304 Å"_s, u"+ AIA 193 Å"_s}));
    pick(0, u"AIA 304 Å"_s);
    EXPECT_EQ(title(0), u"AIA 171 Å, AIA 193 Å"_s);
    EXPECT_EQ(Settings::products()[0], u"171,193"_s);
}

TEST_F(ScreensTest, AllAndOffReplaceEveryTick)
{
    Settings::setProducts({u"171,193"_s, u"304"_s});
    open();
    pick(0, u"All products (cycle)"_s);
    EXPECT_EQ(Settings::products(), (QStringList{QString(), u"304"_s}));
    pick(0, u"Off: leave this screen alone"_s);
    EXPECT_EQ(Settings::products(), (QStringList{u"off"_s, u"304"_s}));
    EXPECT_EQ(title(0), u"Off"_s);
}

TEST_F(ScreensTest, MenusWorkByTheKeyboardAlone)
{
    open();
    bool done = false;
    popup(0).setFocus();
    QTimer waiting;
    QObject::connect(&waiting, &QTimer::timeout, &waiting, [&] {
        QWidget *const menu = QApplication::activePopupWidget();
        if (done || !menu)
            return;
        done = true;
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Return);
    });
    waiting.start(0);
    QTest::keyClick(&popup(0), Qt::Key_Space);
    EXPECT_TRUE(test::becomes([] { return Settings::products()[0] == u"171"_s; }));
    EXPECT_THAT(m_walls.calls, testing::Not(testing::Contains(u"show"_s)));
}

TEST_F(ScreensTest, RandomizingTwoSwapsThemAndKeepsOneAndNone)
{
    Settings::setProducts({u"171,304"_s, u"off"_s});
    open();
    click(*shuffleButtons()[0]);
    EXPECT_EQ(Settings::products(), (QStringList{u"304,171"_s, u"off"_s}));
    EXPECT_EQ(title(0), u"AIA 304 Å, AIA 171 Å"_s);
    click(*shuffleButtons()[1]);
    EXPECT_EQ(Settings::products()[1], u"off"_s);
    pick(1, u"AIA 193 Å"_s);
    click(*shuffleButtons()[1]);
    EXPECT_EQ(Settings::products()[1], u"193"_s);
}

TEST_F(ScreensTest, RandomizingManyKeepsTheTicksAndChangesTheirOrder)
{
    Settings::setProducts({u"rainbow,171,193,211,304,335,94,131"_s});
    open();
    // That eight stay in their order by chance happens once in forty thousand times; three in a
    // row, never.
    bool changed = false;
    for (int i = 0; i < 3 && !changed; ++i) {
        click(*shuffleButtons()[0]);
        changed = Settings::products()[0] != u"rainbow,171,193,211,304,335,94,131"_s;
    }
    EXPECT_TRUE(changed);
    EXPECT_THAT(Settings::productList(0),
                UnorderedElementsAre(u"rainbow"_s, u"171"_s, u"193"_s, u"211"_s, u"304"_s, u"335"_s,
                                     u"94"_s, u"131"_s));
}

TEST_F(ScreensTest, ScreensThatComeAndGoHaveTheirRows)
{
    open();
    const int two = grid().height();
    test::setOffscreenScreens({test::kLeft, test::kRight, {u"Third"_s, {2280, 0, 800, 700}}});
    EXPECT_TRUE(test::becomes([] { return names().size() == 3; }));
    EXPECT_EQ(names()[2], u"Third = Screen 3"_s);
    EXPECT_EQ(title(2), u"All products (cycle)"_s) << "the lists wrap round";
    const int three = grid().height();
    EXPECT_GT(three, two);
    test::setOffscreenScreens({test::kRight});
    EXPECT_TRUE(test::becomes([] { return names().size() == 1; }));
    EXPECT_EQ(names()[0], u"Right = Screen 1"_s);
    EXPECT_LT(grid().height(), three);
    pick(0, u"AIA 193 Å"_s);
    EXPECT_EQ(Settings::products(), QStringList{u"193"_s});
}

TEST_F(ScreensTest, AScreenThatGoesWhileItsMenuIsOpenClosesTheMenu)
{
    open();
    QPointer<QMenu> menu;
    withMenu(1, [&menu] {
        menu = popup(1).menu();
        test::setOffscreenScreens({test::kLeft});
    });
    EXPECT_TRUE(test::becomes([] { return grid().screenPopups().size() == 1; }));
    EXPECT_FALSE(QApplication::activePopupWidget());
    EXPECT_TRUE(test::becomes([&menu] { return !menu; }));
    pick(0, u"AIA 171 Å"_s);
    EXPECT_EQ(Settings::products(), QStringList{u"171"_s});
}

TEST_F(ScreensTest, AScreenThatComesWhileAMenuIsOpenIsThereWhenItHasClosed)
{
    open();
    withMenu(0, [] {
        test::setOffscreenScreens({test::kLeft, test::kRight, {u"Third"_s, {2280, 0, 800, 700}}});
    });
    EXPECT_TRUE(test::becomes([] { return grid().screenPopups().size() == 3; }));
    EXPECT_FALSE(QApplication::activePopupWidget());
}

TEST_F(ScreensTest, WithoutAnyScreenTheChoicesStay)
{
    Settings::setProducts({u"171"_s, u"off"_s});
    open();
    test::setOffscreenScreens({{QString(), {}}});
    EXPECT_TRUE(test::becomes([] { return grid().screenPopups().isEmpty(); }));
    click("shuffleBox");
    EXPECT_EQ(Settings::products(), (QStringList{u"171"_s, u"off"_s}));
}

} // namespace
} // namespace corvella

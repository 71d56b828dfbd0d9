// Where things stand in the settings window, in what order, and that nothing is cut.
#include "Preferences/PreferencesFixture.h"

#include "Preferences/CardView.h"
#include "Preferences/GroundView.h"
#include "Preferences/Note.h"

#include <QAccessible>
#include <QScrollArea>
#include <QScrollBar>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::IsEmpty;

class LayoutTest : public test::PreferencesFixture
{
protected:
    void SetUp() override
    {
        PreferencesFixture::SetUp();
        Settings::setMode(Mode::saver);
    }
    void TearDown() override
    {
        QApplication::setFont(m_font);
        PreferencesFixture::TearDown();
    }

    static void openInFont(const QFont &font)
    {
        QApplication::setFont(font);
        open();
        EXPECT_TRUE(statusBecomes(u"Nothing downloaded yet"_s));
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }

    static QRect inWindow(const QWidget &widget)
    {
        return {widget.mapTo(&window(), QPoint(0, 0)), widget.size()};
    }
    static QRect inWindow(const char *name) { return inWindow(control(name)); }

    static QList<CardView *> cards()
    {
        QList<CardView *> cards;
        for (CardView *card : window().findChildren<CardView *>()) {
            if (card->isVisible())
                cards << card;
        }
        return cards;
    }
    static CardView &card(const QString &name)
    {
        for (CardView *card : cards()) {
            if (card->accessibleName() == name)
                return *card;
        }
        qFatal("no such card");
    }

    // What is smaller than it needs to be, or sticks out of what holds it.
    static QStringList cut()
    {
        QStringList cut;
        for (const QWidget *widget : window().findChildren<QWidget *>()) {
            const bool counts = widget->isVisible() && !widget->isWindow()
                && !qobject_cast<const QScrollBar *>(widget)
                && widget->parentWidget()->objectName() != u"qt_scrollarea_viewport"_s
                && (qobject_cast<const QLabel *>(widget)
                    || qobject_cast<const QAbstractButton *>(widget)
                    || qobject_cast<const QComboBox *>(widget)
                    || qobject_cast<const QLineEdit *>(widget) || widget->layout());
            if (!counts)
                continue;
            QSize needed = widget->sizeHint();
            if (widget->hasHeightForWidth())
                needed.setHeight(widget->heightForWidth(widget->width()));
            const bool isWhole = widget->width() >= needed.width()
                && widget->height() >= needed.height()
                && widget->parentWidget()->rect().contains(widget->geometry());
            if (!isWhole)
                cut << QString::fromLatin1(widget->metaObject()->className()) + u' '
                        + widget->objectName();
        }
        return cut;
    }

    const QFont m_font = QApplication::font();
};

// Notes what comes up as a window of its own.
class ShownWindows : public QObject
{
public:
    ShownWindows() { qApp->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType()
            && static_cast<QWidget *>(watched)->isWindow())
            names << QString::fromLatin1(watched->metaObject()->className());
        return false;
    }

    QStringList names;
};

TEST_F(LayoutTest, NothingElseComesUpWithTheWindow)
{
    const ShownWindows shown;
    openInFont(m_font);
    EXPECT_EQ(shown.names, QStringList{u"corvella::PreferencesWindow"_s});
}

TEST_F(LayoutTest, ColumnsInsetsAndGapsAreAsDrawn)
{
    openInFont(m_font);
    const QRect mode = inWindow(card(u"Mode"_s));
    const QRect screens = inWindow(card(u"Screens"_s));
    const QRect playback = inWindow(card(u"Playback"_s));
    const QRect general = inWindow(card(u"General"_s));
    EXPECT_EQ(mode.topLeft(), QPoint(24, 20));
    EXPECT_EQ(mode.width(), 400 + 28 + 340);
    EXPECT_EQ(screens.left(), 24);
    EXPECT_EQ(screens.width(), 400);
    EXPECT_EQ(general.left(), 24 + 400 + 28);
    EXPECT_EQ(general.width(), 340);
    EXPECT_EQ(screens.top(), mode.bottom() + 1 + 18);
    EXPECT_EQ(general.top(), screens.top());
    EXPECT_EQ(playback.top(), screens.bottom() + 1 + 14);
    EXPECT_EQ(window().width(), 24 + 400 + 28 + 340 + 24);
    EXPECT_EQ(window().height(), inWindow("startButton").bottom() + 1 + 20);
    EXPECT_EQ(inWindow("startButton").right() + 1, window().width() - 24);
    EXPECT_EQ(inWindow("armButton").right() + 1 + 6, inWindow("startButton").left());
    EXPECT_EQ(inWindow("quitButton").left(), 24);
    EXPECT_EQ(inWindow("versionLabel").left(), inWindow("quitButton").right() + 1 + 6);
    // The lowest card's end to the bar.
    EXPECT_EQ(inWindow("startButton").top(),
              inWindow(card(u"System screen saver"_s)).bottom() + 1 + 18);
}

TEST_F(LayoutTest, CardsHoldTheirControlsInsideTheirInsets)
{
    openInFont(m_font);
    const QRect mode = inWindow(card(u"Mode"_s));
    const QLabel *const title = card(u"Mode"_s).findChild<QLabel *>();
    EXPECT_EQ(title->text(), u"Mode"_s);
    EXPECT_TRUE(title->font().bold());
    EXPECT_EQ(inWindow(*title).topLeft(), mode.topLeft() + QPoint(14, 12));
    EXPECT_EQ(inWindow("mode").topLeft(),
              QPoint(mode.left() + 14, inWindow(*title).bottom() + 1 + 6));
    EXPECT_EQ(inWindow("modeHelp").bottom() + 1 + 12, mode.bottom() + 1);
}

TEST_F(LayoutTest, WidthsAreAsWritten)
{
    Settings::setProducts({QString(), u"171,304"_s});
    openInFont(m_font);
    EXPECT_EQ(control("idleField").width(), 44);
    EXPECT_EQ(control("loopsField").width(), 44);
    for (const char *field : {"idleField", "loopsField"})
        EXPECT_TRUE(control<QLineEdit>(field).alignment().testFlag(Qt::AlignRight)) << field;
    EXPECT_EQ(popup(0).width(), 168);
    EXPECT_EQ(popup(1).width(), 168);
    EXPECT_EQ(popup(1).x(), popup(0).x());
    EXPECT_EQ(popup(1).y(), popup(0).geometry().bottom() + 1 + 6);
    EXPECT_LE(control("modeHelp").sizeHint().width(), 700);
    // A long number makes room for itself.
    type("idleField", u"1234567"_s);
    QCoreApplication::sendPostedEvents();
    EXPECT_GE(control("idleField").width(), QFontMetrics(m_font).horizontalAdvance(u"1234567"_s));
}

TEST_F(LayoutTest, CardsStandInTheirOrder)
{
    openInFont(m_font);
    QStringList names;
    for (const CardView *card : cards())
        names << card->accessibleName();
    EXPECT_EQ(names,
              (QStringList{u"Mode"_s, u"Screens"_s, u"Playback"_s, u"Desktop picture"_s,
                           u"General"_s, u"Starting"_s, u"Imagery"_s, u"System screen saver"_s}));
    EXPECT_LT(inWindow(card(u"Playback"_s)).top(), inWindow(card(u"Desktop picture"_s)).top());
    EXPECT_LT(inWindow(card(u"General"_s)).top(), inWindow(card(u"Starting"_s)).top());
    EXPECT_LT(inWindow(card(u"Starting"_s)).top(), inWindow(card(u"Imagery"_s)).top());
    EXPECT_LT(inWindow(card(u"Imagery"_s)).top(), inWindow(card(u"System screen saver"_s)).top());
}

TEST_F(LayoutTest, NotesSayWhatTheySay)
{
    openInFont(m_font);
    EXPECT_EQ(text("screensHint"),
              u"Tick the products each screen shows, in play order. Nothing ticked means all of "
              "them; Off leaves that screen alone."_s);
    EXPECT_EQ(text("desktopNote"),
              u"Rotates through each screen's ticked products, one step per update. Your previous "
              "picture comes back when this is off."_s);
    EXPECT_EQ(text("installNote"),
              u"Adds Corvella to the screen savers in System Settings. One screen only on recent "
              "macOS; Screen Saver mode here covers them all."_s);
    EXPECT_EQ(text("lockBox"), u"Lock the Mac when dismissed"_s);
    EXPECT_EQ(text("loginBox"), u"Open Corvella at login"_s);
    EXPECT_EQ(text("onlineRadio"), u"Keep imagery updated"_s);
    EXPECT_EQ(text("offlineRadio"), u"Offline: never use the network"_s);
    EXPECT_EQ(text("primeButton"), u"Download all imagery now"_s);
    EXPECT_EQ(text("shuffleBox"), u"Play products in random order"_s);
    EXPECT_EQ(text("desktopBox"), u"Set the desktop picture to the latest still"_s);
    EXPECT_EQ(text("desktopNow"), u"Update now"_s);
    EXPECT_EQ(text("armButton"), u"Arm"_s);
    EXPECT_EQ(text("quitButton"), u"Turn Off and Quit"_s);
    EXPECT_EQ(text("installButton"), u"Add to System Settings…"_s);
    EXPECT_EQ(control("quitButton").toolTip(),
              u"Put the desktop picture back, stop opening at login, and quit."_s);
    QStringList captions;
    for (const QLabel *label : window().findChildren<QLabel *>())
        captions << label->text();
    for (const QString &caption : {u"Start after"_s, u"minutes without input"_s,
                                   u"Loops per clip"_s, u"Transition between clips"_s})
        EXPECT_TRUE(captions.contains(caption)) << caption.toStdString();
}

class EveryFont : public LayoutTest, public testing::WithParamInterface<std::pair<int, double>>
{
};

TEST_P(EveryFont, NothingIsCut)
{
    QFont font = m_font;
    font.setStretch(GetParam().first);
    font.setPointSizeF(font.pointSizeF() * GetParam().second);
    Settings::setProducts({u"rainbow"_s, u"composite_uv"_s});
    for (const Mode mode : kModeSegments) {
        Settings::setMode(mode);
        openInFont(font);
        EXPECT_THAT(cut(), IsEmpty()) << rawValue(mode).toStdString();
        for (const QScrollBar *bar : window().findChildren<QScrollBar *>())
            EXPECT_FALSE(bar->isVisible()) << "there is room for all of it";
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, EveryFont,
                         testing::Values(std::pair{100, 1.0}, std::pair{140, 1.0},
                                         std::pair{70, 1.0}, std::pair{100, 1.3}));

TEST_F(LayoutTest, ALongPairOfProductsEndsInAnEllipsisAndLeavesTheWindowAsItIs)
{
    Settings::setProducts({u"171"_s, u"171"_s});
    openInFont(m_font);
    const QSize before = window().size();
    pick(0, u"Composite (1700/1600/304)"_s);
    pick(0, u"Temperature map (DEM)"_s);
    pick(0, u"AIA 171 Å"_s);
    EXPECT_EQ(title(0), u"Composite (1700/1600/304), Temperature map (DEM)"_s);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(window().size(), before);
}

TEST_F(LayoutTest, ALongNameOfAScreenEndsInAnEllipsisAndLeavesTheWindowAsItIs)
{
    test::setOffscreenScreens(
        {{u"A display whose name nobody would want to read to its end"_s, {0, 0, 1280, 1000}}});
    Settings::setProducts({u"composite_uv"_s}); // the longest of the titles beside it
    openInFont(m_font);
    EXPECT_EQ(window().width(), 24 + 400 + 28 + 340 + 24);
    EXPECT_THAT(cut(), IsEmpty());
    const QLabel *const name = grid().findChild<QLabel *>();
    EXPECT_LT(name->width(), QFontMetrics(m_font).horizontalAdvance(name->text()));
}

// Displays of one model differ at the end of their names.
TEST_F(LayoutTest, ALongerNameOfAScreenTakesTheRoomThatIsLeft)
{
    const QString name = u"DELL U2720Q (DP-1-10)"_s;
    test::setOffscreenScreens({{name, {0, 0, 1280, 1000}}, {u"L"_s, {1280, 0, 800, 600}}});
    Settings::setProducts({u"171"_s, u"171"_s});
    openInFont(m_font);
    EXPECT_EQ(window().width(), 24 + 400 + 28 + 340 + 24);
    const QLabel *const label = grid().findChild<QLabel *>();
    const int whole = QFontMetrics(m_font).horizontalAdvance(name);
    EXPECT_GE(label->width(), whole);
    EXPECT_LE(label->width(), whole + 4) << "and no more, or its menu would stand apart";
}

TEST_F(LayoutTest, SomeNotesAreInSmallerLetters)
{
    openInFont(m_font);
    for (const char *name : {"lockNote", "presetNote", "armNote", "versionLabel"})
        EXPECT_EQ(QFontInfo(control(name).font()).pixelSize(), 11) << name;
    for (const char *name :
         {"modeHelp", "screensHint", "desktopNote", "cacheStatus", "installNote"})
        EXPECT_EQ(control(name).font(), m_font) << name;
}

TEST_F(LayoutTest, AScreenTooSmallForTheWindowScrollsIt)
{
    test::setOffscreenScreens({{u"Small"_s, {0, 0, 640, 480}}});
    openInFont(m_font);
    EXPECT_LE(window().width(), 640);
    EXPECT_LE(window().height(), 480);
    EXPECT_THAT(cut(), IsEmpty());
    EXPECT_EQ(window().findChild<QScrollArea *>()->verticalScrollBar()->value(), 0);
    EXPECT_TRUE(window().rect().contains(inWindow("startButton"))) << "its foot stays";
    EXPECT_TRUE(window().rect().contains(inWindow("quitButton").topLeft()));
}

TEST_F(LayoutTest, ALargeFontOnASmallScreenCutsNothingEither)
{
    test::setOffscreenScreens({{u"Small"_s, {0, 0, 900, 700}}});
    QFont font = m_font;
    font.setPointSizeF(font.pointSizeF() * 1.5);
    openInFont(font);
    EXPECT_EQ(window().width(), 900 - 16); // less a frame's: it does not fit
    EXPECT_THAT(cut(), IsEmpty());
}

TEST_F(LayoutTest, TheControlThatHasTheKeysIsInSight)
{
    test::setOffscreenScreens({{u"Small"_s, {0, 0, 1000, 480}}});
    openInFont(m_font);
    const QWidget &first = *modeControl().segment(1);
    control("primeButton").setFocus();
    const QRect seen = inWindow(*window().findChild<QScrollArea *>()->viewport());
    EXPECT_TRUE(seen.contains(inWindow("primeButton")));
    EXPECT_FALSE(seen.contains(inWindow(first)));
    control("startButton").setFocus();
    QTest::keyClick(&control("startButton"), Qt::Key_Tab); // round to the first
    EXPECT_EQ(window().focusWidget(), &first);
    EXPECT_TRUE(seen.contains(inWindow(first)));
}

TEST_F(LayoutTest, StandsInTheMiddleEachTimeItIsAskedFor)
{
    openInFont(m_font);
    window().move(3, 4);
    open();
    const QPoint middle = window().frameGeometry().center();
    EXPECT_NEAR(middle.x(), 640, 2);
    EXPECT_NEAR(middle.y(), 500, 2);
}

TEST_F(LayoutTest, TheWindowIsTitledClosableAndMinimisableAndKeepsItsSize)
{
    openInFont(m_font);
    EXPECT_EQ(window().windowTitle(), u"Corvella"_s);
    const Qt::WindowFlags flags = window().windowFlags();
    EXPECT_TRUE(flags & Qt::WindowTitleHint);
    EXPECT_TRUE(flags & Qt::WindowCloseButtonHint);
    EXPECT_TRUE(flags & Qt::WindowMinimizeButtonHint);
    EXPECT_FALSE(flags & Qt::WindowMaximizeButtonHint);
    EXPECT_EQ(window().minimumSize(), window().maximumSize());
    const QPoint middle = window().geometry().center();
    EXPECT_NEAR(middle.x(), 640, 2);
    EXPECT_NEAR(middle.y(), 500, 2);
}

TEST_F(LayoutTest, TabGoesAsTheEyeReads)
{
    Settings::setDesktop(true);
    openInFont(m_font);
    QStringList order;
    for (int i = 0; i < 40; ++i) {
        QTest::keyClick(&window(), Qt::Key_Tab);
        QWidget *const focused = window().focusWidget();
        QString name = focused->objectName();
        if (focused->parentWidget() == &modeControl())
            name = u"mode"_s;
        else if (focused->parentWidget() == &grid())
            name = focused->accessibleName();
        if (order.contains(name) && name == order.first())
            break;
        order << name;
    }
    const QString shuffle = u"Randomize the running order"_s;
    EXPECT_EQ(order,
              (QStringList{u"mode"_s,
                           u"Left: Rainbow (RHEF composite)"_s,
                           shuffle,
                           u"Right: AIA 171 Å"_s,
                           shuffle,
                           u"shuffleBox"_s,
                           u"loopsField"_s,
                           u"loopsStepper"_s,
                           u"transitionPopup"_s,
                           u"desktopBox"_s,
                           u"desktopNow"_s,
                           u"loginBox"_s,
                           u"attributionBox"_s,
                           u"idleField"_s,
                           u"idleStepper"_s,
                           u"lockBox"_s,
                           u"refreshPopup"_s,
                           u"offlineRadio"_s,
                           u"primeButton"_s,
                           u"installButton"_s,
                           u"quitButton"_s,
                           u"armButton"_s,
                           u"startButton"_s}));
}

TEST_F(LayoutTest, EveryControlHasANameAndARole)
{
    openInFont(m_font);
    int controls = 0;
    for (QWidget *widget : window().findChildren<QWidget *>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus
            || qobject_cast<GroundView *>(widget))
            continue;
        ++controls;
        const QAccessibleInterface *const told = QAccessible::queryAccessibleInterface(widget);
        ASSERT_TRUE(told);
        EXPECT_NE(told->text(QAccessible::Name), QString()) << widget->metaObject()->className();
        EXPECT_NE(told->role(), QAccessible::Client) << widget->metaObject()->className();
        EXPECT_NE(told->role(), QAccessible::NoRole) << widget->metaObject()->className();
    }
    EXPECT_EQ(controls, 27); // as many as there are in a window of two screens
    const auto roleOf = [](const char *name) {
        return QAccessible::queryAccessibleInterface(&control(name))->role();
    };
    EXPECT_EQ(roleOf("mode"), QAccessible::Grouping);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(modeControl().segment(0))->role(),
              QAccessible::RadioButton);
    EXPECT_EQ(roleOf("idleField"), QAccessible::EditableText);
    EXPECT_EQ(roleOf("idleStepper"), QAccessible::SpinBox);
    EXPECT_EQ(roleOf("lockBox"), QAccessible::CheckBox);
    EXPECT_EQ(roleOf("onlineRadio"), QAccessible::RadioButton);
    EXPECT_EQ(roleOf("refreshPopup"), QAccessible::ComboBox);
    EXPECT_EQ(roleOf("busy"), QAccessible::ProgressBar);
    EXPECT_EQ(roleOf("armNote"), QAccessible::StaticText);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&popup(0))->role(), QAccessible::ButtonMenu);
}

} // namespace
} // namespace corvella

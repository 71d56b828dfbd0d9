// What each control shows of the settings, and what it writes into them.
#include "Preferences/PreferencesFixture.h"

#include "Preferences/Stepper.h"
#include "support/Replacements.h"

#include <QWheelEvent>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;

class ControlsTest : public test::PreferencesFixture
{
protected:
    void SetUp() override
    {
        PreferencesFixture::SetUp();
        Settings::setMode(Mode::saver); // where everything can be changed
    }
};

TEST_F(ControlsTest, ShowsWhatIsStored)
{
    Settings::setIdleMinutes(20.5);
    Settings::setLockOnDismiss(false);
    Settings::setOpenAtLogin(true);
    Settings::setStoreHost(u"sun & moon.example"_s);
    Settings::setAttribution(true);
    Settings::setOffline(false);
    Settings::setRefreshMinutes(720);
    Settings::setShuffle(true);
    Settings::setTransition(Transition::circle);
    Settings::setDesktop(true);
    Settings::setLoops(3);
    open();
    EXPECT_EQ(modeControl().selected(), 1);
    EXPECT_EQ(text("idleField"), u"20"_s);
    EXPECT_EQ(control<Stepper>("idleStepper").value(), 20);
    EXPECT_FALSE(isTicked("lockBox"));
    EXPECT_TRUE(isTicked("loginBox"));
    EXPECT_EQ(text("attributionBox"), u"Show sun && moon.example on screen"_s);
    EXPECT_TRUE(isTicked("attributionBox"));
    EXPECT_TRUE(isTicked("onlineRadio"));
    EXPECT_FALSE(isTicked("offlineRadio"));
    EXPECT_EQ(control<QComboBox>("refreshPopup").currentText(), u"twice a day"_s);
    EXPECT_TRUE(isTicked("shuffleBox"));
    EXPECT_EQ(control<QComboBox>("transitionPopup").currentText(), label(Transition::circle));
    EXPECT_TRUE(isTicked("desktopBox"));
    EXPECT_EQ(text("loopsField"), u"3"_s);
    EXPECT_EQ(control<Stepper>("loopsStepper").value(), 3);
    EXPECT_EQ(text("versionLabel"), u"Version 1.0.0 (1)"_s);
}

TEST_F(ControlsTest, ShowsTheDefaultsOfAFreshInstallation)
{
    open();
    EXPECT_EQ(text("idleField"), u"5"_s);
    EXPECT_TRUE(isTicked("lockBox"));
    EXPECT_FALSE(isTicked("loginBox"));
    EXPECT_EQ(text("attributionBox"), u"Show corvella.example on screen"_s);
    EXPECT_FALSE(isTicked("attributionBox"));
    EXPECT_TRUE(isTicked("offlineRadio"));
    EXPECT_EQ(control<QComboBox>("refreshPopup").currentText(), u"once a day"_s);
    EXPECT_EQ(control<QComboBox>("transitionPopup").currentText(), label(Transition::black));
    EXPECT_EQ(text("loopsField"), u"1"_s);
    EXPECT_FALSE(Settings::configured()) << "looking changes nothing";
}

TEST_F(ControlsTest, ReadsTheSettingsAgainEachTimeItIsShown)
{
    open();
    preferences().hide();
    Settings::setLoops(7);
    open();
    EXPECT_EQ(text("loopsField"), u"7"_s);
    EXPECT_EQ(m_walls.calls, (QStringList{u"disarm"_s, u"disarm"_s}));
}

TEST_F(ControlsTest, BoxesWriteTheirSettings)
{
    open();
    click("lockBox");
    EXPECT_FALSE(Settings::lockOnDismiss());
    EXPECT_TRUE(Settings::configured());
    click("attributionBox");
    EXPECT_TRUE(Settings::attribution());
    click("shuffleBox");
    EXPECT_TRUE(Settings::shuffle());
    control("shuffleBox").setFocus();
    QTest::keyClick(&control("shuffleBox"), Qt::Key_Space);
    EXPECT_FALSE(Settings::shuffle());
}

TEST_F(ControlsTest, TheDiskIsWaitedForOnceForEachThingThatTheUserDoes)
{
    open();
    test::Replacements replacements(Settings::d().filePath());
    click("shuffleBox"); // the first of all saves everything
    EXPECT_TRUE(Settings::configured());
    EXPECT_EQ(replacements.count(), 1);
    click("onlineRadio");
    EXPECT_EQ(replacements.count(), 2);
    type("idleField", u"9"_s);
    EXPECT_EQ(replacements.count(), 3);
}

TEST_F(ControlsTest, OpeningAtLoginIsRegisteredAtOnce)
{
    open();
    click("loginBox");
    EXPECT_TRUE(Settings::openAtLogin());
    click("loginBox");
    EXPECT_FALSE(Settings::openAtLogin());
    EXPECT_FALSE(Settings::configured());
}

TEST_F(ControlsTest, ALoginItemThatIsRefusedIsShownAsItIs)
{
    open();
    // A file where the folder of login items would be.
    const QString folder = m_home.config(u"autostart"_s);
    QDir(folder).removeRecursively();
    m_home.write(folder, "");
    click("loginBox");
    EXPECT_FALSE(isTicked("loginBox"));
    QFile::remove(folder);
}

TEST_F(ControlsTest, TheNetworkRadiosExcludeEachOther)
{
    open();
    click("onlineRadio");
    EXPECT_FALSE(Settings::offline());
    EXPECT_FALSE(isTicked("offlineRadio"));
    EXPECT_TRUE(Settings::configured());
    click("offlineRadio");
    EXPECT_TRUE(Settings::offline());
    EXPECT_FALSE(isTicked("onlineRadio"));
}

TEST_F(ControlsTest, PopupsWriteWhatIsChosenInThem)
{
    open();
    choose("transitionPopup", label(Transition::wipe));
    EXPECT_EQ(Settings::transition(), Transition::wipe);
    choose("refreshPopup", u"twice a day"_s);
    EXPECT_EQ(Settings::refreshMinutes(), 720);
    control("refreshPopup").setFocus();
    QTest::keyClick(&control("refreshPopup"), Qt::Key_Up);
    EXPECT_EQ(Settings::refreshMinutes(), 1440);
}

TEST_F(ControlsTest, TransitionsAreListedAsInTheCatalogue)
{
    open();
    const auto &popup = control<QComboBox>("transitionPopup");
    QStringList titles;
    for (int i = 0; i < popup.count(); ++i)
        titles << popup.itemText(i);
    QStringList expected;
    for (const Transition transition : kAllTransitions)
        expected << label(transition);
    EXPECT_EQ(titles, expected);
}

TEST_F(ControlsTest, AnyOtherCadenceThanTwiceADayIsOnceADay)
{
    Settings::d().setNumber(u"refreshMinutes"_s, 60);
    open();
    EXPECT_EQ(control<QComboBox>("refreshPopup").currentText(), u"once a day"_s);
}

struct Typed
{
    const char *text;
    double minutes;
    const char *shown;
    int stepper;
};

TEST_F(ControlsTest, TypedMinutesAreTaken)
{
    open();
    for (const Typed &typed :
         {Typed{"20", 20, "20", 20}, Typed{"abc", 5, "5", 5}, Typed{"0", 1, "1", 1},
          Typed{"500", 500, "500", 120}, Typed{"7.5", 7.5, "7.5", 7}, Typed{"-2", 1, "1", 1}}) {
        type("idleField", QString::fromLatin1(typed.text));
        EXPECT_EQ(Settings::idleMinutes(), typed.minutes) << typed.text;
        EXPECT_EQ(text("idleField"), QString::fromLatin1(typed.shown)) << typed.text;
        EXPECT_EQ(control<Stepper>("idleStepper").value(), typed.stepper) << typed.text;
    }
}

TEST_F(ControlsTest, TypedLoopsAreTaken)
{
    open();
    for (const Typed &typed : {Typed{"3", 3, "3", 3}, Typed{"abc", 1, "1", 1},
                               Typed{"0", 1, "1", 1}, Typed{"50", 50, "50", 20}}) {
        type("loopsField", QString::fromLatin1(typed.text));
        EXPECT_EQ(Settings::loops(), typed.minutes) << typed.text;
        EXPECT_EQ(text("loopsField"), QString::fromLatin1(typed.shown)) << typed.text;
        EXPECT_EQ(control<Stepper>("loopsStepper").value(), typed.stepper) << typed.text;
    }
}

TEST_F(ControlsTest, ReturnInAFieldTakesTheNumberAndStartsNothing)
{
    open();
    type("idleField", u"9"_s);
    EXPECT_EQ(m_walls.calls, QStringList{u"disarm"_s});
}

TEST_F(ControlsTest, WhatIsHalfTypedCountsWhenTheUserTurnsAway)
{
    open();
    typeOnly("idleField", u"9"_s);
    EXPECT_EQ(Settings::idleMinutes(), 5);
    QTest::keyClick(&control("idleField"), Qt::Key_Tab);
    EXPECT_EQ(Settings::idleMinutes(), 9);
    typeOnly("loopsField", u"4"_s);
    window().close();
    EXPECT_EQ(Settings::loops(), 4);
    open();
    typeOnly("loopsField", u"6"_s);
    QTest::mouseClick(window().findChild<QWidget *>(u"armNote"_s)->parentWidget(), Qt::LeftButton);
    EXPECT_EQ(Settings::loops(), 6) << "a click beside all controls";
}

TEST_F(ControlsTest, PassingAFieldChangesNothing)
{
    open();
    click("idleField");
    QTest::keyClick(&control("idleField"), Qt::Key_Tab);
    EXPECT_FALSE(Settings::configured());
}

TEST_F(ControlsTest, SteppersCountInTheirFields)
{
    open();
    auto &idle = control<Stepper>("idleStepper");
    QTest::mouseClick(&idle, Qt::LeftButton, {}, {idle.width() / 2, idle.height() / 4});
    EXPECT_EQ(text("idleField"), u"6"_s);
    EXPECT_EQ(Settings::idleMinutes(), 6);
    QTest::mouseClick(&idle, Qt::LeftButton, {}, {idle.width() / 2, idle.height() * 3 / 4});
    QTest::keyClick(&idle, Qt::Key_Down);
    EXPECT_EQ(Settings::idleMinutes(), 4);
    EXPECT_EQ(text("idleField"), u"4"_s);
    auto &loops = control<Stepper>("loopsStepper");
    QTest::keyClick(&loops, Qt::Key_Down); // is at its end
    EXPECT_EQ(Settings::loops(), 1);
    QTest::keyClick(&loops, Qt::Key_Up);
    EXPECT_EQ(Settings::loops(), 2);
    EXPECT_EQ(text("loopsField"), u"2"_s);
}

TEST_F(ControlsTest, TheWheelChangesNothingInPassing)
{
    open();
    for (const char *name : {"transitionPopup", "refreshPopup", "idleStepper", "loopsStepper"}) {
        QWidget &passed = control(name);
        const QPointF middle = QRectF(passed.rect()).center();
        QWheelEvent turn(middle, passed.mapToGlobal(middle), {}, {0, 120}, Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&passed, &turn);
    }
    EXPECT_FALSE(Settings::configured());
    EXPECT_EQ(text("idleField"), u"5"_s);
}

TEST_F(ControlsTest, SteppersStopWhereTypingDoesNot)
{
    Settings::setIdleMinutes(119);
    Settings::setLoops(19);
    open();
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(&control("idleStepper"), Qt::Key_Up);
        QTest::keyClick(&control("loopsStepper"), Qt::Key_Up);
    }
    EXPECT_EQ(Settings::idleMinutes(), 120);
    EXPECT_EQ(Settings::loops(), 20);
    QTest::keyClicks(&control("idleStepper"), u"77"_s);
    EXPECT_EQ(control<Stepper>("idleStepper").value(), 120) << "digits are for the field";
}

TEST_F(ControlsTest, TheArmNoteFollowsTheIdleTime)
{
    Settings::setMode(Mode::wall);
    open();
    EXPECT_EQ(text("armNote"),
              u"Arm hides this window, then starts the wall after 5 minutes without input."_s);
    type("idleField", u"12"_s);
    EXPECT_EQ(text("armNote"),
              u"Arm hides this window, then starts the wall after 12 minutes without input."_s);
    QTest::keyClick(&control("idleStepper"), Qt::Key_Up);
    EXPECT_EQ(text("armNote"),
              u"Arm hides this window, then starts the wall after 13 minutes without input."_s);
}

TEST_F(ControlsTest, TheDesktopBoxSetsPicturesAndPutsThemBack)
{
    m_home.stock({u"171"_s});
    open();
    EXPECT_FALSE(isEnabled("desktopNow"));
    click("desktopBox");
    EXPECT_TRUE(Settings::desktop());
    EXPECT_TRUE(Settings::configured());
    EXPECT_TRUE(isEnabled("desktopNow"));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_TRUE(Settings::previousDesktop());
    click("desktopBox");
    EXPECT_FALSE(Settings::desktop());
    EXPECT_FALSE(isEnabled("desktopNow"));
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_EQ(m_desktopCalls.last(), u"put back"_s);
    EXPECT_FALSE(Settings::previousDesktop());
}

TEST_F(ControlsTest, StartAndArmAskTheShell)
{
    open();
    click("startButton");
    EXPECT_TRUE(Settings::configured());
    click("armButton");
    EXPECT_EQ(m_walls.calls, (QStringList{u"disarm"_s, u"show"_s, u"arm"_s}));
}

TEST_F(ControlsTest, ReturnIsStart)
{
    open();
    QTest::keyClick(&window(), Qt::Key_Return);
    EXPECT_EQ(m_walls.calls.last(), u"show"_s);
    // Wherever the keys are that want no Return themselves.
    control("shuffleBox").setFocus();
    QTest::keyClick(&control("shuffleBox"), Qt::Key_Return);
    EXPECT_EQ(m_walls.calls.count(u"show"_s), 2);
    // A button that has them is pressed itself.
    control("armButton").setFocus();
    QTest::keyClick(&control("armButton"), Qt::Key_Return);
    EXPECT_EQ(m_walls.calls.count(u"show"_s), 2);
    EXPECT_EQ(m_walls.calls.last(), u"arm"_s);
}

TEST_F(ControlsTest, OpensWithTheKeysOnNoControl)
{
    open();
    ASSERT_TRUE(window().focusWidget());
    EXPECT_EQ(window().focusWidget()->objectName(), QString());
    EXPECT_FALSE(qobject_cast<QAbstractButton *>(window().focusWidget()));
}

TEST_F(ControlsTest, ComesBackWhenItIsMinimized)
{
    open();
    window().showMinimized();
    EXPECT_TRUE(window().isMinimized());
    open();
    EXPECT_FALSE(window().isMinimized());
}

TEST_F(ControlsTest, ClosingHidesTheWindowAndKeepsIt)
{
    open();
    const PreferencesWindow *const before = &window();
    window().close();
    EXPECT_FALSE(preferences().isVisible());
    open();
    EXPECT_EQ(&window(), before);
}

} // namespace
} // namespace corvella

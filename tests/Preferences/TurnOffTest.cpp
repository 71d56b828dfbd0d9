// Turning Corvella off: what is said before, and what is done when it is confirmed.
#include "Preferences/TurnOff.h"
#include "Preferences/PreferencesFixture.h"

#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::Not;

TEST(TurnOffTextTest, NamesWhatIsUndoneAndWhatIsKept)
{
    EXPECT_EQ(turnOffText({}), u"Your settings and downloaded imagery are kept."_s);
    EXPECT_EQ(turnOffText({false, false, true}),
              u"Your settings and downloaded imagery are kept. A screen saver added to System "
              "Settings stays there; remove it in System Settings."_s);
    EXPECT_EQ(turnOffText({true, true, true}),
              u"Your previous desktop picture comes back. It stops opening at login. Your settings "
              "and downloaded imagery are kept. A screen saver added to System Settings stays "
              "there; remove it in System Settings."_s);
}

class TurnOffTest : public test::PreferencesFixture
{
protected:
    static QMessageBox &alert()
    {
        click("quitButton");
        QMessageBox *alert = nullptr;
        EXPECT_TRUE(test::becomes([&alert] {
            alert = window().findChild<QMessageBox *>();
            return alert && alert->isVisible();
        }));
        return *alert;
    }
    static QAbstractButton &button(const QMessageBox &alert, const QString &text)
    {
        for (QAbstractButton *button : alert.buttons()) {
            if (button->text() == text)
                return *button;
        }
        qFatal("no such button");
    }
};

TEST_F(TurnOffTest, AsksFirstAndTheFirstButtonIsTheDefault)
{
    Settings::setMode(Mode::wall);
    open();
    const QMessageBox &box = alert();
    EXPECT_EQ(box.text(), u"Turn Corvella off and quit?"_s);
    EXPECT_EQ(box.informativeText(),
              u"Your settings and downloaded imagery are kept. A screen saver added to System "
              "Settings stays there; remove it in System Settings."_s);
    EXPECT_EQ(box.defaultButton()->text(), u"Turn Off and Quit"_s);
    EXPECT_EQ(box.escapeButton()->text(), u"Cancel"_s);
}

TEST_F(TurnOffTest, CancellingChangesNothing)
{
    Settings::setMode(Mode::desktop);
    Settings::setDesktop(true);
    Settings::setOpenAtLogin(true);
    Settings::setPreviousDesktop(QStringList{u"file:///home/user/picture.png"_s});
    open();
    const QByteArray before = test::TemporaryHome::read(Settings::d().filePath());
    QMessageBox &box = alert();
    EXPECT_EQ(box.informativeText(),
              u"Your previous desktop picture comes back. It stops opening at login. Your settings "
              "and downloaded imagery are kept. A screen saver added to System Settings stays "
              "there; remove it in System Settings."_s);
    QTest::keyClick(&box, Qt::Key_Escape);
    EXPECT_TRUE(test::becomes([] { return !window().findChild<QMessageBox *>(); }));
    EXPECT_EQ(test::TemporaryHome::read(Settings::d().filePath()), before);
    EXPECT_TRUE(Settings::openAtLogin());
    EXPECT_THAT(m_walls.calls, Not(Contains(u"hide"_s)));
}

// A wall comes up meanwhile, as a saver does.
TEST_F(TurnOffTest, TheQuestionGoesWithItsWindow)
{
    open();
    const QPointer<QMessageBox> box = &alert();
    Preferences::shared().hide();
    EXPECT_TRUE(test::becomes([&box] { return !box; }));
    Preferences::shared().show();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(TurnOffTest, ConfirmedItUndoesWhatItChangedAndQuits)
{
    Settings::setMode(Mode::wall);
    Settings::setDesktop(true);
    Settings::setOpenAtLogin(true);
    Settings::setPreviousDesktop(QStringList{u"file:///home/user/picture.png"_s});
    open();
    test::CapturedLog log;
    QMessageBox &box = alert();
    QTimer::singleShot(0, qApp, [&box] { click(button(box, u"Turn Off and Quit"_s)); });
    EXPECT_EQ(QApplication::exec(), 0); // until it quits

    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Contains(u"put back"_s));
    EXPECT_FALSE(Settings::previousDesktop());
    EXPECT_FALSE(Settings::desktop());
    EXPECT_FALSE(Settings::openAtLogin());
    EXPECT_TRUE(Settings::configured());
    EXPECT_EQ(Settings::mode(), Mode::wall);
    EXPECT_EQ(m_walls.calls, (QStringList{u"disarm"_s, u"hide"_s}));
    EXPECT_TRUE(log.contains(u"deactivated and quit at the user's request"_s));
}

TEST_F(TurnOffTest, LeavesPicturesAloneThatAreNotItsOwn)
{
    Settings::setMode(Mode::wall);
    Settings::setDesktop(false);
    Settings::setPreviousDesktop(QStringList{u"file:///home/user/picture.png"_s});
    open();
    QMessageBox &box = alert();
    EXPECT_FALSE(box.informativeText().contains(u"desktop picture"_s));
    QTimer::singleShot(0, qApp, [&box] { click(button(box, u"Turn Off and Quit"_s)); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(m_desktop->finish(test::kGenerous));
    EXPECT_THAT(m_desktopCalls, Not(Contains(u"put back"_s)));
    EXPECT_TRUE(Settings::previousDesktop());
}

} // namespace
} // namespace corvella

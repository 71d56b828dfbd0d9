// The main menu as it stands in the settings window, and what its entries and keys do.
#include "shell/AppFixture.h"

#include "Preferences/PreferencesWindow.h"
#include "settings/Build.h"
#include "settings/Hosts.h"
#include "shell/About.h"
#include "support/Waiting.h"

#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QRegularExpression>
#include <QTest>
#include <QUrl>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class MenusTest : public test::AppFixture
{
protected:
    void SetUp() override
    {
        AppFixture::SetUp();
        Settings::setMode(Mode::wall);
        launch();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    }
    void TearDown() override
    {
        m_app->applicationWillTerminate();
        AppFixture::TearDown();
    }

    static PreferencesWindow &window() { return *Preferences::shared().window(); }
    static QMenuBar &bar() { return *window().findChild<QMenuBar *>(); }

    // Title and keys of each entry; an empty one for a line.
    static QStringList entries(const QMenu &menu)
    {
        QStringList entries;
        for (const QAction *action : menu.actions()) {
            const QString keys = action->shortcut().toString(QKeySequence::PortableText);
            entries << (keys.isEmpty() ? action->text() : action->text() + u" | "_s + keys);
        }
        return entries;
    }

    static void choose(const QString &title)
    {
        for (const QAction *menu : bar().actions()) {
            for (QAction *action : menu->menu()->actions()) {
                if (action->text() == title)
                    return action->trigger();
            }
        }
        FAIL() << "no entry " << qPrintable(title);
    }

    static AboutPanel *about()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (auto *const panel = qobject_cast<AboutPanel *>(widget); panel && panel->isVisible())
                return panel;
        }
        return nullptr;
    }
};

TEST_F(MenusTest, HaveTheirEntriesAndKeys)
{
    QStringList titles;
    QStringList all;
    for (const QAction *menu : bar().actions()) {
        titles << menu->text();
        all << entries(*menu->menu());
    }
    EXPECT_EQ(titles,
              (QStringList{u"Corvella"_s, u"Edit"_s, u"Display"_s, u"Window"_s, u"Help"_s}));
    EXPECT_EQ(all,
              (QStringList{u"About Corvella"_s,
                           u"Check for Updates…"_s,
                           {},
                           u"Settings… | Ctrl+,"_s,
                           {},
                           u"Quit Corvella | Ctrl+Q"_s,
                           u"Undo | Ctrl+Z"_s,
                           u"Redo | Ctrl+Shift+Z"_s,
                           {},
                           u"Cut | Ctrl+X"_s,
                           u"Copy | Ctrl+C"_s,
                           u"Paste | Ctrl+V"_s,
                           u"Select All | Ctrl+A"_s,
                           u"Start Now | Ctrl+Return"_s,
                           u"Update Desktop Now | Ctrl+U"_s,
                           u"Minimize | Ctrl+M"_s,
                           u"Close | Ctrl+W"_s,
                           u"Corvella Help | Ctrl+?"_s}));
}

// The kiosk hides it from the other menu only.
TEST_F(MenusTest, OfferUpdatesInAKiosk)
{
    Settings::setMode(Mode::kiosk);
    for (const QAction *action : bar().actions().first()->menu()->actions())
        EXPECT_TRUE(action->isVisible());
}

TEST_F(MenusTest, StartTheModeByTheirKeys)
{
    QTest::keyClick(&window(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_TRUE(m_app->isShowing());
    EXPECT_FALSE(settingsOpen());
}

TEST_F(MenusTest, CloseAndMinimiseTheWindow)
{
    QTest::keyClick(&window(), Qt::Key_M, Qt::ControlModifier);
    EXPECT_TRUE(window().isMinimized());
    Preferences::shared().show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    QTest::keyClick(&window(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(settingsOpen());
}

TEST_F(MenusTest, EditWhatHasTheKeys)
{
    auto *const field = window().findChild<QLineEdit *>(u"loopsField"_s);
    field->setEnabled(true);
    field->setFocus();
    field->setText(u"4"_s);
    choose(u"Select All"_s);
    EXPECT_EQ(field->selectedText(), u"4"_s);
    choose(u"Cut"_s);
    EXPECT_EQ(field->text(), QString());
    choose(u"Paste"_s);
    choose(u"Paste"_s);
    EXPECT_EQ(field->text(), u"44"_s);
    choose(u"Undo"_s);
    EXPECT_NE(field->text(), u"44"_s);
    choose(u"Redo"_s);
    EXPECT_EQ(field->text(), u"44"_s);
    // What is no text takes no harm.
    window().setFocus();
    for (const QString &title : {u"Undo"_s, u"Copy"_s, u"Select All"_s})
        choose(title);
}

TEST_F(MenusTest, TellWhoseWorkIsShown)
{
    choose(u"About Corvella"_s);
    ASSERT_NE(about(), nullptr);
    QStringList texts;
    for (const QLabel *label : about()->findChildren<QLabel *>())
        texts << label->text();
    EXPECT_TRUE(texts.contains(u"Corvella"_s));
    EXPECT_TRUE(texts.contains(Build::text()));
    const QStringList credits = texts.last().split(u'\n');
    ASSERT_EQ(credits.size(), 3);
    EXPECT_EQ(credits[0],
              u"Live solar imagery from NASA's Solar Dynamics Observatory, processed by "_s
                  + Hosts::maker() + u'.');
    EXPECT_EQ(credits[2], Settings::storeHost());
    choose(u"About Corvella"_s);
    EXPECT_EQ(QApplication::topLevelWidgets().count(about()), 1);
}

// On a panel that does not know the program by its desktop entry.
TEST_F(MenusTest, HaveTheProgramsIconOnTheirWindows)
{
    choose(u"About Corvella"_s);
    ASSERT_NE(about(), nullptr);
    for (const QWidget *const each :
         {static_cast<QWidget *>(about()), static_cast<QWidget *>(&window())})
        EXPECT_FALSE(each->windowIcon().pixmap(32).isNull());
}

class OpenedPages : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;
public Q_SLOTS:
    void open(const QUrl &url) { urls << url; }
};

TEST_F(MenusTest, OpenTheHelpPage)
{
    OpenedPages opened;
    QDesktopServices::setUrlHandler(u"file"_s, &opened, "open");
    choose(u"Corvella Help"_s);
    QDesktopServices::unsetUrlHandler(u"file"_s);
    ASSERT_EQ(opened.urls.size(), 1);
    QFile page(opened.urls.first().toLocalFile());
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    // Its pictures are there.
    const QString html = QString::fromUtf8(page.readAll());
    const QRegularExpression source(u"src(?:set)?=\"([^\"]+)\""_s);
    int pictures = 0;
    for (auto match = source.globalMatch(html); match.hasNext(); ++pictures) {
        const QString file = QFileInfo(page).dir().filePath(match.next().captured(1));
        EXPECT_FALSE(QImage(file).isNull()) << qPrintable(file);
    }
    EXPECT_GE(pictures, 6);
}

} // namespace
} // namespace corvella

#include "MenusTest.moc"

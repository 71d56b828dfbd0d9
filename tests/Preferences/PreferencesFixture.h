// The settings window on two screens that are not there, used as a person does: with the mouse and
// the keys. Its settings and its cache are a test's own.
#pragma once

#include "Preferences/Preferences.h"
#include "Preferences/PreferencesWindow.h"
#include "Preferences/ProductMenuButton.h"
#include "Preferences/ScreensGrid.h"
#include "Preferences/SegmentedControl.h"
#include "Preferences/WallControls.h"
#include "desktop/Desktop.h"
#include "desktop/DesktopUpdater.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/OffscreenScreens.h"
#include "support/QtPrinting.h"
#include "support/StockedHome.h"
#include "support/Waiting.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvella::test {

class RecordedWalls final : public WallControls
{
public:
    void show() override { calls << QStringLiteral("show"); }
    void hide() override { calls << QStringLiteral("hide"); }
    void arm() override { calls << QStringLiteral("arm"); }
    void disarm() override { calls << QStringLiteral("disarm"); }
    void keepWalls() override { calls << QStringLiteral("keepWalls"); }
    QStringList calls;
};

// A desktop with a picture of the user's on each screen. What it is told is known when the updater
// is through.
class RecordedDesktop final : public DesktopPictures
{
public:
    explicit RecordedDesktop(QStringList &calls)
        : m_calls(calls)
    {
    }
    [[nodiscard]] Reach reach() const override { return Reach::eachScreen; }
    [[nodiscard]] Present present(const QList<PictureScreen> &screens,
                                  const QStringList &known) override
    {
        const QString text =
            known.isEmpty() ? QStringLiteral("file:///home/user/picture.png") : QString();
        return {QStringList(screens.size(), text), {}};
    }
    [[nodiscard]] QList<Failure> show(const QList<PictureScreen> &screens,
                                      const QList<std::optional<QString>> & /*files*/) override
    {
        m_calls << QStringLiteral("show");
        return QList<Failure>(screens.size());
    }
    void putBack(const QList<PictureScreen> & /*screens*/, const QStringList & /*texts*/) override
    {
        m_calls << QStringLiteral("put back");
    }

private:
    QStringList &m_calls;
};

inline const OffscreenScreen kLeft{QStringLiteral("Left"), {0, 0, 1280, 1000}};
inline const OffscreenScreen kRight{QStringLiteral("Right"), {1280, 0, 1000, 1000}};

class PreferencesFixture : public testing::Test
{
protected:
    void SetUp() override
    {
        m_home.clear();
        setOffscreenScreens({kLeft, kRight});
        Settings::setOffline(true);
        Settings::setOpenAtLogin(false);
        m_desktop =
            std::make_unique<DesktopUpdater>([] { return QList<PictureScreen>(2); },
                                             std::make_unique<RecordedDesktop>(m_desktopCalls));
        Desktop::setUpdater(m_desktop.get());
        preferences().setWallControls(&m_walls);
    }

    void TearDown() override
    {
        preferences().setWallControls(nullptr);
        preferences().close();
        Desktop::setUpdater(nullptr);
    }

    static Preferences &preferences() { return Preferences::shared(); }
    static PreferencesWindow &window() { return *preferences().window(); }

    static void open()
    {
        preferences().show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    }

    template <typename Widget> static Widget &control(const char *name)
    {
        auto *const widget = window().findChild<Widget *>(QLatin1String(name));
        if (!widget)
            qFatal("no control named %s", name);
        return *widget;
    }
    static QWidget &control(const char *name) { return control<QWidget>(name); }

    static QString text(const char *name)
    {
        if (const auto *const label = qobject_cast<QLabel *>(&control(name)))
            return label->text();
        if (const auto *const field = qobject_cast<QLineEdit *>(&control(name)))
            return field->text();
        return control<QAbstractButton>(name).text();
    }
    static bool isTicked(const char *name) { return control<QAbstractButton>(name).isChecked(); }
    static bool isEnabled(const char *name) { return control(name).isEnabled(); }

    static void click(QWidget &widget)
    {
        // Near the leading edge: check boxes and radio buttons are wider than what reacts.
        QTest::mouseClick(&widget, Qt::LeftButton, {}, {8, widget.height() / 2});
    }
    static void click(const char *name) { click(control(name)); }

    static SegmentedControl &modeControl() { return control<SegmentedControl>("mode"); }
    static void choose(Mode mode)
    {
        for (int i = 0; i < int(kModeSegments.size()); ++i) {
            if (kModeSegments[size_t(i)] == mode)
                click(*modeControl().segment(i));
        }
    }

    // Replaces what is in a field and presses Return.
    static void type(const char *name, const QString &text)
    {
        typeOnly(name, text);
        QTest::keyClick(&control(name), Qt::Key_Return);
    }
    static void typeOnly(const char *name, const QString &text)
    {
        click(name);
        control<QLineEdit>(name).selectAll();
        QTest::keyClicks(&control(name), text);
    }

    // Opens a pop-up button's list and clicks on an entry.
    static void choose(const char *name, const QString &entry)
    {
        auto &popup = control<QComboBox>(name);
        // For as long a list does not heed the release of the click that opened it.
        QApplication::setDoubleClickInterval(0);
        QTest::mouseClick(&popup, Qt::LeftButton);
        QAbstractItemView *const list = popup.view();
        ASSERT_TRUE(becomes([list] { return list->isVisible(); }));
        const QModelIndex index = popup.model()->index(popup.findText(entry), 0);
        ASSERT_TRUE(index.isValid()) << entry.toStdString();
        const QPoint middle = list->visualRect(index).center();
        QTest::mouseMove(list->viewport(), middle);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, middle);
        ASSERT_TRUE(becomes([list] { return !list->isVisible(); }));
    }

    static ScreensGrid &grid() { return control<ScreensGrid>("screensGrid"); }
    static ProductMenuButton &popup(qsizetype screen) { return *grid().screenPopups()[screen]; }
    static QString title(qsizetype screen) { return popup(screen).text(); }

    // Clicks on a screen's button and then on an entry of its menu.
    static void pick(qsizetype screen, const QString &entry)
    {
        bool found = false;
        const auto pickIt = [&found, &entry, screen] {
            QMenu *const menu = popup(screen).menu();
            for (QAction *action : menu->actions()) {
                if (action->text() != entry)
                    continue;
                found = true;
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
                return;
            }
        };
        withMenu(screen, pickIt);
        EXPECT_TRUE(found) << entry.toStdString();
    }

    // Does something while a screen's menu is open.
    static void withMenu(qsizetype screen, const std::function<void()> &something)
    {
        bool done = false;
        QTimer waiting; // the click returns when the menu has closed
        QObject::connect(&waiting, &QTimer::timeout, &waiting, [&] {
            if (!done && QApplication::activePopupWidget()) {
                done = true;
                something();
            }
        });
        waiting.start(0);
        const QPointer<QWidget> button(&popup(screen)); // which may go meanwhile
        QTest::mousePress(button, Qt::LeftButton);
        if (button)
            QTest::mouseRelease(button, Qt::LeftButton);
        EXPECT_TRUE(becomes([&done] { return done; }));
    }

    // What the line about the imagery comes to say.
    static bool statusBecomes(const QString &text)
    {
        return becomes([&text] { return PreferencesFixture::text("cacheStatus") == text; });
    }

    const StockedHome &m_home = StockedHome::shared();
    RecordedWalls m_walls;
    QStringList m_desktopCalls; // the updater's, until it is through
    std::unique_ptr<DesktopUpdater> m_desktop;
};

} // namespace corvella::test

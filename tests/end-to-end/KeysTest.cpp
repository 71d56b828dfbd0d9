// The keys that a wall knows, pressed under a window manager.
#include "support/ProgramUnderTest.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace Qt::StringLiterals;
using test::becomes;

class Keys : public testing::Test
{
protected:
    Keys()
    {
        m_display.startWindowManager();
        m_program.showOn(m_display);
        m_program.configureWall();
        m_program.addClip(u"171"_s, 1);
        m_program.addClip(u"193"_s, 2);
        m_program.addClip(u"304"_s, 3);
        m_program.start();
        EXPECT_TRUE(becomes([this] { return played().size() == 1 && hasFocus(); }));
    }

    void press(const QString &key) { m_display.input({u"key"_s, key}); }

    // The products so far, in the order in which they were played.
    [[nodiscard]] QStringList played()
    {
        QStringList ids;
        for (const QString &message : m_program.messages().filter(u"playing "_s))
            ids << message.mid(8);
        return ids;
    }

    // Expects that a key brings on one clip, this one, and none but it.
    void expectToPlay(const QString &key, const QString &id)
    {
        const QStringList expected = played() << id;
        press(key);
        EXPECT_TRUE(becomes([&] { return played().size() >= expected.size(); })) << qPrintable(key);
        EXPECT_EQ(played(), expected) << qPrintable(key);
    }

    [[nodiscard]] bool hasFocus()
    {
        const QList<test::XWindow> windows = m_display.client().windows();
        return windows.size() == 1 && m_display.client().focus() == windows.first().id;
    }

    test::VirtualDisplay m_display{QSize(640, 480)};
    test::ProgramUnderTest m_program;
};

TEST_F(Keys, ArrowsStepThroughTheClips)
{
    EXPECT_EQ(played(), QStringList{u"171"_s});
    expectToPlay(u"Right"_s, u"193"_s);
    expectToPlay(u"Up"_s, u"304"_s);
    expectToPlay(u"Left"_s, u"193"_s);
    expectToPlay(u"Down"_s, u"171"_s);
    expectToPlay(u"Left"_s, u"304"_s);
    expectToPlay(u"Right"_s, u"171"_s);
}

TEST_F(Keys, ControlQQuits)
{
    press(u"ctrl+q"_s);
    EXPECT_EQ(m_program.process().exitStatus(), 0);
}

TEST_F(Keys, OthersDoNothing)
{
    for (const QString &key :
         {u"Escape"_s, u"q"_s, u"ctrl+shift+q"_s, u"ctrl+w"_s, u"space"_s, u"Return"_s})
        press(key);
    // What was pressed before has been dealt with when this is.
    expectToPlay(u"Right"_s, u"193"_s);
    EXPECT_TRUE(m_program.process().isRunning());
    EXPECT_EQ(m_display.client().windows().size(), 1);
}

} // namespace
} // namespace corvella

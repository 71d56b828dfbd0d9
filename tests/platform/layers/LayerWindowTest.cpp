#include "platform/layers/LayerWindow.h"

#include "platform/layers/Transaction.h"
#include "support/LayerTreeFixture.h"
#include "support/Waiting.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using test::becomes;

// The display has 60 frames a second.
class LayerWindowTest : public test::LayerTreeFixture
{
protected:
    LayerWindowTest()
        : LayerTreeFixture({64, 64}, 1)
    {
        m_window.resize(64, 64);
        QObject::connect(&m_window, &LayerWindow::presented, [this] { ++m_presented; });
    }

    bool showsSomething()
    {
        m_window.show();
        return becomes([this] { return m_presented > 0; });
    }

    // What is drawn without waiting for anything.
    int presentedAtOnce()
    {
        const int before = m_presented;
        for (int i = 0; i < 3; ++i)
            QCoreApplication::processEvents();
        return m_presented - before;
    }

    LayerWindow m_window{m_tree, QGuiApplication::primaryScreen()};
    int m_presented = 0;
};

TEST_F(LayerWindowTest, AChangeIsNotKeptWaitingForAnAnimationsNextStep)
{
    Layer *const picture = add({0, 0, 8, 8}, Qt::red);
    Layer *const fading = add({16, 16, 8, 8}, Qt::white);
    ASSERT_TRUE(showsSomething());
    {
        const Transaction transaction(m_tree, 1h);
        fading->setOpacity(0);
    }
    m_clock.advance(20min);
    ASSERT_TRUE(becomes([this, before = m_presented] { return m_presented > before; }));
    ASSERT_EQ(presentedAtOnce(), 0) << "the animation's next step is due in 1/60 s";
    m_clock.advance(9ms);
    {
        const Transaction atOnce = Transaction::withoutAnimations(m_tree);
        picture->setBackground(Qt::green);
    }
    EXPECT_EQ(presentedAtOnce(), 1);
}

TEST_F(LayerWindowTest, AnAnimationThatCannotKeepUpTakesHalfOfItsSteps)
{
    Layer *const fading = add({16, 16, 8, 8}, Qt::white);
    ASSERT_TRUE(showsSomething());
    {
        const Transaction transaction(m_tree, 1h);
        fading->setOpacity(0);
    }
    const auto nextStep = [this] {
        const test::Stopwatch stopwatch;
        m_clock.advance(1min); // which is late
        EXPECT_TRUE(becomes([this, before = m_presented] { return m_presented > before; },
                            test::kGenerous, 0ms));
        return stopwatch.elapsed();
    };
    for (int late = 0; late < 3; ++late)
        (void)nextStep();
    EXPECT_GE(nextStep(), 30ms) << "two of the display's frames, less what timers round";
}

} // namespace
} // namespace corvella

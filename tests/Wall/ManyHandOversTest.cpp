// Hand-over upon hand-over in each style, looked at sixty times a second: nothing may be black that
// the style does not make black. CORVELLA_HAND_OVERS sets how many there are.
#include "Wall/WallView.h"
#include "cache/Cache.h"
#include "platform/video/VideoPlayer.h"
#include "settings/Settings.h"
#include "support/CapturedLog.h"
#include "support/LayerTreeFixture.h"
#include "support/StockedHome.h"
#include "support/TestClip.h"
#include "support/Waiting.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace corvella {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

constexpr QSizeF kWall{240, 180};         // points; the square clips fill the middle of it
constexpr QRect kSampled{35, 5, 170, 80}; // within them, above the caption's band
constexpr int kFrames = 40;               // 2.67 s at half speed: longer than any style
constexpr MediaTime kStep = 16'666'667ns;
constexpr int kDark = 60; // a crossfade of two clips of grey 160 and 200 is never below 120

int handOvers()
{
    bool isSet = false;
    const int wanted = qEnvironmentVariableIntValue("CORVELLA_HAND_OVERS", &isSet);
    return isSet ? wanted : 25;
}

struct Style
{
    const char *name;
    Transition transition;
    bool isBlackBetween;
};

class ManyHandOvers : public testing::TestWithParam<Style>
{
protected:
    ManyHandOvers()
    {
        m_home.clear();
        const QStringList products{u"171"_s, u"193"_s};
        m_home.stock(products);
        for (int i = 0; i < products.size(); ++i) {
            const int grey = 160 + 40 * i;
            test::TestClip clip;
            clip.width = clip.height = 64;
            clip.frames = kFrames;
            clip.marked = false;
            clip.colour = [grey](int) { return QColor(grey, grey, grey); };
            clip.write(m_home.clip(products[i]));
        }
        Settings::setTransition(GetParam().transition);
        m_view.emplace(QRectF(QPointF(0, 0), kWall), products, 1, std::nullopt,
                       WallView::Surroundings{RendererKind::raster, m_clock});
    }

    std::array<PlayerLayer *, 2> players()
    {
        std::array<PlayerLayer *, 2> found{};
        size_t count = 0;
        for (const auto &layer : m_view->tree().root().sublayers()) {
            if (auto *player = dynamic_cast<PlayerLayer *>(layer.get()))
                found.at(count++) = player;
        }
        return found;
    }

    // A sixtieth of a second goes by. The decoders are left to catch up, as they do when a second
    // lasts a second.
    void step()
    {
        m_clock.advance(kStep);
        m_view->tree().advance();
        for (PlayerLayer *layer : players()) {
            if (layer->player())
                layer->player()->advance();
        }
        QCoreApplication::processEvents();
    }

    int darkest()
    {
        const QImage image = test::painted(m_view->tree());
        int darkest = 255;
        for (int y = kSampled.top(); y <= kSampled.bottom(); y += 13) {
            for (int x = kSampled.left(); x <= kSampled.right(); x += 13)
                darkest = std::min(darkest, qGray(image.pixel(x, y)));
        }
        return darkest;
    }

    int played() { return static_cast<int>(m_log.messages().filter(u"playing "_s).size()); }

    const test::StockedHome &m_home = test::StockedHome::shared();
    test::ManualMediaClock m_clock;
    test::CapturedLog m_log;
    std::optional<WallView> m_view;
};

TEST_P(ManyHandOvers, AreNeverBlackWhereTheStyleIsNot)
{
    // The very first clip comes out of the dark.
    ASSERT_TRUE(test::becomes([this] {
        step();
        return darkest() > kDark;
    }));
    int dark = 0; // samples in a row
    for (int count = played(); count <= handOvers(); count = played()) {
        step();
        const bool isDark = darkest() < kDark;
        dark = isDark ? dark + 1 : 0;
        if (!GetParam().isBlackBetween) {
            ASSERT_FALSE(isDark) << "in hand-over " << count - 1;
        } else {
            // 0.35 s out and 0.35 s in: dark for less than half of it.
            ASSERT_LT(dark, 21) << "in hand-over " << count - 1;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Styles, ManyHandOvers,
                         testing::Values(Style{"Blink", Transition::blink, false},
                                         Style{"Crossfade", Transition::crossfade, false},
                                         Style{"Black", Transition::black, true},
                                         Style{"Circle", Transition::circle, false},
                                         Style{"Wipe", Transition::wipe, false}),
                         [](const auto &test) { return test.param.name; });

} // namespace
} // namespace corvella

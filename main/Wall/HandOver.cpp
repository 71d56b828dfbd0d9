#include "Wall/HandOver.h"

#include "platform/layers/LayerTree.h"
#include "platform/layers/PlayerLayer.h"
#include "platform/layers/ShapeLayer.h"
#include "platform/layers/Transaction.h"

#include <cmath>

namespace corvella {

namespace {

using std::chrono::milliseconds;

constexpr MediaTime kCrossfade = milliseconds(600);
constexpr MediaTime kFade = milliseconds(350);     // to black, and from it
constexpr MediaTime kFadeDone = milliseconds(400); // after the fade from black has begun
constexpr MediaTime kCircle = milliseconds(900);
constexpr MediaTime kWipe = milliseconds(600);

void cut(LayerTree &tree, PlayerLayer &from, PlayerLayer &to)
{
    const Transaction transaction = Transaction::withoutAnimations(tree);
    to.setOpacity(1);
    from.setOpacity(0);
}

void crossfade(LayerTree &tree, PlayerLayer &from, PlayerLayer &to, std::function<void()> done)
{
    Transaction transaction(tree, kCrossfade);
    transaction.setCompletion(std::move(done));
    to.setOpacity(1);
    from.setOpacity(0);
}

void throughBlack(LayerTree &tree, PlayerLayer &from, PlayerLayer &to, bool first,
                  std::function<void()> done)
{
    const MediaTime out = first ? MediaTime(0) : kFade;
    {
        const Transaction transaction(tree, out);
        from.setOpacity(0);
    }
    {
        const Transaction transaction = Transaction::withoutAnimations(tree);
        to.setOpacity(1);
        to.addAnimation(
            QStringLiteral("fadeIn"),
            {0, 1, tree.now() + out, kFade, FillMode::backwards, TimingCurve::linear()});
    }
    tree.completeAt(tree.now() + out + kFadeDone, std::move(done));
}

struct Reveal
{
    ShapePath start;
    ShapePath end;
    MediaTime duration;
};

// From a dot in the middle to the circle that just covers the corners.
Reveal circleReveal(const QRectF &bounds)
{
    const QPointF middle = bounds.center();
    const double radius = std::hypot(bounds.width(), bounds.height()) / 2;
    const auto circle = [middle](double r) {
        return ShapePath{ShapePath::Kind::ellipse, {middle.x() - r, middle.y() - r, 2 * r, 2 * r}};
    };
    return {circle(1), circle(radius), kCircle};
}

// From nothing at the left edge to all of it.
Reveal wipeReveal(const QRectF &bounds)
{
    return {{ShapePath::Kind::rectangle, {0, 0, 0, bounds.height()}},
            {ShapePath::Kind::rectangle, bounds},
            kWipe};
}

void growMask(const Reveal &reveal, LayerTree &tree, PlayerLayer &from, PlayerLayer &to,
              std::function<void()> done)
{
    auto mask = std::make_unique<ShapeLayer>();
    ShapeLayer *const shape = mask.get();
    mask->setFrame(to.bounds());
    mask->setPath(reveal.end);
    to.setMask(std::move(mask));
    {
        const Transaction transaction = Transaction::withoutAnimations(tree);
        to.setOpacity(1);
    }
    // The layers live as long as the tree, which drops the completion with itself. A layer that has
    // got another player by then belongs to a later hand-over.
    Transaction transaction(tree, MediaTime(0));
    transaction.setCompletion([&tree, &from, &to, ending = from.player(), beginning = to.player(),
                               done = std::move(done)] {
        if (to.player() == beginning)
            to.setMask(nullptr);
        const Transaction atOnce = Transaction::withoutAnimations(tree);
        if (from.player() == ending)
            from.setOpacity(0);
        done();
    });
    shape->addAnimation(QStringLiteral("reveal"),
                        {reveal.start, reveal.end, tree.now(), reveal.duration, FillMode::removed,
                         TimingCurve::easeInEaseOut()});
}

} // namespace

void transition(Transition style, LayerTree &tree, PlayerLayer &from, PlayerLayer &to, bool first,
                std::function<void()> done)
{
    // The new clip lies over the old one, which stays visible beneath while a mask grows. A mask of
    // a hand-over that this one cuts short is not its own.
    to.raiseAbove(from);
    to.setMask(nullptr);
    if (first && style == Transition::blink)
        style = Transition::crossfade;
    switch (style) {
    case Transition::blink:
        cut(tree, from, to);
        return done();
    case Transition::crossfade:
        return crossfade(tree, from, to, std::move(done));
    case Transition::black:
        return throughBlack(tree, from, to, first, std::move(done));
    case Transition::circle:
        return growMask(circleReveal(to.bounds()), tree, from, to, std::move(done));
    case Transition::wipe:
        return growMask(wipeReveal(to.bounds()), tree, from, to, std::move(done));
    }
}

} // namespace corvella

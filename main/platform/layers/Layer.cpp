#include "platform/layers/Layer.h"

#include "platform/layers/LayerTree.h"
#include "platform/layers/ShapeLayer.h"
#include "platform/layers/Transaction.h"

#include <algorithm>

namespace corvella {

namespace {

const QString kImplicitOpacity = QStringLiteral("opacity");

quint64 lastContentsSerial = 0; // main thread only

std::optional<MediaTime> later(std::optional<MediaTime> a, std::optional<MediaTime> b)
{
    return a && b ? std::max(a, b) : (a ? a : b);
}

} // namespace

Layer::Layer() = default;
Layer::~Layer() = default;

void Layer::insert(std::unique_ptr<Layer> layer)
{
    layer->m_superlayer = this;
    layer->joinTree(m_tree);
    m_sublayers.push_back(std::move(layer));
    setNeedsDisplay();
}

void Layer::removeFromSuperlayer()
{
    if (!m_superlayer)
        return;
    setNeedsDisplay();
    std::erase_if(m_superlayer->m_sublayers,
                  [this](const auto &layer) { return layer.get() == this; });
}

void Layer::joinTree(LayerTree *tree)
{
    m_tree = tree;
    if (m_mask)
        m_mask->joinTree(tree);
    for (const auto &layer : m_sublayers)
        layer->joinTree(tree);
}

void Layer::raiseAbove(const Layer &sibling)
{
    if (!m_superlayer || m_superlayer != sibling.m_superlayer || this == &sibling)
        return;
    auto &siblings = m_superlayer->m_sublayers;
    const auto position = [&siblings](const Layer *wanted) {
        return std::find_if(siblings.begin(), siblings.end(),
                            [wanted](const auto &layer) { return layer.get() == wanted; });
    };
    const auto mine = position(this);
    const auto other = position(&sibling);
    if (mine < other)
        std::rotate(mine, mine + 1, other + 1);
    setNeedsDisplay();
}

void Layer::setFrame(const QRectF &frame)
{
    if (m_frame == frame)
        return;
    if (m_frame.size() != frame.size())
        setNeedsContents();
    m_frame = frame;
    setNeedsDisplay();
}

void Layer::setBackground(const QColor &colour)
{
    m_background = colour;
    setNeedsDisplay();
}

void Layer::setOpacity(double opacity)
{
    const Transaction *transaction = m_tree ? m_tree->transaction() : nullptr;
    if (transaction && transaction->animates()) {
        const MediaTime now = m_tree->now();
        addAnimation(kImplicitOpacity,
                     {presentedOpacity(now), opacity, now, transaction->duration(),
                      FillMode::removed, TimingCurve::standard()});
    } else {
        m_opacityAnimations.erase(kImplicitOpacity);
    }
    m_opacity = opacity;
    setNeedsDisplay();
}

double Layer::presentedOpacity(MediaTime now) const
{
    // The one that began last; of one moment, one that has a name of its own.
    const BasicAnimation<double> *last = nullptr;
    for (const auto &[key, animation] : m_opacityAnimations) {
        if (animation.value(now) && (!last || animation.begin > last->begin))
            last = &animation;
    }
    return last ? *last->value(now) : m_opacity;
}

void Layer::addAnimation(const QString &key, const BasicAnimation<double> &animation)
{
    m_opacityAnimations.insert_or_assign(key, animation);
    if (m_tree)
        m_tree->noteAnimation(animation.end());
    setNeedsDisplay();
}

void Layer::setMask(std::unique_ptr<ShapeLayer> mask)
{
    m_mask = std::move(mask);
    if (m_mask)
        m_mask->joinTree(m_tree);
    setNeedsDisplay();
}

const QImage &Layer::contents(QSize pixels, double scale) const
{
    if (m_drawnSerial != m_contentsSerial || m_drawnPixels != pixels) {
        m_contents = pixels.isEmpty() ? QImage() : drawContents(pixels, scale);
        m_drawnSerial = m_contentsSerial;
        m_drawnPixels = pixels;
    }
    return m_contents;
}

QImage Layer::drawContents(QSize /*pixels*/, double /*scale*/) const
{
    return {};
}

std::optional<MediaTime> Layer::ownAnimationsEnd(MediaTime now) const
{
    std::optional<MediaTime> end;
    for (const auto &[key, animation] : m_opacityAnimations) {
        if (now < animation.end())
            end = later(end, animation.end());
    }
    return end;
}

std::optional<MediaTime> Layer::animationsEnd(MediaTime now) const
{
    std::optional<MediaTime> end = ownAnimationsEnd(now);
    if (m_mask)
        end = later(end, m_mask->animationsEnd(now));
    for (const auto &layer : m_sublayers)
        end = later(end, layer->animationsEnd(now));
    return end;
}

void Layer::dropFinishedAnimations(MediaTime now)
{
    std::erase_if(m_opacityAnimations,
                  [now](const auto &entry) { return now >= entry.second.end(); });
    if (m_mask)
        m_mask->dropFinishedAnimations(now);
    for (const auto &layer : m_sublayers)
        layer->dropFinishedAnimations(now);
}

void Layer::setNeedsContents()
{
    m_contentsSerial = ++lastContentsSerial;
    setNeedsDisplay();
}

void Layer::setNeedsDisplay()
{
    if (m_tree)
        m_tree->setNeedsDisplay();
}

} // namespace corvella

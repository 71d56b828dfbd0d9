#include "platform/layers/ShapeLayer.h"

#include "platform/layers/LayerTree.h"

namespace corvella {

ShapePath interpolated(const ShapePath &from, const ShapePath &to, double progress)
{
    const QRectF &a = from.rect;
    const QRectF &b = to.rect;
    return {to.kind,
            {interpolated(a.x(), b.x(), progress), interpolated(a.y(), b.y(), progress),
             interpolated(a.width(), b.width(), progress),
             interpolated(a.height(), b.height(), progress)}};
}

void ShapeLayer::setPath(const ShapePath &path)
{
    m_path = path;
    setNeedsDisplay();
}

ShapePath ShapeLayer::presentedPath(MediaTime now) const
{
    for (const auto &[key, animation] : m_pathAnimations) {
        if (const std::optional<ShapePath> value = animation.value(now))
            return *value;
    }
    return m_path;
}

void ShapeLayer::addAnimation(const QString &key, const BasicAnimation<ShapePath> &animation)
{
    m_pathAnimations.insert_or_assign(key, animation);
    if (tree())
        tree()->noteAnimation(animation.end());
    setNeedsDisplay();
}

void ShapeLayer::dropFinishedAnimations(MediaTime now)
{
    Layer::dropFinishedAnimations(now);
    std::erase_if(m_pathAnimations, [now](const auto &entry) { return now >= entry.second.end(); });
}

std::optional<MediaTime> ShapeLayer::ownAnimationsEnd(MediaTime now) const
{
    std::optional<MediaTime> end = Layer::ownAnimationsEnd(now);
    for (const auto &[key, animation] : m_pathAnimations) {
        if (now < animation.end())
            end = end ? std::max(*end, animation.end()) : animation.end();
    }
    return end;
}

} // namespace corvella

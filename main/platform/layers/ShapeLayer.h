// A layer that is a shape; used as the mask of another layer, in that layer's coordinates.
#pragma once

#include "platform/layers/Layer.h"

namespace corvella {

// An ellipse or a rectangle: all that a mask ever grows from and to.
struct ShapePath
{
    enum class Kind { rectangle, ellipse };

    Kind kind = Kind::rectangle;
    QRectF rect; // points; the ellipse's bounding box

    bool operator==(const ShapePath &) const = default;
};

// Between two paths of one kind.
[[nodiscard]] ShapePath interpolated(const ShapePath &from, const ShapePath &to, double progress);

class ShapeLayer final : public Layer
{
public:
    [[nodiscard]] ShapePath path() const { return m_path; }
    void setPath(const ShapePath &path);
    [[nodiscard]] ShapePath presentedPath(MediaTime now) const;
    void addAnimation(const QString &key, const BasicAnimation<ShapePath> &animation);

    void dropFinishedAnimations(MediaTime now) override;

protected:
    [[nodiscard]] std::optional<MediaTime> ownAnimationsEnd(MediaTime now) const override;

private:
    ShapePath m_path;
    std::map<QString, BasicAnimation<ShapePath>> m_pathAnimations;
};

} // namespace corvella

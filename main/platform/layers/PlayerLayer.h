// A layer that shows what a VideoPlayer has up, fitted inside its frame: never cropped, its shape
// kept.
#pragma once

#include "platform/layers/Layer.h"
#include "platform/video/Picture.h"

#include <QMetaObject>

#include <memory>

namespace corvella {

class VideoPlayer;

class PlayerLayer final : public Layer
{
public:
    ~PlayerLayer() override;

    // Shows this player's pictures from now on; null shows only the background.
    // The player is told how large this layer is.
    void setPlayer(std::shared_ptr<VideoPlayer> player);
    [[nodiscard]] const std::shared_ptr<VideoPlayer> &player() const { return m_player; }

    void setFrame(const QRectF &frame) override;

    // How many pixels the pictures of a player fit into that is to be shown in this layer; at least
    // one each way.
    [[nodiscard]] QSize pictureBounds() const;
    // What shows now; null for nothing.
    [[nodiscard]] const Picture *picture() const;
    [[nodiscard]] quint64 pictureSerial() const;

private:
    std::shared_ptr<VideoPlayer> m_player;
    QMetaObject::Connection m_frameDue;
};

} // namespace corvella

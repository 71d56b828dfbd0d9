#include "platform/layers/PlayerLayer.h"

#include "platform/layers/LayerTree.h"
#include "platform/video/VideoPlayer.h"

#include <cmath>

namespace corvella {

PlayerLayer::~PlayerLayer()
{
    QObject::disconnect(m_frameDue);
}

void PlayerLayer::setPlayer(std::shared_ptr<VideoPlayer> player)
{
    QObject::disconnect(m_frameDue);
    m_player = std::move(player);
    if (m_player) {
        m_player->setBounds(pictureBounds());
        m_frameDue = QObject::connect(m_player.get(), &VideoPlayer::frameDue, m_player.get(),
                                      [this] { setNeedsDisplay(); });
    }
    setNeedsDisplay();
}

void PlayerLayer::setFrame(const QRectF &frame)
{
    Layer::setFrame(frame);
    if (m_player)
        m_player->setBounds(pictureBounds());
}

QSize PlayerLayer::pictureBounds() const
{
    const double scale = tree() ? tree()->scale() : 1.0;
    return QSize(static_cast<int>(std::lround(frame().width() * scale)),
                 static_cast<int>(std::lround(frame().height() * scale)))
        .expandedTo({1, 1});
}

const Picture *PlayerLayer::picture() const
{
    return m_player && !m_player->picture().isNull() ? &m_player->picture() : nullptr;
}

quint64 PlayerLayer::pictureSerial() const
{
    return m_player ? m_player->pictureSerial() : 0;
}

} // namespace corvella

#include "Wall/WallView.h"

#include "Wall/BrokenClips.h"
#include "Wall/HandOver.h"
#include "Wall/OnScreen.h"
#include "cache/Cache.h"
#include "log.h"
#include "platform/layers/ShapeLayer.h"
#include "platform/video/VideoPlayer.h"
#include "settings/Products.h"
#include "settings/Settings.h"

#include <QDir>
#include <QRandomGenerator>

#include <algorithm>

namespace corvella {

namespace {

constexpr MediaTime kRetry = std::chrono::seconds(5);

QString idOf(const QJsonObject &entry)
{
    return entry.value(QLatin1String("id")).toString();
}

QString fileOf(const QJsonObject &entry)
{
    return QDir(Cache::dir()).filePath(entry.value(QLatin1String("video")).toString());
}

QStringList idsOf(const QList<QJsonObject> &playlist)
{
    QStringList ids;
    for (const QJsonObject &entry : playlist)
        ids << idOf(entry);
    return ids;
}

QString catalogueLabel(const QStringList &wanted)
{
    for (const Product &product : products()) {
        if (!wanted.isEmpty() && product.id == wanted.first())
            return product.label;
    }
    return QStringLiteral("the Sun");
}

// An id that is in the table scores 2, the last one 1: being shown elsewhere weighs more than a
// repeat.
int penalty(const QString &id, const QSet<QString> &elsewhere, const std::optional<QString> &last)
{
    return (elsewhere.contains(id) ? 2 : 0) + (last == id ? 1 : 0);
}

} // namespace

WallView::WallView(const QRectF &frame, const QStringList &products, double scale,
                   const std::optional<QString> &attribution, const Surroundings &surroundings)
    : m_wanted(products)
    , m_tree(frame.size(), scale, surroundings.renderer, surroundings.clock)
{
    m_wanted.removeAll(QStringLiteral("all"));
    m_tree.root().setBackground(Qt::black);
    for (PlayerLayer *&layer : m_layers) {
        layer = m_tree.root().addSublayer(std::make_unique<PlayerLayer>());
        layer->setBackground(Qt::black);
        layer->setOpacity(0);
    }
    m_overlays.emplace(m_tree, attribution);
    layout();
    connect(&m_tree, &LayerTree::resized, this, &WallView::layout);
    reload();
    playCurrent();
}

WallView::~WallView()
{
    stop();
}

void WallView::layout()
{
    const QRectF bounds(QPointF(0, 0), m_tree.size());
    for (PlayerLayer *layer : m_layers)
        layer->setFrame(bounds);
    m_overlays->layout(bounds.size());
}

std::optional<int> WallView::nextIndex(const QStringList &ids, int from,
                                       const QSet<QString> &elsewhere,
                                       const std::optional<QString> &last)
{
    if (from < 0)
        qFatal("WallView::nextIndex: the search cannot start at %d", from);
    const auto n = static_cast<int>(ids.size());
    std::optional<int> best;
    int bestPenalty = 0;
    for (int k = 0; k < n; ++k) {
        const int position = (from + k) % n;
        const int score = penalty(ids[position], elsewhere, last);
        if (!best || score < bestPenalty) {
            best = position;
            bestPenalty = score;
        }
        if (score == 0)
            break;
    }
    return best;
}

int WallView::rewound(int i, int n)
{
    return n < 1 ? 0 : ((i - 2) % n + n) % n;
}

void WallView::step(int delta)
{
    if (m_stopped || m_playlist.isEmpty())
        return;
    m_loopsDone = 0;
    if (delta < 0) {
        m_index = rewound(m_index, static_cast<int>(m_playlist.size()));
        m_lastId.reset();
    }
    playCurrent();
}

QList<WallView::Entry> WallView::loadedPlaylist() const
{
    const QList<Entry> entries = Cache::entries();
    QList<Entry> playlist;
    if (m_wanted.isEmpty())
        playlist = entries;
    for (const QString &id : m_wanted) {
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [&id](const Entry &entry) { return idOf(entry) == id; });
        if (found != entries.end())
            playlist << *found;
    }
    if (Settings::shuffle())
        std::shuffle(playlist.begin(), playlist.end(), *QRandomGenerator::system());
    return playlist;
}

void WallView::reload()
{
    m_playlist = loadedPlaylist();
}

QList<WallView::Entry> WallView::playable(const QList<Entry> &playlist) const
{
    QList<Entry> result;
    for (const Entry &entry : playlist) {
        if (entry.value(QLatin1String("video")).isString()
            && !BrokenClips::contains(fileOf(entry), m_tree.clock().now()))
            result << entry;
    }
    return result;
}

std::optional<int> WallView::choose(const QList<Entry> &playlist, int from) const
{
    const int last = std::max(static_cast<int>(playlist.size()) - 1, 0);
    return nextIndex(idsOf(playlist), std::min(from, last), OnScreen::heldElsewhere(this),
                     m_lastId);
}

void WallView::playCurrent()
{
    m_retry.cancel();
    std::optional<Prepared> prepared = takePrepared();
    if (prepared) {
        m_playlist = prepared->choice.playlist;
    } else if (m_index >= m_playlist.size()) {
        reload();
        m_index = 0;
    }
    const QList<Entry> clips = playable(m_playlist);
    if (clips.isEmpty())
        return waitForContent();
    m_playlist = clips;

    const std::optional<int> position =
        prepared ? prepared->choice.position : choose(clips, m_index);
    if (!position)
        return;
    const Entry entry = m_playlist[*position];
    m_index = *position + 1;
    m_lastId = idOf(entry);
    OnScreen::claim(idOf(entry), this);

    // A clip that never came to show gives its slot to this one; what shows stays up.
    if (std::exchange(m_handOverPending, false))
        m_active = 1 - m_active;
    const std::shared_ptr<VideoPlayer> old = active().player();
    const std::shared_ptr<VideoPlayer> player = prepared ? prepared->player : makePlayer(entry);
    other().setPlayer(player);
    disconnect(m_endObserver);
    m_endObserver = connect(player.get(), &VideoPlayer::playedToEnd, this, &WallView::clipEnded);
    player->play(kRate);
    handOver(old);
    m_active = 1 - m_active;
    m_overlays->showCaption(entry);
    log(QStringLiteral("playing ") + idOf(entry));
}

void WallView::waitForContent()
{
    log(QStringLiteral("nothing to play here yet; looking again in 5 s"));
    m_overlays->showWaiting(catalogueLabel(m_wanted)
                            + (Settings::offline()
                                   ? QStringLiteral("  ·  NOT DOWNLOADED, AND OFFLINE IS ON")
                                   : QStringLiteral("  ·  DOWNLOADING…")));
    m_retry = m_tree.workQueue().after(kRetry, [this] { playCurrent(); });
}

std::shared_ptr<VideoPlayer> WallView::makePlayer(const Entry &entry)
{
    const QString path = fileOf(entry);
    const PlayerLayer &layer = other();
    auto player = std::make_shared<VideoPlayer>(path, layer.pictureBounds(), m_tree.clock());
    const std::weak_ptr<VideoPlayer> weak = player;
    connect(player.get(), &VideoPlayer::nearEnd, this, [this, weak] {
        if (weak.lock() == active().player())
            prepareNext();
    });
    connect(player.get(), &VideoPlayer::brokenOff, this,
            [path](const QString &reason) { BrokenClips::noteBrokenOff(path, reason); });
    // Queued, because a player that failed is let go, which must not happen inside its own signal.
    connect(
        player.get(), &VideoPlayer::failed, this,
        [this, weak](const QString &reason) {
            if (const std::shared_ptr<VideoPlayer> failed = weak.lock())
                clipFailed(failed, reason);
        },
        Qt::QueuedConnection);
    return player;
}

void WallView::handOver(const std::shared_ptr<VideoPlayer> &old)
{
    PlayerLayer *const fromLayer = &active();
    PlayerLayer *const toLayer = &other();
    const VideoPlayer *const player = toLayer->player().get();
    const auto begin = [this, fromLayer, toLayer, old] {
        m_handOverPending = false;
        transition(Settings::transition(), m_tree, *fromLayer, *toLayer, old == nullptr,
                   [fromLayer, old] {
                       if (old)
                           old->clear();
                       if (fromLayer->player() == old)
                           fromLayer->setPlayer(nullptr);
                   });
    };
    if (!player->picture().isNull())
        return begin();
    // Without its first picture the new clip would show as a black gap: the old one stays up until
    // then.
    m_handOverPending = true;
    // Once: it holds the old player, which would hold the one before it, and so on.
    connect(
        player, &VideoPlayer::readyForDisplay, this,
        [toLayer, player, begin] {
            if (toLayer->player().get() == player)
                begin();
        },
        Qt::SingleShotConnection);
}

void WallView::clipEnded()
{
    const int loops = Settings::loops();
    log(QStringLiteral("clip ended (loops done %1 of %2)").arg(m_loopsDone + 1).arg(loops));
    ++m_loopsDone;
    if (m_loopsDone >= loops) {
        m_loopsDone = 0;
        // On top of the step that choosing this clip made: the search starts two past it, on
        // purpose.
        ++m_index;
        playCurrent();
        return;
    }
    m_prepared.reset(); // the setting was raised meanwhile
    const std::shared_ptr<VideoPlayer> player = active().player();
    player->seekToStart();
    player->play(kRate);
}

void WallView::clipFailed(const std::shared_ptr<VideoPlayer> &player, const QString &reason)
{
    BrokenClips::add(player->path(), reason, m_tree.clock().now());
    if (m_prepared && m_prepared->player == player)
        m_prepared.reset();
    else if (active().player() == player && !m_stopped)
        playCurrent();
}

void WallView::prepareNext()
{
    if (m_stopped || m_prepared || m_loopsDone + 1 < Settings::loops())
        return;
    active().player()->setLoops(false);
    const int index = m_index + 1; // as clipEnded() will leave it
    const bool runsOut = index >= m_playlist.size();
    const QList<Entry> playlist = playable(runsOut ? loadedPlaylist() : m_playlist);
    if (const std::optional<int> position = choose(playlist, runsOut ? 0 : index))
        m_prepared = Prepared{index, {playlist, *position}, makePlayer(playlist[*position])};
}

std::optional<WallView::Prepared> WallView::takePrepared()
{
    std::optional<Prepared> prepared = std::exchange(m_prepared, std::nullopt);
    if (!prepared || prepared->index != m_index)
        return std::nullopt;
    const bool ranOut = m_index >= m_playlist.size();
    const QList<Entry> &playlist = prepared->choice.playlist;
    const bool isStillChosen = choose(playlist, ranOut ? 0 : m_index) == prepared->choice.position;
    return isStillChosen && playable(playlist) == playlist ? prepared : std::nullopt;
}

void WallView::stop()
{
    if (std::exchange(m_stopped, true))
        return;
    OnScreen::release(this);
    m_overlays->stop();
    m_retry.cancel();
    disconnect(m_endObserver);
    m_prepared.reset();
    for (PlayerLayer *layer : m_layers) {
        if (layer->player())
            layer->player()->clear();
        layer->setPlayer(nullptr);
        layer->setMask(nullptr);
    }
}

} // namespace corvella

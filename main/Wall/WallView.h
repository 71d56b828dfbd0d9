// One screen of the wall: plays the screen's playlist clip by clip, muted and at half speed, loops
// each clip, hands over to the next, and keeps the overlays on top. Where nothing has been
// downloaded yet it says so and looks again every few seconds. Main thread only.
#pragma once

#include "Wall/WallOverlays.h"
#include "platform/layers/LayerTree.h"
#include "platform/layers/PlayerLayer.h"

#include <QJsonObject>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <array>
#include <memory>
#include <optional>

namespace corvella {

class VideoPlayer;

class WallView : public QObject
{
    Q_OBJECT

public:
    static constexpr double kRate = 0.5; // of every clip: half speed

    // What a view needs of its surroundings.
    struct Surroundings
    {
        RendererKind renderer = RendererKind::raster;
        const MediaClock &clock; // must outlive the view
    };

    // Begins to play at once. The frame in points; `products` in play order, none or "all" for
    // everything; `scale` in pixels per point; `attribution` is shown where it is given.
    WallView(const QRectF &frame, const QStringList &products, double scale,
             const std::optional<QString> &attribution, const Surroundings &surroundings);
    ~WallView() override;

    // Forward (0 or more) or back (less than 0) by one clip.
    void step(int delta);
    // Ends playback for good.
    void stop();

    // What the view looks like; owned by the view.
    [[nodiscard]] LayerTree &tree() { return m_tree; }

    // The playlist position to play next, searching forward from `from` (0 or more) and wrapping:
    // the first that no other screen shows and that is not a repeat of `last`. Where there is none
    // such, a repeat is better than what another screen shows. None for an empty list.
    [[nodiscard]] static std::optional<int> nextIndex(const QStringList &ids, int from,
                                                      const QSet<QString> &elsewhere,
                                                      const std::optional<QString> &last);
    // Two positions back in a list of n, wrapping; 0 for an empty list. Two, because the position
    // is already one past the clip that plays.
    [[nodiscard]] static int rewound(int i, int n);

private:
    using Entry = QJsonObject;

    // A playlist and the position in it that is to play.
    struct Choice
    {
        QList<Entry> playlist;
        int position = 0;
    };
    // The next choice and its player, made ready shortly before the current clip ends.
    struct Prepared
    {
        int index = 0; // the search start that the choice was made for
        Choice choice;
        std::shared_ptr<VideoPlayer> player;
    };

    void playCurrent();
    void reload();
    [[nodiscard]] QList<Entry> loadedPlaylist() const;
    [[nodiscard]] QList<Entry> playable(const QList<Entry> &playlist) const;
    [[nodiscard]] std::optional<int> choose(const QList<Entry> &playlist, int from) const;
    void waitForContent();

    // Makes the next clip ready when the current one is about to give way to it.
    void prepareNext();
    // The prepared choice if it is still what would be chosen now; it is used up either way.
    [[nodiscard]] std::optional<Prepared> takePrepared();
    [[nodiscard]] std::shared_ptr<VideoPlayer> makePlayer(const Entry &entry);

    // From the active slot, whose player is `old` (null at first), to the other.
    void handOver(const std::shared_ptr<VideoPlayer> &old);
    void clipEnded();
    void clipFailed(const std::shared_ptr<VideoPlayer> &player, const QString &reason);
    void layout();

    // The layer of the slot whose clip is the current one, and the free one beside it.
    [[nodiscard]] PlayerLayer &active() const { return *m_layers[static_cast<size_t>(m_active)]; }
    [[nodiscard]] PlayerLayer &other() const
    {
        return *m_layers[static_cast<size_t>(1 - m_active)];
    }

    QStringList m_wanted;
    bool m_stopped = false;
    LayerTree m_tree;
    QList<Entry> m_playlist;
    int m_index = 0;
    int m_loopsDone = 0;
    std::optional<QString> m_lastId;
    std::array<PlayerLayer *, 2> m_layers{}; // owned by the tree; each holds the player of its slot
    int m_active = 0;
    bool m_handOverPending =
        false; // the clip of slot m_active has no picture yet; the other slot shows
    QMetaObject::Connection m_endObserver;
    std::optional<Prepared> m_prepared;
    std::optional<WallOverlays> m_overlays;
    WorkItem m_retry;
};

} // namespace corvella

// What lies over the clips of one wall: a dark band at the bottom, the caption, the attribution and
// the code that leads to the clip's page.
// Main thread only.
#pragma once

#include "platform/layers/TextLayer.h"
#include "platform/time/WorkQueue.h"

#include <QJsonObject>
#include <QString>
#include <QUrl>

#include <optional>

namespace corvella {

class GradientLayer;
class LayerTree;
class QrBox;

class WallOverlays
{
public:
    // Adds its layers on top of the tree's others; the tree must outlive it. Without an attribution
    // there is no code either.
    WallOverlays(LayerTree &tree, const std::optional<QString> &attribution);

    // Names the clip that begins, for a few seconds.
    void showCaption(const QJsonObject &entry);
    // Says what the wall waits for; stays until a clip begins.
    void showWaiting(const QString &text);
    // Cancels what is still to come.
    void stop() { m_captionHide.cancel(); }

    // Places the layers on a wall of this size, in points.
    void layout(QSizeF size);

    // A manifest time stamp made readable in the user's locale and time zone; "?" for none or a bad
    // one.
    [[nodiscard]] static QString pretty(const std::optional<QString> &stamp);
    // The text with the wall's letter spacing.
    [[nodiscard]] static AttributedText spaced(const QString &text);

    [[nodiscard]] const TextLayer &caption() const { return *m_caption; }
    [[nodiscard]] const GradientLayer &scrim() const { return *m_scrim; }
    [[nodiscard]] const TextLayer &attribution() const { return *m_attribution; }
    [[nodiscard]] const QrBox &qrBox() const { return *m_qrBox; }

private:
    void setCaptionOpacity(double caption, double scrim);
    // Draws the code for the link; what cannot be drawn leaves the code that is there.
    void refreshQR();

    LayerTree &m_tree;
    const bool m_hasAttribution;
    std::optional<QUrl> m_link; // the page of the clip that plays
    // Owned by the tree.
    GradientLayer *m_scrim;
    TextLayer *m_caption;
    TextLayer *m_attribution;
    QrBox *m_qrBox;
    WorkItem m_captionHide;
};

} // namespace corvella

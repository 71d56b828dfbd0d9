#include "Wall/WallOverlays.h"

#include "Wall/QrBox.h"
#include "cache/Store.h"
#include "platform/layers/GradientLayer.h"
#include "platform/layers/LayerTree.h"
#include "platform/layers/Transaction.h"
#include "platform/storage/IsoDate.h"

#include <QDateTime>
#include <QFontDatabase>
#include <QLocale>

#include <algorithm>

namespace corvella {

namespace {

using std::chrono::milliseconds;

constexpr MediaTime kCaptionFade = milliseconds(1200);
constexpr MediaTime kCaptionShown = milliseconds(6000);
constexpr double kCaptionOpacity = 0.85;
constexpr double kAttributionOpacity = 0.5;
constexpr double kCodeOpacity = 0.88;
constexpr double kKerning = 1.1; // points

TextLayer *addText(LayerTree &tree, double size)
{
    auto *layer = tree.root().addSublayer(std::make_unique<TextLayer>());
    layer->setFont(QFontDatabase::systemFont(QFontDatabase::GeneralFont), size);
    layer->setOpacity(0);
    return layer;
}

} // namespace

WallOverlays::WallOverlays(LayerTree &tree, const std::optional<QString> &attribution)
    : m_tree(tree)
    , m_hasAttribution(attribution.has_value())
    , m_scrim(tree.root().addSublayer(std::make_unique<GradientLayer>()))
    , m_caption(addText(tree, 15))
    , m_attribution(addText(tree, 12))
    , m_qrBox(tree.root().addSublayer(std::make_unique<QrBox>()))
{
    m_scrim->setColours(QColor::fromRgbF(0, 0, 0, 0.55F), QColor::fromRgbF(0, 0, 0, 0));
    m_scrim->setOpacity(0);
    m_attribution->setAlignment(Qt::AlignRight);
    m_attribution->setShadow({QColor::fromRgbF(0, 0, 0, 0.8F), 2, {0, -1}});
    if (attribution) {
        m_attribution->setText(spaced(*attribution));
        m_attribution->setOpacity(kAttributionOpacity);
    }
}

void WallOverlays::showCaption(const QJsonObject &entry)
{
    m_link = Store::link(entry);
    refreshQR();

    const QString name =
        entry.value(QLatin1String("label")).toString(entry.value(QLatin1String("id")).toString());
    const QJsonValue updated = entry.value(QLatin1String("updated"));
    const QString time =
        pretty(updated.isString() ? std::optional(updated.toString()) : std::nullopt);
    m_caption->setText(spaced(name + QStringLiteral("  ·  48 HR TO ") + time.toUpper()));

    setCaptionOpacity(kCaptionOpacity, 1);
    m_captionHide = m_tree.workQueue().after(kCaptionShown, [this] { setCaptionOpacity(0, 0); });
}

void WallOverlays::showWaiting(const QString &text)
{
    m_captionHide.cancel();
    m_caption->setText(spaced(text));
    m_caption->setOpacity(kCaptionOpacity);
    m_scrim->setOpacity(1);
}

void WallOverlays::refreshQR()
{
    const bool isLaidOut = m_qrBox->frame().width() > 1;
    if (!m_hasAttribution || !m_link || !isLaidOut)
        return;
    const QImage code = qrCode(m_link->toEncoded());
    if (code.isNull())
        return;
    m_qrBox->setCode(code);
    m_qrBox->setOpacity(kCodeOpacity);
}

void WallOverlays::setCaptionOpacity(double caption, double scrim)
{
    const Transaction transaction(m_tree, kCaptionFade);
    m_caption->setOpacity(caption);
    m_scrim->setOpacity(scrim);
}

void WallOverlays::layout(QSizeF size)
{
    const double width = size.width();
    const double height = size.height();
    const double bottom = 0.03 * height;
    const double side = 0.022 * width;
    m_scrim->setFrame({0, 0, width, std::max(0.14 * height, 90.0)});
    m_caption->setFrame({side, bottom, 0.66 * width, 22});
    m_attribution->setFrame({width - side - 0.4 * width, bottom, 0.4 * width, 18});
    const double box = std::max(0.1 * height, 72.0);
    m_qrBox->setFrame({width - side - box, bottom + 26, box, box});
    refreshQR();
}

QString WallOverlays::pretty(const std::optional<QString> &stamp)
{
    const std::optional<QDateTime> time = stamp ? parseIsoDate(*stamp) : std::nullopt;
    if (!time)
        return QStringLiteral("?");
    return QLocale().toString(time->toLocalTime(), QStringLiteral("MMM d, hh:mm AP"));
}

AttributedText WallOverlays::spaced(const QString &text)
{
    return {text, kKerning, Qt::white};
}

} // namespace corvella

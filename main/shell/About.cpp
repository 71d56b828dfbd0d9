#include "shell/About.h"

#include "Preferences/Note.h"
#include "platform/storage/Resources.h"
#include "settings/Build.h"
#include "settings/Hosts.h"
#include "settings/Settings.h"

#include <QIcon>
#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

namespace corvella {

namespace {

constexpr int kIcon = 96; // points
constexpr int kMargin = 28;
constexpr int kGap = 10;
constexpr int kLine = 600;

QLabel *iconLabel(double scale)
{
    auto *const label = new QLabel;
    label->setAlignment(Qt::AlignCenter);
    if (const std::optional<QString> file = resourcePath(QStringLiteral("icon.png"))) {
        QPixmap icon =
            QPixmap(*file).scaledToWidth(static_cast<int>(kIcon * scale), Qt::SmoothTransformation);
        icon.setDevicePixelRatio(scale);
        label->setPixmap(icon);
    }
    return label;
}

QLabel *nameLabel()
{
    auto *const label = new QLabel(QStringLiteral("Corvella"));
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.4);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

QLabel *note(const QString &text, Tone tone)
{
    auto *const label = new Note(tone, kLine, Note::Size::small);
    label->setText(text);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

} // namespace

QString aboutCredits(const QString &makerDomain, const QString &storeHost)
{
    return QStringLiteral("Live solar imagery from NASA's Solar Dynamics Observatory, processed by "
                          "%1.\nBy the same maker: corvella-sun, which draws a Sun of its own from "
                          "its physics.\n%2")
        .arg(makerDomain, storeHost);
}

AboutPanel::AboutPanel()
{
    setWindowTitle(QStringLiteral("About Corvella"));
    setWindowIcon(QIcon(resourcePath(QStringLiteral("icon.png")).value_or(QString())));
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(iconLabel(devicePixelRatioF()));
    layout->addWidget(nameLabel());
    layout->addWidget(note(Build::text(), Tone::tertiary), 0, Qt::AlignHCenter);
    layout->addSpacing(kGap);
    layout->addWidget(note(aboutCredits(Hosts::maker(), Settings::storeHost()), Tone::secondary), 0,
                      Qt::AlignHCenter);
}

} // namespace corvella

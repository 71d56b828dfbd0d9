#include "platform/pictures/SpannedPicture.h"

#include "platform/pictures/FittedPicture.h"
#include "platform/pictures/PictureFile.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/StandardFolders.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>

#include <algorithm>

namespace corvella {

namespace {

// Where the screens lie in the composed picture.
struct Canvas
{
    explicit Canvas(const QList<PictureScreen> &screens)
    {
        QRect all;
        double density = 1;
        for (const PictureScreen &screen : screens) {
            all |= screen.place;
            density = std::max(density, screen.density);
        }
        for (const PictureScreen &screen : screens) {
            const QRectF place = screen.place.translated(-all.topLeft());
            places << QRectF(place.topLeft() * density, place.size() * density).toRect();
        }
        size = (QSizeF(all.size()) * density).toSize();
    }

    QList<QRect> places;
    QSize size;
};

QRect targetOf(QSize picture, const QRect &place, Backdrop::Mode mode)
{
    QRect target = place;
    switch (mode) {
    case Backdrop::Mode::stretched:
        break;
    case Backdrop::Mode::scaled:
        return fittedRect(picture, place);
    case Backdrop::Mode::centred:
        target.setSize(picture);
        break;
    case Backdrop::Mode::zoomed:
    case Backdrop::Mode::spanned:
        target.setSize(picture.scaled(place.size(), Qt::KeepAspectRatioByExpanding));
        break;
    }
    target.moveCenter(place.center());
    return target;
}

// Which screen is where in a picture of ours, as it says itself: later on they may be elsewhere.
const QString kScreens = QStringLiteral("corvella-screens");

QString screensText(const QList<PictureScreen> &screens, const Canvas &canvas)
{
    QJsonObject places;
    for (qsizetype i = 0; i < screens.size(); ++i) {
        const QRect place = canvas.places[i];
        places[screens[i].name] = QJsonArray{place.x(), place.y(), place.width(), place.height()};
    }
    return QString::fromUtf8(QJsonDocument(places).toJson(QJsonDocument::Compact));
}

// Empty when it was not there.
QRect placeIn(const QImage &picture, const QString &screen)
{
    const QJsonDocument places = QJsonDocument::fromJson(picture.text(kScreens).toUtf8());
    const QJsonArray place = places[screen].toArray();
    return QRect(place[0].toInt(), place[1].toInt(), place[2].toInt(), place[3].toInt());
}

// As the desktop itself would draw it there, or nearly.
void drawBackdrop(QPainter &painter, const QString &screen, const QRect &place,
                  const Canvas &canvas, const Backdrop &backdrop)
{
    painter.fillRect(place, backdrop.colour);
    if (backdrop.file.isEmpty())
        return;
    Failure unreadable;
    const QImage picture = readPicture(backdrop.file, unreadable);
    if (unreadable)
        return;
    if (!picture.text(kScreens).isEmpty()) {
        if (const QRect part = placeIn(picture, screen); !part.isEmpty())
            painter.drawImage(place, picture, part);
        return;
    }
    const QRect area =
        backdrop.mode == Backdrop::Mode::spanned ? QRect(QPoint(0, 0), canvas.size) : place;
    painter.save();
    painter.setClipRect(place);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(targetOf(picture.size(), area, backdrop.mode), picture);
    painter.restore();
}

} // namespace

SpannedPicture::SpannedPicture(QString folder)
    : m_folder(std::move(folder))
{
}

QList<Failure> SpannedPicture::compose(const QList<PictureScreen> &screens,
                                       const QList<std::optional<QString>> &files,
                                       const Backdrop &backdrop)
{
    const Canvas canvas(screens);
    QImage image(canvas.size, QImage::Format_RGB32);
    if (image.isNull())
        return QList<Failure>(screens.size(), QStringLiteral("no memory for so large a picture"));
    image.fill(Qt::black);
    image.setText(kScreens, screensText(screens, canvas));
    QList<Failure> failures(screens.size());
    {
        QPainter painter(&image);
        for (qsizetype i = 0; i < screens.size(); ++i) {
            const QImage still = files[i] ? readStill(*files[i], failures[i]) : QImage();
            if (!still.isNull())
                drawFitted(painter, still, canvas.places[i]);
            else
                drawBackdrop(painter, screens[i].name, canvas.places[i], canvas, backdrop);
        }
    }
    if (const Failure failure = write(image))
        return QList<Failure>(screens.size(), failure);
    return failures;
}

Failure SpannedPicture::write(const QImage &canvas)
{
    QBuffer png;
    png.open(QIODevice::WriteOnly);
    canvas.save(&png, "PNG");
    // Desktops that know a file by its name alone are to notice that it is another.
    const QByteArray hash = QCryptographicHash::hash(png.data(), QCryptographicHash::Sha256);
    const QString path = m_folder + QStringLiteral("/spanned-")
        + QString::fromLatin1(hash.toHex().left(16)) + QStringLiteral(".png");
    (void)StandardFolders::make(m_folder);
    const FileResult result = DurableFile::write(path, png.data());
    if (!result.isOk())
        return result.reason;
    m_path = path;
    return {};
}

void SpannedPicture::removeOthers() const
{
    QDir folder(m_folder);
    const QStringList there = folder.entryList({QStringLiteral("spanned-*.png")}, QDir::Files);
    for (const QString &name : there) {
        if (folder.filePath(name) != m_path)
            folder.remove(name);
    }
}

} // namespace corvella

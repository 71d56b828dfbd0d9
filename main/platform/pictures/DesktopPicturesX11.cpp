#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/FittedPicture.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/PictureFile.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/RootPixmap.h"
#include "platform/storage/DurableFile.h"
#include "platform/storage/StandardFolders.h"

#include <QBuffer>
#include <QFile>
#include <QPainter>

namespace corvella {

namespace {

const QString kX11 = idOf(PictureDesktop::x11);
const QString kPicture = QStringLiteral("picture");
const QString kColour = QStringLiteral("colour");

// Where no desktop lies over the root window. Each screen is a part of its one picture.
class DesktopPicturesX11 final : public DesktopPictures
{
public:
    explicit DesktopPicturesX11(const QString &folder)
        : m_folder(folder)
    {
    }

    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        if (firstStateOf(kX11, known))
            return {QStringList(screens.size()), {}};
        const x11::RootPixmap root;
        if (!root.isUsable())
            return {{}, noServer()};
        QJsonObject state;
        if (const QImage picture = root.picture(); !picture.isNull()) {
            // Nobody else can be counted on to have it still.
            if (const Failure failure = keep(picture))
                return {{}, failure};
            state[kPicture] = keptFile();
        } else {
            state[kColour] = root.colour().name();
        }
        return {QStringList(screens.size(), stateText(kX11, state)), {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        return draw(screens, files, readStill);
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        if (const std::optional<QJsonObject> state = firstStateOf(kX11, texts))
            return putBack(*state);
        QList<std::optional<QString>> files(screens.size());
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i)
            files[i] = fileOfUrl(texts[i]);
        if (files.count(std::nullopt) < files.size())
            (void)draw(screens, files, readPicture);
    }

private:
    static QString noServer()
    {
        return QStringLiteral("the X server does not answer, or has colours of another kind");
    }

    QString keptFile() const { return m_folder + QStringLiteral("/root.png"); }

    Failure keep(const QImage &picture) const
    {
        QBuffer png;
        png.open(QIODevice::WriteOnly);
        if (!picture.save(&png, "PNG"))
            return QStringLiteral("the root picture cannot be read");
        (void)StandardFolders::make(m_folder);
        const FileResult result = DurableFile::write(keptFile(), png.data());
        return result.isOk() ? Failure() : Failure(result.reason);
    }

    static QList<Failure> draw(const QList<PictureScreen> &screens,
                               const QList<std::optional<QString>> &files,
                               QImage (*readFile)(const QString &, Failure &))
    {
        x11::RootPixmap root;
        if (!root.isUsable())
            return QList<Failure>(screens.size(), noServer());
        QImage canvas = presentCanvas(root);
        QList<Failure> failures(screens.size());
        {
            QPainter painter(&canvas);
            for (qsizetype i = 0; i < screens.size(); ++i) {
                const QImage picture = files[i] ? readFile(*files[i], failures[i]) : QImage();
                if (!picture.isNull())
                    drawFitted(painter, picture, screens[i].place);
            }
        }
        if (const Failure failure = root.setPicture(canvas))
            return QList<Failure>(screens.size(), failure);
        return failures;
    }

    // What is there, so that a screen that gets no picture keeps its own.
    static QImage presentCanvas(const x11::RootPixmap &root)
    {
        const QImage picture = root.picture();
        QImage canvas(root.size(), QImage::Format_RGB32);
        canvas.fill(picture.isNull() ? root.colour() : QColor(Qt::black));
        QPainter(&canvas).drawImage(0, 0, picture);
        return canvas;
    }

    void putBack(const QJsonObject &state)
    {
        x11::RootPixmap root;
        if (!root.isUsable())
            return;
        if (state.contains(kColour)) {
            root.setColour(QColor(state[kColour].toString()));
            return;
        }
        // Once it is put back there is none; nobody may have had the time to forget that.
        Failure unreadable;
        const QImage picture = readPicture(keptFile(), unreadable);
        if (unreadable)
            return;
        (void)root.setPicture(picture.copy(QRect(QPoint(0, 0), root.size())));
        QFile::remove(keptFile());
    }

    const QString m_folder;
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesX11(const QString &folder)
{
    return std::make_unique<DesktopPicturesX11>(folder);
}

} // namespace corvella

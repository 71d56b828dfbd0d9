#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/ServiceCall.h"
#include "platform/pictures/SpannedPicture.h"
#include "platform/storage/StandardFolders.h"

#include <QSettings>

namespace corvella {

namespace {

const QString kDesktop = idOf(PictureDesktop::lxqt);
const QString kWallpaper = QStringLiteral("Wallpaper");
const QString kMode = QStringLiteral("WallpaperMode");
const QString kNoPicture = QStringLiteral("none"); // a mode

Failure setWallpaper(const QString &file, const QString &mode)
{
    const QString service = QStringLiteral("org.pcmanfm.PCManFM");
    return ask(serviceCall(service, QStringLiteral("/Application"),
                           QStringLiteral("org.pcmanfm.Application"),
                           QStringLiteral("setWallpaper"), {file, mode}))
        .failure;
}

// The file manager's desktop: one picture over all monitors. It tells nobody what it has, but
// writes it down.
class DesktopPicturesLxqt final : public DesktopPictures
{
public:
    explicit DesktopPicturesLxqt(const QString &folder)
        : m_folder(folder)
    {
    }

    Reach reach() const override { return Reach::allScreens; }

    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        if (firstStateOf(kDesktop, known))
            return {QStringList(screens.size()), {}};
        return {QStringList(screens.size(), stateText(kDesktop, written())), {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        SpannedPicture picture(m_folder);
        QList<Failure> failures = picture.compose(screens, files, backdrop());
        if (picture.path().isEmpty())
            return failures;
        if (const Failure failure = setWallpaper(picture.path(), QStringLiteral("stretch")))
            return QList<Failure>(screens.size(), failure);
        picture.removeOthers();
        return failures;
    }

    void putBack(const QList<PictureScreen> & /*screens*/, const QStringList &texts) override
    {
        if (const std::optional<QJsonObject> state = firstStateOf(kDesktop, texts)) {
            (void)setWallpaper((*state)[kWallpaper].toString(), (*state)[kMode].toString());
            return;
        }
        for (const QString &text : texts) {
            if (const std::optional<QString> file = fileOfUrl(text)) {
                (void)setWallpaper(*file, QStringLiteral("zoom"));
                return;
            }
        }
    }

private:
    static QJsonObject written()
    {
        QSettings settings(StandardFolders::config()
                               + QStringLiteral("/pcmanfm-qt/lxqt/settings.conf"),
                           QSettings::IniFormat);
        settings.beginGroup(QStringLiteral("Desktop"));
        return {{kWallpaper, settings.value(kWallpaper).toString()},
                {kMode, settings.value(kMode, kNoPicture).toString()}};
    }

    static Backdrop backdrop()
    {
        const QJsonObject settings = written();
        Backdrop backdrop;
        const QString mode = settings[kMode].toString();
        if (mode == kNoPicture)
            return backdrop;
        backdrop.file = settings[kWallpaper].toString();
        if (mode == u"stretch") // over all screens; ours is of their size
            backdrop.mode = Backdrop::Mode::spanned;
        else if (mode == u"fit")
            backdrop.mode = Backdrop::Mode::scaled;
        else if (mode == u"center")
            backdrop.mode = Backdrop::Mode::centred;
        return backdrop;
    }

    const QString m_folder;
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesLxqt(const QString &folder)
{
    return std::make_unique<DesktopPicturesLxqt>(folder);
}

} // namespace corvella

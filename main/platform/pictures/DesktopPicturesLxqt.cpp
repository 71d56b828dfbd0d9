#include "platform/pictures/DesktopChoice.h"
#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/ServiceCall.h"
#include "platform/pictures/SpannedPicture.h"
#include "platform/storage/StandardFolders.h"

#include <QSettings>

namespace corvella {

namespace {

const QString kLxqt = idOf(PictureDesktop::lxqt);
const QString kWallpaper = QStringLiteral("Wallpaper");
const QString kNoPicture = QStringLiteral("none"); // a mode

Failure setWallpaper(const QString &file, const QString &mode)
{
    return ask(serviceCall(QStringLiteral("org.pcmanfm.PCManFM"), QStringLiteral("/Application"),
                           QStringLiteral("org.pcmanfm.Application"),
                           QStringLiteral("setWallpaper"), {file, mode}))
        .failure;
}

// The file manager's desktop: one picture over all monitors. It tells nobody what it has, but
// writes it down: the picture that it is told to show, but not how. So the user's way to show
// pictures is left alone: one of the size of all screens looks the same in each.
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
        if (firstStateOf(kLxqt, known))
            return {QStringList(screens.size()), {}};
        return {QStringList(screens.size(), stateText(kLxqt, {{kWallpaper, written().wallpaper}})),
                {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        SpannedPicture picture(m_folder);
        QList<Failure> failures = picture.compose(screens, files, backdrop());
        if (picture.path().isEmpty())
            return failures;
        const bool showsNone = written().mode == kNoPicture;
        const QString mode = showsNone ? QStringLiteral("stretch") : QString();
        if (const Failure failure = setWallpaper(picture.path(), mode))
            return QList<Failure>(screens.size(), failure);
        picture.removeOthers();
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        if (const std::optional<QJsonObject> state = firstStateOf(kLxqt, texts)) {
            if (written().mode == kNoPicture)
                showNone(screens);
            else
                (void)setWallpaper((*state)[kWallpaper].toString(), QString());
            return;
        }
        for (const QString &text : texts) {
            if (const std::optional<QString> file = fileOfUrl(text)) {
                (void)setWallpaper(*file, QStringLiteral("fit"));
                return;
            }
        }
    }

private:
    // There is no name for no picture. The bare colour looks like it, and is gone at its next
    // start.
    void showNone(const QList<PictureScreen> &screens) const
    {
        SpannedPicture picture(m_folder);
        const QList<std::optional<QString>> nothing(screens.size());
        (void)picture.compose(screens, nothing, {.file = {}, .colour = written().colour});
        if (!picture.path().isEmpty() && !setWallpaper(picture.path(), QString()))
            picture.removeOthers();
    }

    struct Written
    {
        QString wallpaper;
        QString mode;
        QColor colour;
    };

    static Written written()
    {
        QSettings settings(StandardFolders::config()
                               + QStringLiteral("/pcmanfm-qt/lxqt/settings.conf"),
                           QSettings::IniFormat);
        settings.beginGroup(QStringLiteral("Desktop"));
        return {settings.value(kWallpaper).toString(),
                settings.value(QStringLiteral("WallpaperMode"), kNoPicture).toString(),
                QColor(settings.value(QStringLiteral("BgColor")).toString())};
    }

    static Backdrop backdrop()
    {
        const auto [wallpaper, mode, colour] = written();
        Backdrop backdrop;
        backdrop.colour = colour;
        if (mode == kNoPicture)
            return backdrop;
        backdrop.file = wallpaper;
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

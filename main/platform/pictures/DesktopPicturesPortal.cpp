#include "platform/pictures/DesktopPicturesPortal.h"

#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"
#include "platform/pictures/ServiceCall.h"
#include "platform/pictures/SpannedPicture.h"

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QTimer>
#include <QUuid>

namespace corvella {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Wallpaper");

// Where the portal says how a request ended, known before it is made so that no answer is missed.
QString requestPath(const QString &token)
{
    const QString us = QDBusConnection::sessionBus().baseService().mid(1).replace(u'.', u'_');
    return kPath + QStringLiteral("/request/") + us + u'/' + token;
}

// The portal takes one picture, asks nobody how it is to be fitted, and does not tell what there
// is.
class DesktopPicturesPortal final : public DesktopPictures
{
public:
    explicit DesktopPicturesPortal(const QString &folder)
        : m_folder(folder)
    {
    }

    Reach reach() const override { return Reach::allScreens; }

    Present present(const QList<PictureScreen> &screens, const QStringList & /*known*/) override
    {
        return {QStringList(screens.size(), QString()), {}};
    }

    // The first picture, at its screen's size.
    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        const auto given =
            std::find_if(files.begin(), files.end(), [](const auto &file) { return bool(file); });
        if (given == files.end())
            return QList<Failure>(screens.size());
        const qsizetype first = given - files.begin();
        QList<Failure> failures(screens.size(),
                                QStringLiteral("the desktop portal shows one picture for all"));
        SpannedPicture picture(m_folder);
        failures[first] = picture.compose({screens[first]}, {files[first]}, {}).first();
        if (!failures[first])
            failures[first] = set(picture.path());
        if (!failures[first])
            picture.removeOthers();
        return failures;
    }

    void putBack(const QList<PictureScreen> & /*screens*/, const QStringList &texts) override
    {
        for (const QString &text : texts) {
            if (const std::optional<QString> file = fileOfUrl(text)) {
                (void)set(*file);
                return;
            }
        }
    }

private:
    static Failure set(const QString &path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return file.errorString();
        const QString token =
            QStringLiteral("corvella") + QUuid::createUuid().toString(QUuid::Id128);
        PortalResponse response(requestPath(token));
        const QVariantMap options{{QStringLiteral("handle_token"), token},
                                  {QStringLiteral("show-preview"), false},
                                  {QStringLiteral("set-on"), QStringLiteral("background")}};
        const ServiceAnswer answer = ask(serviceCall(
            kService, kPath, kInterface, QStringLiteral("SetWallpaperFile"),
            {QString(), QVariant::fromValue(QDBusUnixFileDescriptor(file.handle())), options}));
        return answer.failure ? answer.failure : response.wait();
    }

    const QString m_folder;
};

} // namespace

PortalResponse::PortalResponse(const QString &path)
{
    QDBusConnection::sessionBus().connect(
        kService, path, QStringLiteral("org.freedesktop.portal.Request"),
        QStringLiteral("Response"), this, SLOT(take(uint, QVariantMap)));
}

Failure PortalResponse::wait()
{
    constexpr std::chrono::seconds kPatience{5}; // somebody may have to be asked
    QTimer::singleShot(kPatience, &m_loop, &QEventLoop::quit);
    if (!m_code)
        m_loop.exec();
    if (!m_code)
        return QStringLiteral("nobody has allowed it");
    return *m_code == 0 ? Failure() : QStringLiteral("the desktop portal refuses");
}

void PortalResponse::take(uint code, const QVariantMap & /*results*/)
{
    m_code = code;
    m_loop.quit();
}

bool portalSetsPictures()
{
    return !ask(serviceCall(kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                            QStringLiteral("Get"), {kInterface, QStringLiteral("version")}))
                .failure;
}

std::unique_ptr<DesktopPictures> createDesktopPicturesPortal(const QString &folder)
{
    return std::make_unique<DesktopPicturesPortal>(folder);
}

} // namespace corvella

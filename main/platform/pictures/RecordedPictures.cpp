#include "platform/pictures/PictureBackEnds.h"

#include <QMap>
#include <QUrl>

namespace corvella {

namespace {

class RecordedPictures final : public DesktopPictures
{
public:
    Reach reach() const override { return Reach::nothing; }

    Present present(const QList<PictureScreen> &screens, const QStringList & /*known*/) override
    {
        Present present;
        for (const PictureScreen &screen : screens)
            present.texts << m_pictures.value(screen.name);
        return present;
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        for (qsizetype i = 0; i < screens.size(); ++i) {
            if (files[i])
                m_pictures[screens[i].name] =
                    QUrl::fromLocalFile(*files[i]).toString(QUrl::FullyEncoded);
        }
        return QList<Failure>(screens.size());
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i) {
            if (!texts[i].isEmpty())
                m_pictures[screens[i].name] = texts[i];
        }
    }

private:
    QMap<QString, QString> m_pictures; // by screen name: URLs
};

} // namespace

std::unique_ptr<DesktopPictures> createRecordedPictures()
{
    return std::make_unique<RecordedPictures>();
}

} // namespace corvella

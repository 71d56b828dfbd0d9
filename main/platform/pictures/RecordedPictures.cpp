#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"

#include <QMap>
#include <QUrl>

namespace corvella {

namespace {

class RecordedPictures final : public DesktopPictures
{
public:
    Reach reach() const override { return Reach::nothing; }

    // Once something is known, what is kept here is ours.
    Present present(const QList<PictureScreen> &screens, const QStringList &known) override
    {
        Present present{QStringList(screens.size()), {}};
        for (qsizetype i = 0; i < screens.size() && known.isEmpty(); ++i)
            present.texts[i] = m_pictures.value(screens[i].name);
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
        m_pictures.clear(); // those are ours
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i) {
            if (fileOfUrl(texts[i]))
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

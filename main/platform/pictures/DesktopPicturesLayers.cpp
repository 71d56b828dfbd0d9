#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

namespace corvella {

namespace {

// How long a new picture may take to be there before the last one goes.
constexpr int kToBegin = 1000; // milliseconds

// A program of ours shows the pictures above those that the user's own shows, on the compositor's
// lowest layer. They go with it, and thus with this program: then the user's are to be seen again.
class DesktopPicturesLayers final : public DesktopPictures
{
public:
    ~DesktopPicturesLayers() override { end(std::move(m_process)); }

    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList & /*known*/) override
    {
        return {QStringList(screens.size(), QString()), {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        QStringList arguments;
        for (qsizetype i = 0; i < screens.size(); ++i) {
            if (files[i])
                arguments << QStringLiteral("-o") << screens[i].name << QStringLiteral("-i")
                          << *files[i] << QStringLiteral("-m") << QStringLiteral("fit")
                          << QStringLiteral("-c") << QStringLiteral("#000000");
        }
        if (arguments.isEmpty())
            return QList<Failure>(screens.size());
        return QList<Failure>(screens.size(), start(arguments));
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        QList<std::optional<QString>> files(screens.size());
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i)
            files[i] = fileOfUrl(texts[i]);
        if (files.count(std::nullopt) == files.size())
            end(std::move(m_process));
        else
            (void)show(screens, files);
    }

private:
    Failure start(const QStringList &arguments)
    {
        auto next = std::make_unique<QProcess>();
        next->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        next->setStandardOutputFile(QProcess::nullDevice());
        next->setStandardErrorFile(QProcess::nullDevice());
        next->start(QStringLiteral("swaybg"), arguments);
        if (!next->waitForStarted())
            return QStringLiteral("swaybg does not start: ") + next->errorString();
        if (next->waitForFinished(kToBegin))
            return QStringLiteral("swaybg cannot show it here");
        end(std::exchange(m_process, std::move(next)));
        return {};
    }

    static void end(std::unique_ptr<QProcess> process)
    {
        if (!process)
            return;
        process->terminate();
        if (!process->waitForFinished(kToBegin))
            process->kill();
        process->waitForFinished(kToBegin);
    }

    std::unique_ptr<QProcess> m_process;
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesLayers()
{
    return std::make_unique<DesktopPicturesLayers>();
}

} // namespace corvella

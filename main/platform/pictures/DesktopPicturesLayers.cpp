#include "platform/pictures/PictureBackEnds.h"
#include "platform/pictures/RememberedState.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <csignal>
#include <map>
#include <sys/prctl.h>

namespace corvella {

namespace {

// How long a new picture may take to be there before the last one goes.
constexpr int kToBegin = 1000; // milliseconds

// Programs of ours, one per screen so that one can stay while another changes, show the pictures
// above those that the user's own shows, on the compositor's lowest layer. They go with them, and
// thus with this program: then the user's are to be seen again.
class DesktopPicturesLayers final : public DesktopPictures
{
public:
    ~DesktopPicturesLayers() override { endAllBut({}); }

    Reach reach() const override { return Reach::eachScreen; }

    Present present(const QList<PictureScreen> &screens, const QStringList & /*known*/) override
    {
        return {QStringList(screens.size(), QString()), {}};
    }

    QList<Failure> show(const QList<PictureScreen> &screens,
                        const QList<std::optional<QString>> &files) override
    {
        std::map<qsizetype, std::unique_ptr<QProcess>> next;
        for (qsizetype i = 0; i < screens.size(); ++i) {
            if (files[i])
                next[i] = start(screens[i].name, *files[i]);
        }
        QList<Failure> failures(screens.size());
        const QDeadlineTimer begun(kToBegin);
        for (auto &[i, process] : next) {
            failures[i] = failureOf(*process, begun);
            if (!failures[i])
                end(std::exchange(m_processes[screens[i].name], std::move(process)));
        }
        return failures;
    }

    void putBack(const QList<PictureScreen> &screens, const QStringList &texts) override
    {
        QList<std::optional<QString>> files(screens.size());
        QStringList given;
        for (qsizetype i = 0; i < std::min(screens.size(), texts.size()); ++i) {
            files[i] = fileOfUrl(texts[i]);
            if (files[i])
                given << screens[i].name;
        }
        (void)show(screens, files);
        endAllBut(given);
    }

private:
    static std::unique_ptr<QProcess> start(const QString &screen, const QString &file)
    {
        auto process = std::make_unique<QProcess>();
        process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        process->setStandardOutputFile(QProcess::nullDevice());
        process->setStandardErrorFile(QProcess::nullDevice());
        process->start(QStringLiteral("swaybg"),
                       {QStringLiteral("-o"), screen, QStringLiteral("-i"), file,
                        QStringLiteral("-m"), QStringLiteral("fit"), QStringLiteral("-c"),
                        QStringLiteral("#000000")});
        return process;
    }

    static Failure failureOf(QProcess &process, const QDeadlineTimer &begun)
    {
        if (!process.waitForStarted())
            return QStringLiteral("swaybg does not start: ") + process.errorString();
        const auto left = static_cast<int>(begun.remainingTime());
        if (process.state() == QProcess::NotRunning || process.waitForFinished(left))
            return QStringLiteral("swaybg cannot show it here");
        return {};
    }

    void endAllBut(const QStringList &kept)
    {
        for (auto &[screen, process] : m_processes) {
            if (!kept.contains(screen))
                end(std::move(process));
        }
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

    std::map<QString, std::unique_ptr<QProcess>> m_processes; // by screen
};

} // namespace

std::unique_ptr<DesktopPictures> createDesktopPicturesLayers()
{
    return std::make_unique<DesktopPicturesLayers>();
}

} // namespace corvella

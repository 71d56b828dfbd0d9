// Keeps a copy of the program current: looks for updates once a day and when asked, has them lie
// ready, and installs them when its delegate says so, or else when the program ends. All that waits
// happens on a thread of its own. Main thread only.
#pragma once

#include "platform/threads/BackgroundWork.h"
#include "platform/update/UpdatePreparation.h"

#include <QObject>
#include <QTimer>

#include <memory>

namespace corvella {

class UpdaterController : public QObject
{
    Q_OBJECT

public:
    // What the owner decides. Called on the main thread.
    struct Delegate
    {
        // Where the feed is; asked before each check.
        std::function<QString()> feedUrl;
        // Which further channels the user takes updates from.
        std::function<QStringList()> channels;
        // Why there must be no check now, in words for people; none when there may be one.
        std::function<std::optional<QString>()> refusal;
        // An update lies ready, and is installed when the program ends at the latest. True when the
        // delegate sees to it that `installNow` is called before that, or has called it.
        std::function<bool(const QString &version, std::function<void()> installNow)>
            willInstallUpdateOnQuit;
    };
    struct Surroundings
    {
        QString executable; // of the copy that is to be kept current, links resolved
        QByteArray key;     // base64; empty: nobody is trusted
        std::function<QDateTime()> now = &QDateTime::currentDateTimeUtc; // any thread
    };

    UpdaterController(const Surroundings &surroundings, Delegate delegate);
    ~UpdaterController() override;

    // Checks when a check is due, from now on. What is found is downloaded and made ready without a
    // word.
    void start();
    // Such a check now, when it is due.
    void checkIfDue();
    // The same at once, due or not.
    void checkInBackground();
    // Somebody asks. What is found is offered() first. The signals tell how it goes.
    void checkForUpdates();
    // Goes on with what was offered.
    void accept();
    // Switches to the update that lies ready, and asks the program to end and to be relaunched.
    void installNow();
    // The program ends: stops what is under way, and installs what lies ready.
    void terminate();

    // What is to be started in this program's place when it has ended; none unless an update was
    // installed by installNow().
    [[nodiscard]] std::optional<QString> relaunch() const { return m_relaunch; }
    // The version that runs; empty when this copy does not say.
    [[nodiscard]] QString runningVersion() const;

Q_SIGNALS:
    void checking();
    // For a check that somebody asked for. `notes` is somebody else's text, not markup.
    void offered(const QString &version, const QString &notes);
    void downloading(qint64 done, qint64 total); // bytes
    void preparing();                            // all is there; it is verified, unpacked and tried
    void ready(const QString &version);
    void upToDate();
    // `reason` is for a log.
    void failed(corvella::UpdateFault fault, const QString &reason);
    // The delegate does not want a check; its words.
    void refused(const QString &text);
    // installNow() has done its part: the program is to end now.
    void endRequested();

private:
    // How a check was asked for.
    enum class Asked { daily, atOnce, byHand };
    struct Ready
    {
        QString version;
        qint64 build = 0;
    };

    [[nodiscard]] std::shared_ptr<UpdatePreparation> newPreparation() const;
    void check(Asked asked);
    void found(Asked asked, const UpdatePreparation::Finding &finding);
    void prepare(const AppcastItem &item);
    void downloaded(qint64 done, qint64 total);
    void prepared(const AppcastItem &item, const UpdatePreparation::Result &result);
    void fail(const UpdatePreparation::Result &result);
    void confirmStart();
    // Why this copy cannot update itself at all.
    [[nodiscard]] UpdateFault obstacle() const;

    const Installation m_installation;
    const std::optional<PublicKey> m_key;
    const std::function<QDateTime()> m_now;
    const Delegate m_delegate;
    QTimer m_started; // until this build counts as started
    QTimer m_hourly;
    BackgroundWork m_background{1};
    std::shared_ptr<UpdatePreparation> m_preparation; // what is under way
    bool m_knowsFeed = false;                         // since the program was started
    bool m_isAskedMeanwhile = false; // somebody asks while an automatic check is under way
    std::optional<AppcastItem> m_offer;
    std::optional<Ready> m_ready;
    std::optional<QString> m_relaunch;
    // Has failed its own test here so often: once may have been the machine's fault, after the
    // second time it is not downloaded again unless somebody asks.
    qint64 m_failingBuild = 0;
    int m_failures = 0;
    QString m_lastComplaint; // what the log has been told already
};

} // namespace corvella

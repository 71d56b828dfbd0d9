// Software updates: where they are looked for, whether they may be, and when one that lies ready is
// installed: at once, at night, or when the program quits. Main thread only.
#pragma once

#include "platform/update/UpdaterController.h"

#include <QDateTime>
#include <QObject>
#include <QTimeZone>
#include <QTimer>

#include <functional>
#include <memory>

namespace corvella {

class UpdateWindow;

class Updater : public QObject
{
    Q_OBJECT

public:
    enum class When {
        now,       // at once, with a relaunch
        overnight, // at the kiosk's update hour
        onQuit,    // when the program quits
    };
    // What an Updater needs of the machine; the defaults are the program's own.
    struct Surroundings
    {
        std::function<QDateTime()> now = &QDateTime::currentDateTimeUtc; // any thread
        QString executable = {};
        QByteArray key = {};
        QString feed = {};
        // Ends the program in order.
        std::function<void()> quit = {};
    };

    // The program's own, made at the first call.
    static Updater &shared();
    explicit Updater(Surroundings surroundings);
    ~Updater() override;

    // The rule for when an update is installed; asked each time that one lies ready.
    std::function<When()> when = [] { return When::onQuit; };

    // Begins to look for updates, once a day; at once where "checkUpdatesNow" says so.
    void start();
    // The machine has slept, and the timers have counted none of it: does what is due by now.
    void lookAfterSleep();
    // The menu's "Check for Updates…": looks now and tells in a window what it found.
    void checkNow();
    // The program quits: installs what lies ready, and lets all windows go.
    void applicationWillTerminate();
    // The same, but installs nothing: the program comes back at once, as the build that it is, and
    // what lies ready goes on waiting for its moment.
    void stop();
    // Once the application object is gone: starts the version that was installed, if one was, in
    // this process and with these arguments. Returns only when there is none.
    void relaunchIfInstalled(const QStringList &arguments) const;

    // The next moment at or after `after` at which a kiosk may restart: `after` itself between
    // 03:00 and 04:59:59 in this zone, else the next 03:00 (or what the clocks jump to where there
    // is none).
    [[nodiscard]] static QDateTime quietHour(const QDateTime &after, const QTimeZone &zone);

    // An update lies ready. True when it is installed by us, at once or at night; false leaves it
    // to the end of the program.
    bool willInstallUpdateOnQuit(const QString &version, std::function<void()> installNow);
    // What the timer of the night does when it fires; tests call it, too.
    void nightlyFired();

    // The window, once it was needed.
    [[nodiscard]] UpdateWindow *window() const { return m_window.get(); }

private:
    void scheduleOvernight(const QString &version);
    void installIfStillQuiet(const QString &version);
    void install(const QString &version);
    void waitUntilNight();
    [[nodiscard]] QTimeZone zone();
    [[nodiscard]] QDateTime nextQuietHour();
    void buildWindow();
    void tellReady(const QString &version);

    const Surroundings m_surroundings;
    std::unique_ptr<UpdaterController> m_controller;
    std::unique_ptr<UpdateWindow> m_window;
    std::function<void()>
        m_pending; // installs the update that waits for the night; none: nothing waits
    QTimer m_nightly;
    QDateTime m_installAt; // when the timer is meant to fire
    bool m_isZoneMissed = false;
    QString m_nightlyVersion;
    std::optional<QString> m_relaunch;
};

} // namespace corvella

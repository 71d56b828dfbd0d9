// Entry point: reads the command line once, does a one-shot job and ends, or hands over to the
// application.
#include "Preferences/Preferences.h"
#include "cache/Cache.h"
#include "desktop/Desktop.h"
#include "desktop/DesktopUpdater.h"
#include "log.h"
#include "platform/layers/RendererKind.h"
#include "platform/session/DisplayServer.h"
#include "platform/session/DisplaySleep.h"
#include "platform/session/HungBuses.h"
#include "platform/session/IdleClock.h"
#include "platform/session/LostBus.h"
#include "platform/session/LostDisplay.h"
#include "platform/session/MachineSleep.h"
#include "platform/session/Presentation.h"
#include "platform/session/Screens.h"
#include "platform/session/SingleInstance.h"
#include "platform/session/TerminationSignals.h"
#include "platform/storage/BuildIdentity.h"
#include "platform/storage/Resources.h"
#include "platform/storage/StandardFolders.h"
#include "platform/time/MediaClock.h"
#include "platform/update/Relaunch.h"
#include "platform/video/ClipMemory.h"
#include "platform/video/VideoPlayer.h"
#include "settings/Settings.h"
#include "shell/App.h"
#include "shell/CommandLine.h"
#include "shell/SelfTest.h"
#include "updater/Updater.h"

#include <QApplication>
#include <QSessionManager>
#include <QThreadPool>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <sysexits.h>

using namespace corvella;

namespace {

// How the event loop ends where the program is to be started anew, and what the program ends with
// where that fails.
constexpr int kAnew = 75;

// How long what reads clips is kept for a wall that does not play yet.
constexpr std::chrono::seconds kKeptLoaded{10};

CommandLine readCommandLine(int argc, char **argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    return CommandLine::parse(args);
}

// --refresh and --prime: no window, no event loop, and through when the imagery is there.
int refresh(int &argc, char **argv, bool everything)
{
    const QCoreApplication application(argc, argv);
    Cache::seedIfEmpty();
    if (everything)
        Cache::pass(true, true, true);
    else
        Cache::refresh();
    return EXIT_SUCCESS;
}

// The exit status of a second start.
int leaveItToTheOther(SingleInstance::Outcome outcome)
{
    if (outcome == SingleInstance::Outcome::handedOver) {
        log(QStringLiteral("already running; told the other one"));
        return EXIT_SUCCESS;
    }
    log(QStringLiteral("already running, but the other one does not answer"));
    return EX_UNAVAILABLE;
}

// `toGoOn` gets the arguments with which the program is to be started anew.
int runApplication(int &argc, char **argv, const CommandLine &commandLine, QStringList &toGoOn)
{
    std::optional<const ConnectingToDisplay> connecting(std::in_place);
    if (!chooseDisplayServer())
        return EX_UNAVAILABLE;
    const HungBuses hungBuses;
    std::shared_ptr<const void> loaded =
        App::showsAtOnce(commandLine) ? VideoPlayer::loadAhead() : nullptr;
    const LostDisplay lostDisplay;
    QApplication app(argc, argv);
    // Qt paints large shapes on these threads and waits for them. More than one gains nothing, and
    // how many come to stay, with their stacks, would be chance. It is made now, and for good,
    // since one that could not be made later would be waited for without end.
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    QThreadPool::globalInstance()->setExpiryTimeout(-1);
    QThreadPool::globalInstance()->start([] {});
    // By then the walls that play keep it themselves.
    QTimer::singleShot(kKeptLoaded, &app, [loaded = std::move(loaded)] {});
    QApplication::setApplicationName(QStringLiteral("Corvella"));
    QGuiApplication::setDesktopFileName(QStringLiteral("space.tarrow.corvella"));
    QApplication::setQuitOnLastWindowClosed(false);

    // Whether it starts with the session is the login item's affair: a desktop that brings back
    // what ran at the last one's end would start it twice.
    QObject::connect(&app, &QGuiApplication::saveStateRequest, [](QSessionManager &session) {
        session.setRestartHint(QSessionManager::RestartNever);
    });
    (void)BuildIdentity::running(); // while the files are this build's
    VideoPlayer::holdReader();
    SingleInstance instance;
    const SingleInstance::Outcome outcome = instance.claim(commandLine.wordForTheOther());
    if (outcome != SingleInstance::Outcome::first)
        return leaveItToTheOther(outcome);
    if (commandLine.action == u"quit")
        return EXIT_SUCCESS; // nobody is there who could

    connecting.reset(); // Qt's thread for message buses is there, too

    const LostBus lostBus(hungBuses);
    const TerminationSignals signals;
    QObject::connect(&signals, &TerminationSignals::received, &app, &QApplication::quit);
    Screens screens;
    const std::unique_ptr<IdleClock> idleClock = IdleClock::create();
    const std::unique_ptr<Presentation> presentation = Presentation::create();
    const SteadyMediaClock clock;
    const std::unique_ptr<DisplaySleep> displaySleep = DisplaySleep::create();
    DesktopUpdater desktop([&screens] { return pictureScreens(screens.list()); },
                           DesktopPictures::create(StandardFolders::applicationSupport()
                                                   + QStringLiteral("/Corvella/composed")));
    Desktop::setUpdater(&desktop);
    App delegate({screens, *idleClock, *presentation, clock, rendererKind(),
                  &PowerAssertion::create, [&displaySleep] { displaySleep->begin(); }});
    QObject::connect(&app, &QApplication::aboutToQuit, &delegate, &App::applicationWillTerminate);
    QObject::connect(&instance, &SingleInstance::activated, &delegate, &App::perform);
    const MachineSleep machineSleep;
    QObject::connect(&machineSleep, &MachineSleep::ended, &delegate, &App::lookAfterSleep);
    delegate.applicationDidFinishLaunching(commandLine);
    // All that goes over a bus is asked for anew by a program that is started anew.
    QObject::connect(&lostBus, &LostBus::returned, &delegate, [&] {
        log(QStringLiteral("message bus is back; starting anew"));
        delegate.storeLostMode();
        toGoOn = commandLine.toGoOn(delegate.isShowing(), delegate.isArmedWaiting());
        Updater::shared().stop(); // this is no end at which an update may be installed
        QApplication::exit(kAnew);
    });
    return QApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    keepTheHeapSmall();
    outliveFailedWrites();
    const CommandLine commandLine = readCommandLine(argc, argv);
    argc = std::min(argc, 1); // Qt has options of its own, which would count
    if (commandLine.selfTest) {
        runSelfTest();
        return EXIT_SUCCESS;
    }
    if (commandLine.refreshOnly || commandLine.primeOnly)
        return refresh(argc, argv, !commandLine.refreshOnly);
    QStringList toGoOn;
    const int status = runApplication(argc, argv, commandLine, toGoOn);
    // A session that ends meanwhile wants no program back.
    if (TerminationSignals::wereReceived())
        return status;
    Updater::shared().relaunchIfInstalled(commandLine.afterUpdate(Settings::mode()));
    if (status == kAnew)
        relaunch(executablePath(), toGoOn);
    return status;
}

#include "platform/session/DisplayServer.h"

#include "log.h"
#include "platform/session/XcbConnection.h"

#include <QDir>
#include <QFile>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace corvella {

namespace {

constexpr const char *kPlatformVariable = "QT_QPA_PLATFORM";

bool socketAnswers(const QByteArray &path)
{
    sockaddr_un address{};
    if (path.isEmpty() || static_cast<size_t>(path.size()) >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::copy(path.begin(), path.end(), address.sun_path);
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const bool answers =
        ::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(descriptor);
    return answers;
}

bool waylandAnswers()
{
    const QByteArray display = qgetenv("WAYLAND_DISPLAY");
    if (display.isEmpty())
        return false;
    return socketAnswers(display.startsWith('/') ? display
                                                 : qgetenv("XDG_RUNTIME_DIR") + '/' + display);
}

} // namespace

DisplayFacts DisplayFacts::gather()
{
    DisplayFacts facts;
    facts.waylandSocketAnswers = waylandAnswers();
    // Not asked where a compositor answers, which would have to start one first.
    facts.xServerAnswers = !facts.waylandSocketAnswers && !qEnvironmentVariableIsEmpty("DISPLAY")
        && x11::connectToServer() != nullptr;
    facts.hasKmsDevice = !QDir(QStringLiteral("/dev/dri"))
                              .entryList({QStringLiteral("card*")}, QDir::System)
                              .isEmpty();
    facts.hasFramebuffer = QFile::exists(QStringLiteral("/dev/fb0"));
    return facts;
}

std::optional<QByteArray> platformPlugin(const DisplayFacts &facts)
{
    if (facts.waylandSocketAnswers)
        return "wayland;xcb"; // where Qt's part for Wayland is missing
    if (facts.xServerAnswers)
        return "xcb";
    if (facts.hasKmsDevice)
        return facts.hasFramebuffer ? "eglfs;linuxfb" : "eglfs";
    if (facts.hasFramebuffer)
        return "linuxfb";
    return std::nullopt;
}

bool chooseDisplayServer()
{
    // Windows that ask for it get a surface that the compositor does not manage as a window; see
    // createPlacementAboveAll().
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    if (!qEnvironmentVariableIsEmpty(kPlatformVariable))
        return true;
    const DisplayFacts facts = DisplayFacts::gather();
    // Left over from another login; it would pass for a Wayland session.
    if (!facts.waylandSocketAnswers)
        qunsetenv("WAYLAND_DISPLAY");
    const std::optional<QByteArray> plugin = platformPlugin(facts);
    if (!plugin) {
        log(QStringLiteral("no display: no X server or Wayland compositor answers and there is no "
                           "graphics device"));
        return false;
    }
    qputenv(kPlatformVariable, *plugin);
    return true;
}

} // namespace corvella

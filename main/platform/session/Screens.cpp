#include "platform/session/Screens.h"

#include "platform/session/XcbConnection.h"

#include <QGuiApplication>
#include <QScreen>
#include <qpa/qplatformscreen.h>

namespace corvella {

namespace {

// RRScreenChangeNotify and RRNotify: https://gitlab.freedesktop.org/xorg/proto/xorgproto,
// randrproto.txt.
constexpr std::string_view kDisplaysExtension = "RANDR";
constexpr int kDisplayEvents = 2;

constexpr int kSentByAClient = 0x80; // a bit of an event's type

// Without those that lie within another one; of equal ones the first stays.
QList<Screen> withoutMirrors(const QList<Screen> &all)
{
    QList<Screen> kept;
    for (qsizetype i = 0; i < all.size(); ++i) {
        bool isMirror = false;
        for (qsizetype j = 0; j < all.size() && !isMirror; ++j)
            isMirror = j != i && all[j].frame.contains(all[i].frame)
                && (all[j].frame != all[i].frame || j < i);
        if (!isMirror)
            kept << all[i];
    }
    return kept;
}

} // namespace

QRect frameOf(const QScreen &screen)
{
    // Where one change of the layout removes a display and moves another, QScreen keeps the old
    // place (seen with Qt 6.4 on X11); the platform's own record is right.
    return screen.handle()->deviceIndependentGeometry();
}

Screens::Screens(QObject *parent)
    : QObject(parent)
{
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        Q_EMIT changed();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &Screens::changed);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &Screens::changed);
    if (xcb_connection_t *const server = x11::applicationConnection()) {
        m_firstEvent = x11::firstEventOf(server, kDisplaysExtension);
        qGuiApp->installNativeEventFilter(this); // Qt asks for these events
    }
}

bool Screens::nativeEventFilter(const QByteArray & /*type*/, void *message, qintptr * /*result*/)
{
    const int type =
        static_cast<const xcb_generic_event_t *>(message)->response_type & ~kSentByAClient;
    if (m_firstEvent && type >= *m_firstEvent && type < *m_firstEvent + kDisplayEvents)
        Q_EMIT mayHaveChanged();
    return false;
}

void Screens::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &Screens::changed);
    connect(screen, &QScreen::physicalDotsPerInchChanged, this, &Screens::changed);
}

QList<Screen> Screens::list() const
{
    QList<Screen> list;
    for (QScreen *screen : QGuiApplication::screens()) {
        // With no display attached Qt offers a placeholder without a size.
        if (const QRect frame = frameOf(*screen); !frame.isEmpty())
            list << Screen{screen, frame, screen->devicePixelRatio()};
    }
    return withoutMirrors(list);
}

} // namespace corvella

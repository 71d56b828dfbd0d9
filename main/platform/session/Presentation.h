// How much of the session the walls take over. A locked session keeps its keys and clicks to the
// walls, does not end, sleep or blank by itself, and shows no notifications, as far as what is
// there allows: docs/kiosk.md says how far that is. Main thread only; nothing here waits.
#pragma once

#include <QList>

#include <memory>

class QWindow;

namespace corvella {

class Presentation
{
public:
    enum class State {
        ordinary,  // the desktop is as it always is
        immersive, // every screen is covered: panels are hidden, by the walls that lie above them
        locked,    // a kiosk: nobody gets past the walls
    };

    // Lets go of everything; so does the end of the process, of whatever kind.
    virtual ~Presentation() = default;

    // What a state takes is asked for at once and tried again until it is had. The log says what a
    // locked session still lacks, and when it is locked. Leaving it lets go before this returns, so
    // that the session's locker finds nothing in its way.
    virtual void setState(State state) = 0;

    // The windows that show now: to be said anew before they go and after others came.
    virtual void setWalls(const QList<QWindow *> &walls) = 0;

    // By what this session offers; that is looked at when it is locked.
    [[nodiscard]] static std::unique_ptr<Presentation> create();
};

} // namespace corvella

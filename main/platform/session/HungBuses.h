// Qt waits without end for a message bus that takes connections and answers nothing. Main thread
// only.
#pragma once

#include "platform/session/MessageBus.h"

#include <QByteArray>

#include <optional>

namespace corvella {

// While it lives, such a bus is hidden from Qt, and from all that the program starts.
class HungBuses
{
public:
    // Gives each bus two seconds to answer, and logs which does not. Before the application object
    // is made, and other threads.
    HungBuses();
    ~HungBuses();
    HungBuses(const HungBuses &) = delete;
    HungBuses &operator=(const HungBuses &) = delete;

    // Where the buses really are.
    [[nodiscard]] const std::vector<BusPlace> &places() const { return m_places; }

private:
    void hide(BusPlace &place);

    struct Variable
    {
        const char *name;
        std::optional<QByteArray> value; // before
    };
    std::vector<BusPlace> m_places = busPlaces();
    std::vector<Variable> m_changed;
};

} // namespace corvella

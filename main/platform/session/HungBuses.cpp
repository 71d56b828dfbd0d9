#include "platform/session/HungBuses.h"

#include "log.h"

#include <poll.h>

namespace corvella {

namespace {

constexpr int kPatienceMs = 2000;

bool hangs(const QString &socket)
{
    const BusGreeting greeting(socket);
    pollfd answer{greeting.descriptor(), POLLIN, 0};
    return greeting.state() == BusGreeting::State::noRoom
        || (greeting.state() == BusGreeting::State::sent && ::poll(&answer, 1, kPatienceMs) == 0);
}

} // namespace

HungBuses::HungBuses()
{
    for (BusPlace &place : m_places) {
        if (hangs(place.socket))
            hide(place);
    }
}

HungBuses::~HungBuses()
{
    for (const Variable &variable : m_changed) {
        if (variable.value)
            qputenv(variable.name, *variable.value);
        else
            qunsetenv(variable.name);
    }
}

void HungBuses::hide(BusPlace &place)
{
    log(place.name + QStringLiteral(": does not answer; going on without it until it does"));
    place.isHidden = true;
    const bool isSet = qEnvironmentVariableIsSet(place.variable);
    m_changed.push_back(
        {place.variable, isSet ? std::optional(qgetenv(place.variable)) : std::nullopt});
    qputenv(place.variable, "unix:path=/nonexistent");
}

} // namespace corvella

#include "platform/session/HungBuses.h"

#include "log.h"

#include <QDeadlineTimer>

#include <chrono>
#include <poll.h>
#include <thread>

namespace corvella {

namespace {

constexpr std::chrono::milliseconds kBusPatience{2000};
constexpr std::chrono::milliseconds kBetweenGreetings{20};

bool hangs(const UnixAddress &bus)
{
    const QDeadlineTimer patience(kBusPatience);
    for (;;) {
        const BusGreeting greeting(bus);
        if (greeting.state() != BusGreeting::State::noRoom) {
            pollfd answer{greeting.descriptor(), POLLIN, 0};
            return greeting.state() == BusGreeting::State::sent
                && ::poll(&answer, 1, static_cast<int>(patience.remainingTime())) == 0;
        }
        // Many may come at once, as at a login.
        if (patience.hasExpired())
            return true;
        std::this_thread::sleep_for(kBetweenGreetings);
    }
}

} // namespace

HungBuses::HungBuses()
{
    for (BusPlace &place : m_places) {
        if (hangs(place.address))
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

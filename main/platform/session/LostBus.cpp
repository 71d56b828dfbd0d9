#include "platform/session/LostBus.h"

#include "log.h"

#include <QDBusConnection>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace corvella {

namespace {

constexpr std::chrono::seconds kBetweenLooks{1};

} // namespace

struct LostBus::Bus
{
    QDBusConnection connection;
    BusPlace place;
    bool isMissed = false;
    bool isBack = false;
    std::unique_ptr<BusGreeting> greeting = nullptr;
    std::unique_ptr<QSocketNotifier> answer = nullptr;
};

LostBus::LostBus(const HungBuses &buses)
{
    m_look.setInterval(kBetweenLooks);
    connect(&m_look, &QTimer::timeout, this, &LostBus::look);
    const std::array connections{QDBusConnection::sessionBus(), QDBusConnection::systemBus()};
    m_buses.reserve(connections.size()); // they stay where they are
    for (size_t i = 0; i < connections.size(); ++i)
        watch({connections[i], buses.places().at(i)});
}

LostBus::~LostBus() = default;

void LostBus::watch(Bus bus)
{
    bus.isMissed = bus.place.isHidden;
    if (bus.isMissed)
        m_look.start();
    else if (!bus.connection.isConnected())
        return;
    // The library's own word, which no bus sends.
    bus.connection.connect({}, QStringLiteral("/org/freedesktop/DBus/Local"),
                           QStringLiteral("org.freedesktop.DBus.Local"),
                           QStringLiteral("Disconnected"), this, SLOT(waitForReturn()));
    m_buses.push_back(std::move(bus));
}

void LostBus::waitForReturn()
{
    for (Bus &bus : m_buses) {
        if (!bus.connection.isConnected() && !std::exchange(bus.isMissed, true))
            log(bus.place.name + QStringLiteral(": gone; waiting for it to come back"));
    }
    m_look.start();
}

void LostBus::look()
{
    for (Bus &bus : m_buses) {
        if (!bus.isMissed)
            continue;
        bus.isBack = false;
        bus.answer.reset();
        bus.greeting = std::make_unique<BusGreeting>(bus.place.address);
        if (bus.greeting->state() != BusGreeting::State::sent)
            continue;
        bus.answer =
            std::make_unique<QSocketNotifier>(bus.greeting->descriptor(), QSocketNotifier::Read);
        connect(bus.answer.get(), &QSocketNotifier::activated, this, [this, &bus] { hear(bus); });
    }
}

void LostBus::hear(Bus &bus)
{
    bus.answer->setEnabled(false);
    bus.isBack = bus.greeting->isWelcome();
    // One that never was there is nothing that the other's return would have to wait for.
    const auto isThere = [](const Bus &other) {
        return !other.isMissed || other.isBack || other.place.isHidden;
    };
    if (!bus.isBack || !std::all_of(m_buses.begin(), m_buses.end(), isThere))
        return;
    m_look.stop();
    Q_EMIT returned();
}

} // namespace corvella

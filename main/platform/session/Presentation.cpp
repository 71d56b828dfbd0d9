#include "platform/session/Presentation.h"

#include "log.h"
#include "platform/session/BusInhibition.h"
#include "platform/session/InputLock.h"

#include <utility>
#include <vector>

namespace corvella {

namespace {

const QString kProgram = QStringLiteral("space.tarrow.corvella");
const QString kReason = QStringLiteral("A kiosk shows the Sun");

// What else ends a kiosk, besides keys and clicks, and who can hold it back.
std::vector<InhibitionRequest> requests()
{
    constexpr uint kLogOut = 1;
    constexpr uint kSwitchUser = 2;
    constexpr uint kSuspend = 4;
    return {
        {.purpose = QStringLiteral("shutdown, sleep and power keys"),
         .bus = MessageBus::system,
         .service = QStringLiteral("org.freedesktop.login1"),
         .path = QStringLiteral("/org/freedesktop/login1"),
         .interface = QStringLiteral("org.freedesktop.login1.Manager"),
         .arguments = {QStringLiteral("shutdown:sleep:idle:handle-power-key:handle-suspend-key:"
                                      "handle-hibernate-key:handle-lid-switch:handle-reboot-key"),
                       QStringLiteral("Corvella"), kReason, QStringLiteral("block")},
         .release = {},
         .isExpected = true},
        {.purpose = QStringLiteral("the end of the session"),
         .bus = MessageBus::session,
         .service = QStringLiteral("org.gnome.SessionManager"),
         .path = QStringLiteral("/org/gnome/SessionManager"),
         .interface = QStringLiteral("org.gnome.SessionManager"),
         .arguments = {kProgram, 0U, kReason, kLogOut | kSwitchUser | kSuspend},
         .release = QStringLiteral("Uninhibit")},
        // Where it is not offered notifications can only be kept off in the user's settings, which
        // a crash would leave changed.
        {.purpose = QStringLiteral("notifications"),
         .bus = MessageBus::session,
         .service = QStringLiteral("org.freedesktop.Notifications"),
         .path = QStringLiteral("/org/freedesktop/Notifications"),
         .interface = QStringLiteral("org.freedesktop.Notifications"),
         .arguments = {kProgram, kReason, QVariantMap()},
         .release = QStringLiteral("UnInhibit")},
    };
}

class SessionPresentation final : public Presentation
{
public:
    void setState(State state) override
    {
        if (std::exchange(m_state, state) == state)
            return;
        if (state == State::locked)
            lock();
        else
            unlock();
    }

    void setWalls(const QList<QWindow *> &walls) override
    {
        m_walls = walls;
        if (m_input)
            m_input->setWalls(m_walls);
    }

private:
    void lock()
    {
        m_input = InputLock::create();
        QObject::connect(m_input.get(), &InputLock::changed, m_input.get(),
                         [this] { reportInput(); });
        m_input->setWalls(m_walls);
        for (InhibitionRequest &request : requests())
            m_inhibitions.push_back(std::make_unique<BusInhibition>(std::move(request)));
    }

    void unlock()
    {
        m_inhibitions.clear();
        m_input.reset();
    }

    void reportInput() const
    {
        const QString obstacle = m_input->obstacle();
        log(obstacle.isEmpty() ? QStringLiteral("kiosk: locked")
                               : QStringLiteral("kiosk: not locked: ") + obstacle);
    }

    State m_state = State::ordinary;
    QList<QWindow *> m_walls;
    std::unique_ptr<InputLock> m_input;
    std::vector<std::unique_ptr<BusInhibition>> m_inhibitions;
};

} // namespace

std::unique_ptr<Presentation> Presentation::create()
{
    return std::make_unique<SessionPresentation>();
}

} // namespace corvella

#include "log.h"
#include "platform/session/IdleClock.h"
#include "platform/session/InputHere.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <chrono>
#include <optional>

namespace corvella {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatience = 2000; // milliseconds, with one question
// An answer that is older than this says nothing any more: whoever gave it may hang.
constexpr std::chrono::seconds kFresh{3};

// GNOME's compositor, which speaks none of the Wayland protocols for this.
class IdleClockMutter final : public QObject, public IdleClock
{
public:
    double secondsIdle() override
    {
        const std::optional<double> told = secondsTold();
        return told ? *told : m_input.seconds();
    }
    bool isIdleFor(double seconds) override
    {
        const std::optional<double> told = secondsTold();
        return told && *told >= seconds;
    }

private:
    std::optional<double> secondsTold()
    {
        const Clock::time_point now = Clock::now();
        if (!m_isAsking)
            ask();
        if (!m_answer || now - m_answer->at > kFresh)
            return std::nullopt;
        return m_answer->seconds + std::chrono::duration<double>(now - m_answer->at).count();
    }

    struct Answer
    {
        double seconds = 0;
        Clock::time_point at;
    };

    void ask()
    {
        m_isAsking = true;
        QDBusMessage question = QDBusMessage::createMethodCall(
            QStringLiteral("org.gnome.Mutter.IdleMonitor"),
            QStringLiteral("/org/gnome/Mutter/IdleMonitor/Core"),
            QStringLiteral("org.gnome.Mutter.IdleMonitor"), QStringLiteral("GetIdletime"));
        question.setAutoStartService(false);
        auto *const call = new QDBusPendingCallWatcher(
            QDBusConnection::sessionBus().asyncCall(question, kPatience), this);
        connect(call, &QDBusPendingCallWatcher::finished, this, &IdleClockMutter::take);
    }

    void take(QDBusPendingCallWatcher *call)
    {
        call->deleteLater();
        m_isAsking = false;
        const QDBusPendingReply<qulonglong> milliseconds = *call;
        if (milliseconds.isValid()) {
            m_answer = Answer{static_cast<double>(milliseconds.value()) / 1000, Clock::now()};
            m_isSilent = false;
            return;
        }
        m_answer.reset();
        if (!std::exchange(m_isSilent, true))
            log(QStringLiteral("idle time: this session does not tell it now (%1); nothing starts "
                               "by itself")
                    .arg(milliseconds.error().message()));
    }

    InputHere m_input;
    bool m_isAsking = false;
    bool m_isSilent = false; // the last question was in vain
    std::optional<Answer> m_answer;
};

} // namespace

std::unique_ptr<IdleClock> createIdleClockMutter()
{
    if (!QDBusConnection::sessionBus().isConnected())
        return nullptr;
    return std::make_unique<IdleClockMutter>();
}

} // namespace corvella

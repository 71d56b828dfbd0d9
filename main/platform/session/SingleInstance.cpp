#include "platform/session/SingleInstance.h"

namespace corvella {

SingleInstance::SingleInstance() = default;
SingleInstance::~SingleInstance() = default;

SingleInstance::Outcome SingleInstance::claim(const QString &action)
{
    for (const auto create : {createBusChannel, createLockChannel}) {
        m_channel = create(*this);
        if (const std::optional<Outcome> outcome = m_channel->claim(action))
            return *outcome;
    }
    return Outcome::first;
}

} // namespace corvella

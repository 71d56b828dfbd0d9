#include "platform/time/TimerSlack.h"

#include <sys/prctl.h>

namespace corvella {

void setTimerSlack(std::chrono::nanoseconds slack)
{
    ::prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(slack.count()));
}

} // namespace corvella

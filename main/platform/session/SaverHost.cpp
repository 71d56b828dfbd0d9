#include "platform/session/SaverHost.h"

#include <QStringList>

namespace corvella {

std::vector<std::unique_ptr<SaverHost>> SaverHost::all()
{
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toUpper().split(u':');
    std::vector<std::unique_ptr<SaverHost>> hosts;
    if (desktops.contains(u"MATE"))
        hosts.push_back(createEntryHost(EntryHost::mate));
    else if (desktops.contains(u"XFCE"))
        hosts.push_back(createEntryHost(EntryHost::xfce));
    hosts.push_back(createXScreenSaverHost());
    std::erase(hosts, nullptr);
    return hosts;
}

} // namespace corvella

#include "Preferences/SaverBundle.h"

#include "platform/storage/Resources.h"

namespace corvella {

std::optional<QString> bundledSaver()
{
    return resourcePath(QStringLiteral("PlugIns/Corvella.saver"));
}

} // namespace corvella

#include "platform/session/UnixAddress.h"

#include <QFile>

#include <algorithm>

namespace corvella {

UnixAddress unixAddressOf(const QString &path)
{
    UnixAddress address;
    address.name.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    if (static_cast<size_t>(bytes.size()) < sizeof address.name.sun_path) {
        std::copy(bytes.begin(), bytes.end(), address.name.sun_path);
        address.size = path.isEmpty() ? address.size : static_cast<socklen_t>(sizeof address.name);
    }
    return address;
}

} // namespace corvella

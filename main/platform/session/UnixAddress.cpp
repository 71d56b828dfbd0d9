#include "platform/session/UnixAddress.h"

#include <QFile>

#include <algorithm>
#include <cstddef>

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

UnixAddress abstractAddressOf(const QString &name)
{
    UnixAddress address;
    address.name.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(name);
    const auto size = static_cast<size_t>(bytes.size());
    if (size > 0 && size < sizeof address.name.sun_path) {
        std::copy(bytes.begin(), bytes.end(), address.name.sun_path + 1); // after a zero byte
        address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + size);
    }
    return address;
}

} // namespace corvella

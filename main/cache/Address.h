// The one place where addresses of a host that somebody typed are formed. A pure function; any
// thread.
#pragma once

#include <QUrl>

#include <optional>

namespace corvella::Cache {

// "https://HOST/PATH". The host is a name or a number, perhaps with a port and a path of its own;
// none when it is anything else. A password in it would stand in every log line, and what follows a
// ? or # would take PATH in.
[[nodiscard]] std::optional<QUrl> address(const QString &host, const QString &path);

} // namespace corvella::Cache

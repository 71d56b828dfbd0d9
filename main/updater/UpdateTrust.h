// Where a build takes updates from, and whom it trusts with them. Both are part of the program's
// text: neither settings nor a feed can exchange the key. Any thread.
#pragma once

#include <QByteArray>
#include <QString>

namespace corvella::UpdateTrust {

// The address of the feed for a user who set none.
[[nodiscard]] QString feed();

// The public key, base64; empty for a build that takes no updates.
[[nodiscard]] QByteArray key();

} // namespace corvella::UpdateTrust

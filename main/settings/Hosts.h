// The hosts that a build of the program knows by itself, set when it was configured. Bare hosts,
// perhaps with a port, never with a scheme. Any thread.
#pragma once

#include <QString>

namespace corvella::Hosts {

// The storage behind the imagery host; asked when the imagery host does not answer or has stopped
// updating.
[[nodiscard]] QString origin();

// The imagery host of a user who set none.
[[nodiscard]] QString defaultImagery();

// The product's web site for a user who set none.
[[nodiscard]] QString defaultStore();

// The web domain of who makes the imagery out of the observatory's pictures.
[[nodiscard]] QString maker();

} // namespace corvella::Hosts

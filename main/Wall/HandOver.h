// How one clip gives way to the next on a wall. Main thread only.
#pragma once

#include "settings/Transition.h"

#include <functional>

namespace corvella {

class LayerTree;
class PlayerLayer;

// Hands over from the layer that shows to the layer whose clip is to show. Returns at once; the
// visible change follows. `first`: nothing has shown before. `done` is called exactly once when the
// hand-over is through (inside this call for a cut), unless the tree goes first.
void transition(Transition style, LayerTree &tree, PlayerLayer &from, PlayerLayer &to, bool first,
                std::function<void()> done);

} // namespace corvella

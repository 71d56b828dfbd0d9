// A scoped group of layer changes: how long they take, and what to do when all of them are through.
// Outside any transaction a change is at once. Transactions nest; the innermost rules.
#pragma once

#include "platform/time/MediaClock.h"

#include <functional>

namespace corvella {

class LayerTree;

class Transaction
{
public:
    // Changes of opacity inside are animated over `duration` (0: at once) on the standard curve.
    Transaction(LayerTree &tree, MediaTime duration);
    // Changes inside are at once; explicit animations added inside still count for the completion.
    [[nodiscard]] static Transaction withoutAnimations(LayerTree &tree)
    {
        return Transaction(tree, MediaTime(0));
    }
    // Ends the group.
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    // Called on the main thread when every animation added inside is over; never before the
    // transaction has ended. Never called when the tree goes first.
    void setCompletion(std::function<void()> completion) { m_completion = std::move(completion); }

    [[nodiscard]] bool animates() const { return m_duration > MediaTime(0); }
    [[nodiscard]] MediaTime duration() const { return m_duration; }

private:
    friend class LayerTree;

    LayerTree &m_tree;
    Transaction *const m_outer;
    const MediaTime m_duration;
    MediaTime m_end; // of the last animation added inside
    std::function<void()> m_completion;
};

} // namespace corvella

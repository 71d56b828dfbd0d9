#include "platform/layers/Transaction.h"

#include "platform/layers/LayerTree.h"

namespace corvella {

Transaction::Transaction(LayerTree &tree, MediaTime duration)
    : m_tree(tree)
    , m_outer(tree.m_transaction)
    , m_duration(duration)
    , m_end(tree.now())
{
    m_tree.m_transaction = this;
}

Transaction::~Transaction()
{
    m_tree.m_transaction = m_outer;
    if (m_completion)
        m_tree.completeAt(m_end, std::move(m_completion));
}

} // namespace corvella

#include "platform/layers/LayerTree.h"

#include "platform/layers/Transaction.h"

#include <algorithm>

namespace corvella {

LayerTree::LayerTree(QSizeF size, double scale, RendererKind renderer, const MediaClock &clock,
                     QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_scale(scale)
    , m_renderer(renderer)
    , m_workQueue(clock)
{
    m_root.joinTree(this);
    m_root.setFrame({QPointF(0, 0), size});
}

void LayerTree::setSize(QSizeF size)
{
    if (size == this->size())
        return;
    m_root.setFrame({QPointF(0, 0), size});
    Q_EMIT resized();
}

void LayerTree::advance()
{
    m_workQueue.advance();
    m_root.dropFinishedAnimations(now());
}

void LayerTree::noteAnimation(MediaTime end)
{
    if (m_transaction)
        m_transaction->m_end = std::max(m_transaction->m_end, end);
}

void LayerTree::completeAt(MediaTime moment, std::function<void()> completion)
{
    std::erase_if(m_completions, [](const WorkItem &item) { return !item.isPending(); });
    m_completions.push_back(
        m_workQueue.after(std::max(moment - now(), MediaTime(0)), std::move(completion)));
}

} // namespace corvella

// A tree of layers for one window: its size, its pixel scale, its clock, and what is due by that
// clock. Main thread only.
#pragma once

#include "platform/layers/Layer.h"
#include "platform/layers/RendererKind.h"
#include "platform/time/WorkQueue.h"

#include <QObject>
#include <QSizeF>

namespace corvella {

class Transaction;

class LayerTree : public QObject
{
    Q_OBJECT

public:
    // Size in points, `scale` in pixels per point. The clock must outlive the tree.
    LayerTree(QSizeF size, double scale, RendererKind renderer, const MediaClock &clock,
              QObject *parent = nullptr);

    [[nodiscard]] Layer &root() { return m_root; }
    [[nodiscard]] const Layer &root() const { return m_root; }
    [[nodiscard]] double scale() const { return m_scale; }
    [[nodiscard]] RendererKind renderer() const { return m_renderer; }

    [[nodiscard]] QSizeF size() const { return m_root.frame().size(); }
    void setSize(QSizeF size);

    [[nodiscard]] const MediaClock &clock() const { return m_clock; }
    [[nodiscard]] MediaTime now() const { return m_clock.now(); }
    // Delayed work by the tree's clock; it ends with the tree.
    [[nodiscard]] WorkQueue &workQueue() { return m_workQueue; }

    // Runs `completion` at this moment or, if it is past, at the next turn of the event loop.
    void completeAt(MediaTime moment, std::function<void()> completion);

    [[nodiscard]] bool isAnimating() const { return m_root.animationsEnd(now()).has_value(); }
    // Runs due work and forgets animations that are over. The tree does it itself; tests that set
    // the clock call it.
    void advance();

    // The innermost open transaction, or null.
    [[nodiscard]] const Transaction *transaction() const { return m_transaction; }

Q_SIGNALS:
    // Something looks different from now on. Comes once per change, before anything is drawn.
    void needsDisplay();
    void resized();

private:
    friend class Layer;
    friend class ShapeLayer;
    friend class Transaction;

    void setNeedsDisplay() { Q_EMIT needsDisplay(); }
    // An animation with this end was added; it belongs to the open transaction, if any.
    void noteAnimation(MediaTime end);
    const MediaClock &m_clock;
    const double m_scale;
    const RendererKind m_renderer;
    WorkQueue m_workQueue;
    std::vector<WorkItem> m_completions;
    Transaction *m_transaction = nullptr;
    Layer m_root;
};

} // namespace corvella

#include "shell/WallWindow.h"

#include "platform/layers/LayerTree.h"
#include "platform/layers/TextLayer.h"
#include "platform/layers/Transaction.h"
#include "platform/session/Pointer.h"
#include "platform/session/Screens.h"
#include "shell/AccessibleWall.h"

#include <QCloseEvent>
#include <QCursor>
#include <QFontDatabase>
#include <QMouseEvent>

namespace corvella {

namespace {

constexpr double kHintSize = 16;     // points
constexpr double kHintHeight = 0.08; // of the wall, to the hint's lower edge
constexpr MediaTime kHintShown = std::chrono::seconds(6);
constexpr MediaTime kHintFade = std::chrono::milliseconds(1200);

} // namespace

WallWindow::WallWindow(LayerTree &tree, QScreen *screen, PointerInput pointer, KeyInput keys)
    : LayerWindow(tree, screen)
    , m_tree(tree)
    , m_home(screen)
    , m_fullScreen(FullScreenPlacement::create(*this, pointer, keys))
{
    setTitle(QStringLiteral("Corvella"));
    connect(this, &QWindow::windowStateChanged, this, [this](Qt::WindowState state) {
        if (state == Qt::WindowMinimized)
            setWindowStates(Qt::WindowFullScreen);
    });
}

WallWindow::~WallWindow() = default;

void WallWindow::bringUp()
{
    prepare();
    m_fullScreen->bringUp();
}

void WallWindow::adopt(std::unique_ptr<Chrome> chrome, const Placement &placement)
{
    m_chrome.push_back(m_tree.root().addSublayer(std::move(chrome)));
    keepInPlace(*m_chrome.back(), placement);
}

QMetaObject::Connection WallWindow::keepInPlace(Layer &layer, const Placement &placement)
{
    const auto place = [this, &layer, placement] { layer.setFrame(placement(m_tree.size())); };
    place();
    return connect(&m_tree, &LayerTree::resized, this, place);
}

void WallWindow::showHint(const QString &text)
{
    auto layer = std::make_unique<TextLayer>();
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setWeight(QFont::Medium);
    layer->setFont(font, kHintSize);
    layer->setShadow({Qt::black, 4, {}});
    layer->setAlignment(Qt::AlignHCenter);
    layer->setText({text});
    TextLayer *const hint = m_tree.root().addSublayer(std::move(layer));
    const auto placed = keepInPlace(*hint, [size = hint->sizeToFit()](QSizeF wall) {
        return QRectF(QPointF((wall.width() - size.width()) / 2, kHintHeight * wall.height()),
                      size);
    });
    m_tree.completeAt(m_tree.now() + kHintShown, [&tree = m_tree, hint, placed] {
        Transaction transaction(tree, kHintFade);
        hint->setOpacity(0);
        transaction.setCompletion([hint, placed] {
            disconnect(placed);
            hint->removeFromSuperlayer();
        });
    });
}

QRect WallWindow::onDisplay(const QRectF &rect) const
{
    const QRectF fromTop(rect.x(), m_tree.size().height() - rect.bottom(), rect.width(),
                         rect.height());
    return fromTop.toRect().translated(geometry().topLeft());
}

QAccessibleInterface *WallWindow::accessibleRoot() const
{
    return accessibleWall(*this);
}

bool WallWindow::isInPlace() const
{
    return isVisible() && m_home && geometry() == frameOf(*m_home);
}

bool WallWindow::isUnderPointer() const
{
    // X11 tells where the pointer is. Wayland tells only the window that it is over.
    return isPointerKnownEverywhere() ? geometry().contains(QCursor::pos()) : m_entered;
}

bool WallWindow::event(QEvent *event)
{
    if (event->type() == QEvent::Enter)
        m_entered = true;
    else if (event->type() == QEvent::Leave)
        m_entered = false;
    return LayerWindow::event(event);
}

void WallWindow::exposeEvent(QExposeEvent *event)
{
    LayerWindow::exposeEvent(event);
    // A window manager listens only once it manages the window.
    if (isExposed() && !std::exchange(m_wasExposed, true))
        m_fullScreen->finish();
}

void WallWindow::closeEvent(QCloseEvent *event)
{
    event->ignore();
}

void WallWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QPointF point(event->position().x(), m_tree.size().height() - event->position().y());
    for (auto topmost = m_chrome.rbegin(); topmost != m_chrome.rend(); ++topmost) {
        if ((*topmost)->hitTest(point))
            return (*topmost)->mouseDown();
    }
}

} // namespace corvella

#include "Preferences/NumberField.h"

#include <QKeyEvent>
#include <QStyle>

#include <algorithm>

namespace corvella {

namespace {

constexpr int kWidth = 44;      // points
constexpr int kMostDigits = 10; // as many as an int has

} // namespace

NumberField::NumberField(const QString &text)
    : QLineEdit(text)
    , m_known(text)
{
    setAlignment(Qt::AlignRight);
    setMaxLength(kMostDigits);
    // As high as its row, that is as the stepper beside it: their edges and texts lie in a line.
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    connect(this, &QLineEdit::textChanged, this, [this] { updateGeometry(); });
}

QSize NumberField::sizeHint() const
{
    QSize size = QLineEdit::sizeHint();
    // That hint is for 17 letters x; what it has beside them is the frame and the margins.
    constexpr int kLettersOfHint = 17;
    const int around = size.width() - fontMetrics().horizontalAdvance(u'x') * kLettersOfHint;
    const int digits = fontMetrics().horizontalAdvance(QStringLiteral("000"));
    const int needed = std::max(digits, fontMetrics().horizontalAdvance(text())) + around;
    size.setWidth(std::max(kWidth, needed));
    return size;
}

void NumberField::show(const QString &number)
{
    m_known = number;
    setText(number);
}

void NumberField::finish()
{
    if (text() == m_known)
        return;
    m_known = text();
    Q_EMIT typed();
}

bool NumberField::event(QEvent *event)
{
    // On X11 an edited line claims Control+U for itself, to delete all of it. Here that belongs to
    // the menu, as everywhere else in the window.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->modifiers() == Qt::ControlModifier && key->key() == Qt::Key_U) {
            event->ignore();
            return true;
        }
    }
    return QLineEdit::event(event);
}

void NumberField::keyPressEvent(QKeyEvent *event)
{
    // Return takes the number; passed on, it would press the window's default button as well.
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return QLineEdit::keyPressEvent(event);
    m_known = text();
    Q_EMIT typed();
    selectAll();
}

void NumberField::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    // Its own menu, for cut and paste, comes and goes.
    if (event->reason() != Qt::PopupFocusReason)
        finish();
}

} // namespace corvella

#include "Preferences/PushButton.h"

#include <algorithm>

namespace corvella {

namespace {

constexpr int kSideMargin = 12; // points, on either side

} // namespace

PushButton::PushButton(const QString &text)
    : QPushButton(text)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize PushButton::sizeHint() const
{
    const QSize hint = QPushButton::sizeHint();
    const int text = fontMetrics().size(Qt::TextShowMnemonic, this->text()).width();
    return {std::max(hint.width(), text + 2 * kSideMargin), hint.height()};
}

} // namespace corvella

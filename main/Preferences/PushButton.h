// A button with room around its text, which some styles leave out where the text is long. Main
// thread only.
#pragma once

#include <QPushButton>

namespace corvella {

class PushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit PushButton(const QString &text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace corvella

// A short field for a number, wide enough for what stands in it. Main thread only.
#pragma once

#include <QLineEdit>

namespace corvella {

class NumberField : public QLineEdit
{
    Q_OBJECT

public:
    explicit NumberField(const QString &text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

    // Tells of what was typed and not told yet, if anything was.
    void finish();

Q_SIGNALS:
    // The user is through with typing.
    void typed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
};

} // namespace corvella

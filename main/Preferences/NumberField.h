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

    // Tells nobody.
    void show(const QString &number);
    using QWidget::show;
    // Tells of what was typed and not told yet, if anything was.
    void finish();

Q_SIGNALS:
    // The user is through with typing.
    void typed();

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    QString m_known; // shown or told; screen readers type without marking the text as modified
};

} // namespace corvella

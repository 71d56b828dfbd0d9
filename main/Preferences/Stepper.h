// Two small arrows that count a number up and down which is shown elsewhere. Main thread only.
#pragma once

#include <QSpinBox>

namespace corvella {

class Stepper : public QSpinBox
{
    Q_OBJECT

public:
    Stepper(int minimum, int maximum);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

    // Tells nobody, unlike setValue().
    void show(int value);
    using QWidget::show;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace corvella

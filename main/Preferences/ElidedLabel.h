// A text of one line that ends in an ellipsis where there is no room for all of it; it asks for the
// room of a name of ordinary length, and takes what is left for a longer one. Main thread only.
#pragma once

#include <QLabel>

namespace corvella {

class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(const QString &text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QSize room(int letters) const;
};

} // namespace corvella

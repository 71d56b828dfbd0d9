// The ground of a window's content, in the palette's window colour. A click on it takes the keys
// away from whatever has them. Main thread only.
#pragma once

#include <QWidget>

namespace corvella {

class GroundView : public QWidget
{
    Q_OBJECT

public:
    explicit GroundView(QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace corvella

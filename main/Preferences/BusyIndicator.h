// A small turning wheel that is seen while something takes its time. Main thread only.
#pragma once

#include <QBasicTimer>
#include <QProgressBar>

namespace corvella {

class BusyIndicator : public QProgressBar
{
    Q_OBJECT

public:
    BusyIndicator();

    // It turns as long as there were more calls of start() than of stop().
    void start();
    void stop();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    int m_started = 0;
    int m_spoke = 0; // the brightest
    QBasicTimer m_turn;
};

} // namespace corvella

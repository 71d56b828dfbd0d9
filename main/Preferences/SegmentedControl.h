// A row of segments of which one is selected, as one control: Tab reaches the selected segment, the
// arrow keys move on from there, Space selects. Main thread only.
#pragma once

#include <QStringList>
#include <QWidget>

class QAbstractButton;
class QButtonGroup;

namespace corvella {

class SegmentedControl : public QWidget
{
    Q_OBJECT

public:
    SegmentedControl(const QString &accessibleName, const QStringList &labels);

    [[nodiscard]] int selected() const;
    // Chooses nothing: the program shows what is so.
    void select(int segment);
    [[nodiscard]] QAbstractButton *segment(int index) const;

Q_SIGNALS:
    // By the user, who may also choose the selected one again.
    void chosen(int segment);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void connectSegments();

    QButtonGroup *m_segments;
    bool m_isSelecting = false; // the program is
    bool m_isTold = false;      // that the segment which is being pressed was chosen
};

} // namespace corvella

// A rounded box that holds controls of one kind, under a name of their own. Main thread only.
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace corvella {

class CardView : public QWidget
{
    Q_OBJECT

public:
    // Between the edge and what the card holds, in points.
    static constexpr QMargins kInsets{14, 12, 14, 12};

    // A card with this title above the widgets, from top to bottom; it owns them from now on.
    CardView(const QString &title, const QWidgetList &widgets);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace corvella

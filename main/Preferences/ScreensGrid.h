// The screens, one in a row: its name, the menu of its products, and a button that shuffles them.
// Holds what is chosen; storing it is up to others. Main thread only.
#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class QGridLayout;

namespace corvella {

class ProductMenuButton;

class ScreensGrid : public QWidget
{
    Q_OBJECT

public:
    struct Row
    {
        QString screenName;
        QStringList choices; // see ProductMenu
    };

    ScreensGrid();

    // These are all screens from now on. A menu that is open closes.
    void rebuild(const QList<Row> &rows);

    // One per screen, in the screens' order.
    [[nodiscard]] const QList<QStringList> &screenChoices() const { return m_screenChoices; }
    [[nodiscard]] const QList<ProductMenuButton *> &screenPopups() const { return m_screenPopups; }

Q_SIGNALS:
    // By the user; screenChoices() has it.
    void chosen();

private:
    void clear();
    void addRow(const Row &row);
    // Changes a screen's choice as the user wishes.
    void choose(qsizetype screen, const QStringList &choices);

    QGridLayout *m_grid;
    QList<ProductMenuButton *> m_screenPopups;
    QList<QStringList> m_screenChoices;
};

} // namespace corvella

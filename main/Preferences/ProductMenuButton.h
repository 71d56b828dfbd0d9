// A pull-down menu of one screen's products, on a button that says what is chosen. The menu asks
// for changes; it makes none. Main thread only.
#pragma once

#include <QPushButton>
#include <QStringList>

namespace corvella {

class ProductMenuButton : public QPushButton
{
    Q_OBJECT

public:
    explicit ProductMenuButton(const QString &screenName);

    // Fills the menu and the button with a screen's choice.
    void rebuild(const QStringList &choices);

    // Wide enough for any title of one choice; longer ones end in an ellipsis where there is no
    // room for them.
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    void productToggled(const QString &id);
    void productsCleared();
    void screenDisabled();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] QMenu *makeMenu(const QStringList &choices);
    [[nodiscard]] int widthFor(const QString &title) const;

    const QString m_screenName;
};

} // namespace corvella

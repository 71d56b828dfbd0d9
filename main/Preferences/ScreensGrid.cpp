#include "Preferences/ScreensGrid.h"

#include "Preferences/ElidedLabel.h"
#include "Preferences/ProductMenu.h"
#include "Preferences/ProductMenuButton.h"
#include "platform/symbols/Symbol.h"

#include <QGridLayout>
#include <QMenu>
#include <QRandomGenerator>

namespace corvella {

namespace {

constexpr int kColumnSpacing = 8; // points
constexpr int kGridRowSpacing = 6;
constexpr int kSymbol = 14;
constexpr int kFirstOfAll = 1000; // stretch, beside a 1

QPushButton *shuffleButton(const QString &screenName)
{
    auto *button = new QPushButton(symbolIcon(QStringLiteral("shuffle")), {});
    button->setAccessibleName(QStringLiteral("Randomize the running order"));
    button->setAccessibleDescription(screenName);
    button->setToolTip(QStringLiteral(
        "Shuffle the running order for this screen. The ticked products do not change."));
    button->setIconSize({kSymbol, kSymbol});
    button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return button;
}

} // namespace

ScreensGrid::ScreensGrid()
    : m_grid(new QGridLayout(this))
{
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setHorizontalSpacing(kColumnSpacing);
    m_grid->setVerticalSpacing(kGridRowSpacing);
    // All that a name can use is its own; the rest stays empty, behind the row.
    m_grid->setColumnStretch(0, kFirstOfAll);
    m_grid->setColumnStretch(3, 1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void ScreensGrid::rebuild(const QList<Row> &rows)
{
    clear();
    for (const Row &row : rows)
        addRow(row);
}

void ScreensGrid::clear()
{
    for (const ProductMenuButton *popup : m_screenPopups)
        popup->menu()->close();
    m_screenPopups.clear();
    m_screenChoices.clear();
    while (const std::unique_ptr<QLayoutItem> item{m_grid->takeAt(0)}) {
        // Out of sight and of effect at once; what it is in the middle of, it ends.
        item->widget()->disconnect(this);
        item->widget()->hide();
        item->widget()->deleteLater();
    }
}

void ScreensGrid::addRow(const Row &row)
{
    const auto screen = m_screenChoices.size();
    m_screenChoices << row.choices;

    auto *label = new ElidedLabel(row.screenName);
    label->setToolTip(QStringLiteral("Screen %1").arg(screen + 1));
    auto *popup = new ProductMenuButton(row.screenName);
    popup->rebuild(row.choices);
    connect(popup, &ProductMenuButton::productToggled, this, [this, screen](const QString &id) {
        choose(screen, ProductMenu::toggled(m_screenChoices[screen], id));
    });
    connect(popup, &ProductMenuButton::productsCleared, this,
            [this, screen] { choose(screen, {}); });
    connect(popup, &ProductMenuButton::screenDisabled, this,
            [this, screen] { choose(screen, ProductMenu::off()); });
    m_screenPopups << popup;
    QPushButton *const shuffle = shuffleButton(row.screenName);
    connect(shuffle, &QPushButton::clicked, this, [this, screen] {
        choose(screen, ProductMenu::randomized(m_screenChoices[screen], [](quint32 below) {
                   return QRandomGenerator::system()->bounded(below);
               }));
    });

    const int line = static_cast<int>(screen);
    m_grid->addWidget(label, line, 0);
    m_grid->addWidget(popup, line, 1);
    m_grid->addWidget(shuffle, line, 2);
    // A widget that comes into a window which is up is not shown by itself.
    for (QWidget *widget : {static_cast<QWidget *>(label), static_cast<QWidget *>(popup),
                            static_cast<QWidget *>(shuffle)})
        widget->show();
}

void ScreensGrid::choose(qsizetype screen, const QStringList &choices)
{
    m_screenChoices[screen] = choices;
    m_screenPopups[screen]->rebuild(choices);
    Q_EMIT chosen();
}

} // namespace corvella

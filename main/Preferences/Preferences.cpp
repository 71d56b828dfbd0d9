#include "Preferences/Preferences.h"

#include "Preferences/WallControls.h"
#include "settings/Mode.h"
#include "settings/Settings.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>

namespace corvella {

namespace {

constexpr int kMargin = 24; // points
constexpr int kSpacing = 16;
constexpr int kTextWidth = 440;

} // namespace

Preferences &Preferences::shared()
{
    static Preferences preferences;
    return preferences;
}

Preferences::Preferences() = default;
Preferences::~Preferences() = default;

void Preferences::show()
{
    if (m_controls)
        m_controls->disarm();
    if (!m_window)
        buildWindow();
    load();
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void Preferences::hide()
{
    if (m_window)
        m_window->hide();
}

void Preferences::close()
{
    m_window.reset();
}

bool Preferences::isVisible() const
{
    return m_window && m_window->isVisible();
}

void Preferences::buildWindow()
{
    m_window = std::make_unique<QWidget>();
    m_window->setWindowTitle(QStringLiteral("Corvella"));
    auto *layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kSpacing);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(buildModes());
    m_help = new QLabel;
    m_help->setWordWrap(true);
    m_help->setFixedWidth(kTextWidth);
    layout->addWidget(m_help);
    layout->addWidget(buildActions());
}

QWidget *Preferences::buildModes()
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_modes = new QButtonGroup(row);
    for (qsizetype segment = 0; segment < std::ssize(kModeSegments); ++segment) {
        auto *button = new QPushButton(label(kModeSegments[static_cast<size_t>(segment)]));
        button->setCheckable(true);
        m_modes->addButton(button, static_cast<int>(segment));
        layout->addWidget(button);
    }
    connect(m_modes, &QButtonGroup::idClicked, this, &Preferences::chooseMode);
    return row;
}

QWidget *Preferences::buildActions()
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addStretch();
    m_start = new QPushButton(QStringLiteral("Start"));
    m_start->setDefault(true);
    connect(m_start, &QPushButton::clicked, this, [this] {
        Settings::setConfigured(true);
        if (m_controls)
            m_controls->show();
    });
    layout->addWidget(m_start);
    return row;
}

void Preferences::load()
{
    const Mode mode = Settings::mode();
    for (qsizetype segment = 0; segment < std::ssize(kModeSegments); ++segment) {
        if (kModeSegments[static_cast<size_t>(segment)] == mode)
            m_modes->button(static_cast<int>(segment))->setChecked(true);
    }
    m_help->setText(helpText(mode));
    m_start->setEnabled(mode != Mode::desktop);
}

void Preferences::chooseMode(int segment)
{
    if (m_controls)
        m_controls->hide();
    Settings::setMode(kModeSegments[static_cast<size_t>(segment)]);
    load();
}

} // namespace corvella
